target_sources(fmwindow PRIVATE
  historydb/fmhistorydb.h
  historydb/fmhistorydb.ui
  historydb/fmhistorydb.cpp
  historydb/fmhistorydb_edit.cpp
  historydb/fmhistorydb_layout.cpp
  historydb/fmwindowabout.h
  historydb/fmwindowabout.cpp
)
# fmhistorydb.h includes the form's generated header, so users of the window see uic's output too.
target_include_directories(fmwindow PUBLIC ${CMAKE_CURRENT_BINARY_DIR}/fmwindow_autogen/include)
