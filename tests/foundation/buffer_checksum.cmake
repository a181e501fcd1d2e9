# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES foundation/tst_<unit>.cpp)
fm_add_test(NAME tst_fmchecksum SOURCES foundation/tst_fmchecksum.cpp)
fm_add_test(NAME tst_fmdatabuffer SOURCES foundation/tst_fmdatabuffer.cpp)
