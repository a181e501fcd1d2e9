target_sources(fmcore PRIVATE
  farm/fmgconfig.h
  farm/fmgconfig.cpp
  farm/fm_cfgfile.cpp
  farm/fmcmd.h
  farm/fmcmd.cpp
)
