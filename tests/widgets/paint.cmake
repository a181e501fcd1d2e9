# Tests of the item delegate's painting and of the style.
fm_add_test(NAME tst_fmtreeviewdelegate SOURCES widgets/tst_fmtreeviewdelegate.cpp GUI)
fm_add_test(NAME tst_fmstyle SOURCES widgets/tst_fmstyle.cpp GUI)
