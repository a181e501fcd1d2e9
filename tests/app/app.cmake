# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES app/tst_<unit>.cpp)
