# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES farm/tst_<unit>.cpp)
fm_add_test(NAME tst_fmclient SOURCES farm/tst_fmclient.cpp)
fm_add_test(NAME tst_fmclientlist SOURCES farm/tst_fmclientlist.cpp)
fm_add_test(NAME tst_fmusers SOURCES farm/tst_fmusers.cpp)
