# Tests of the tree framework and the tree view with its footer.
fm_add_test(NAME tst_fmtreeviewmodel SOURCES widgets/tst_fmtreeviewmodel.cpp GUI)
fm_add_test(NAME tst_fmtreeview SOURCES widgets/tst_fmtreeview.cpp GUI)
