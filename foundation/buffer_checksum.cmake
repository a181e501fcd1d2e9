target_sources(fmcore PRIVATE
  foundation/fmchecksum.h
  foundation/fmchecksum.cpp
  foundation/fmrandom.h
  foundation/fmrandom.cpp
  foundation/fmcrypt.h
  foundation/fmcrypt.cpp
  foundation/fmdatabuffer.h
  foundation/fmdatabuffer.cpp
)
