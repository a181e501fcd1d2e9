target_sources(fmui PRIVATE
  historydb/fmclientstreemodel.h
  historydb/fmclientstreemodel.cpp
  historydb/fmlogtreemodel.h
  historydb/fmlogtreemodel.cpp
)
