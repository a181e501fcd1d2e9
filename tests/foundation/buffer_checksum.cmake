# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES foundation/tst_<unit>.cpp)
