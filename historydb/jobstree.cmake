target_sources(fmui PRIVATE
  historydb/fmjobstreemodel.h
  historydb/fmjobstreemodel.cpp
  historydb/fmjobstreemodel_data.cpp
)
