# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES widgets/tst_<unit>.cpp)
fm_add_test(NAME tst_fmmessagebox SOURCES widgets/tst_fmmessagebox.cpp GUI)
