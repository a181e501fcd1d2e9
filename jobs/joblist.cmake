target_sources(fmcore PRIVATE
  jobs/fmjoblist.h
  jobs/fmjoblist_p.h
  jobs/fmjoblist.cpp
  jobs/fmjoblist_file.cpp
  jobs/fmjoblist_sort.cpp
  jobs/fmjobcsv.cpp
  historydb/fmprojecttable.h
  historydb/fmprojecttable.cpp
)
