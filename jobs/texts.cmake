target_sources(fmcore PRIVATE
  jobs/fmjobtext.h
  jobs/fmjobtext.cpp
  jobs/fmjobnaming.h
  jobs/fmjobnaming.cpp
)
