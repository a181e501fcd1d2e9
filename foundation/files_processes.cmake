target_sources(fmcore PRIVATE
  foundation/fmfile.h
  foundation/fmfile.cpp
  foundation/fmprocess.h
  foundation/fmprocess.cpp
)
