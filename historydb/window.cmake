target_sources(fmwindow PRIVATE
  historydb/fmhistorydb.h
  historydb/fmhistorydb.ui
  historydb/fmhistorydb.cpp
  historydb/fmhistorydb_edit.cpp
  historydb/fmhistorydb_layout.cpp
  historydb/fmwindowabout.h
  historydb/fmwindowabout.cpp
)
