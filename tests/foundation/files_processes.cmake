# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES foundation/tst_<unit>.cpp)
fm_add_test(NAME tst_fmfile SOURCES foundation/tst_fmfile.cpp)
