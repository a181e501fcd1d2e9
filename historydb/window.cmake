target_sources(fmwindow PRIVATE
  historydb/fmhistorydb.h
  historydb/fmhistorydb.ui
  historydb/fmhistorydb.cpp
)
