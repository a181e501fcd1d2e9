target_sources(fmui PRIVATE
  historydb/fmhistorydb.h
  historydb/fmhistorydb.cpp
)
