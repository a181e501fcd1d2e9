# The window's pages (job info, log, export, re-submit) and their window-free helpers.
target_sources(fmcore PRIVATE
  historydb/fmjobinfo.h
  historydb/fmjobinfo.cpp
  historydb/fmjoblogpage.h
  historydb/fmjoblogpage.cpp
  historydb/fmresubmit.h
  historydb/fmresubmit.cpp
)
target_sources(fmwindow PRIVATE
  historydb/fmhistorydb_pages.cpp
)
