# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES <folder>/tst_<unit>.cpp GUI|WINDOW)
fm_add_test(NAME tst_fmclientstreemodel SOURCES historydb/tst_fmclientstreemodel.cpp GUI)
fm_add_test(NAME tst_fmlogtreemodel SOURCES historydb/tst_fmlogtreemodel.cpp GUI)
