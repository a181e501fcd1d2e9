# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES <folder>/tst_<unit>.cpp GUI|WINDOW)
fm_add_test(NAME tst_fmjobinfo SOURCES historydb/tst_fmjobinfo.cpp)
fm_add_test(NAME tst_fmresubmit SOURCES historydb/tst_fmresubmit.cpp)
fm_add_test(NAME tst_fmjoblogpage SOURCES historydb/tst_fmjoblogpage.cpp)
