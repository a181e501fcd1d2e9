# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES <folder>/tst_<unit>.cpp GUI|WINDOW)
fm_add_test(NAME tst_fmjobstreemodel SOURCES historydb/tst_fmjobstreemodel.cpp LIBS fmjoblisttestsupport GUI)
