# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES jobs/tst_<unit>.cpp)
