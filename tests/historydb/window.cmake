# Tests of the main window.
fm_add_test(NAME tst_fmhistorydb SOURCES historydb/tst_fmhistorydb.cpp LIBS fmjoblisttestsupport WINDOW)
