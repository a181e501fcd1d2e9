fm_add_test(NAME tst_fmjobtext SOURCES jobs/tst_fmjobtext.cpp)
fm_add_test(NAME tst_fmjobnaming SOURCES jobs/tst_fmjobnaming.cpp)
