fm_add_test(NAME tst_fmstring SOURCES foundation/tst_fmstring.cpp)
fm_add_test(NAME tst_fmtime SOURCES foundation/tst_fmtime.cpp)
