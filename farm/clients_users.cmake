target_sources(fmcore PRIVATE
  farm/fm_clientfiles.cpp
  farm/fm_userfiles.cpp
)
