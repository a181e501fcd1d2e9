target_sources(fmcore PRIVATE
  jobs/fmjobid.h
  jobs/fmjob.h
  jobs/fmjobhistory.h
)
