fm_add_test(NAME tst_jobid SOURCES jobs/tst_jobid.cpp)
fm_add_test(NAME tst_jobrecords SOURCES jobs/tst_jobrecords.cpp jobs/jobtestutil.h jobs/colorstub.cpp)
fm_add_test(NAME tst_jobhistory SOURCES jobs/tst_jobhistory.cpp jobs/jobtestutil.h)
fm_add_test(NAME tst_jobcustom SOURCES jobs/tst_jobcustom.cpp jobs/jobtestutil.h)
