target_sources(fmui PRIVATE
  historydb/fmjobstreemodel.h
)
