# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES app/tst_<unit>.cpp)
fm_add_test(NAME tst_fmpaths SOURCES app/tst_fmpaths.cpp)
fm_add_test(NAME tst_fmlog SOURCES app/tst_fmlog.cpp)
fm_add_test(NAME tst_fmstartup SOURCES app/tst_fmstartup.cpp)
