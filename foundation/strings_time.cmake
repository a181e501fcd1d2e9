target_sources(fmcore PRIVATE
  foundation/fmstring.h
  foundation/fmstring.cpp
  foundation/fmtextcodec.h
  foundation/fmtextcodec.cpp
  foundation/fmtime.h
  foundation/fmtime.cpp
)
