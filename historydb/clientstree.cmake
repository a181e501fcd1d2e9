target_sources(fmui PRIVATE
  historydb/fmclientstreemodel.h
  historydb/fmlogtreemodel.h
)
