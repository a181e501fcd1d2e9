# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES farm/tst_<unit>.cpp)
fm_add_test(NAME tst_fmgconfig SOURCES farm/tst_fmgconfig.cpp)
fm_add_test(NAME tst_fmcmd SOURCES farm/tst_fmcmd.cpp)
