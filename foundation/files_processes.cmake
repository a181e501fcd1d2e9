target_sources(fmcore PRIVATE
  foundation/fmfile.h
  foundation/fmfile.cpp
)
