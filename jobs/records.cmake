target_sources(fmcore PRIVATE
  jobs/fmjobid.h
  jobs/fmjobid.cpp
  jobs/fmjob.h
  jobs/fmjob.cpp
  jobs/fmjobcustom.cpp
  jobs/fmjobsettings.cpp
  jobs/fmjobhistory.h
  jobs/fmjobhistory.cpp
  jobs/fmjobclientspeed.cpp
)
