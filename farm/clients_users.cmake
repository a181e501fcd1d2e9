target_sources(fmcore PRIVATE
  farm/fmclient.cpp
  farm/fmclient.h
  farm/fmclientgroups.cpp
  farm/fmclientgroups.h
  farm/fmclientlist.cpp
  farm/fmclientlist.h
  farm/fmclientlog.h
  farm/fmusers.cpp
  farm/fmusers.h
  farm/fm_clientfiles.cpp
  farm/fm_userfiles.cpp
)
