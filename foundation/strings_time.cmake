target_sources(fmcore PRIVATE
  foundation/fmstring.h
  foundation/fmtime.h
  foundation/fmtime.cpp
)
