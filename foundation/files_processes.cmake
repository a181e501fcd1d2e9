target_sources(fmcore PRIVATE
  foundation/fmfile.h
  foundation/fmfile.cpp
  foundation/fmfilelock.h
  foundation/fmfilelock.cpp
  foundation/fmprocess.h
  foundation/fmprocess.cpp
)
