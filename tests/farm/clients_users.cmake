# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES farm/tst_<unit>.cpp)
