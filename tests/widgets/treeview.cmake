# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES <folder>/tst_<unit>.cpp GUI|WINDOW)
# The framework's own sources are compiled into the tests instead of linking all of fmui, so that
# these tests link while the models built on the framework are still being written.
set(FM_TREEVIEW_UNITS
  ${PROJECT_SOURCE_DIR}/widgets/fmtreeviewmodel.cpp
  ${PROJECT_SOURCE_DIR}/widgets/fmtreeview.cpp
  ${PROJECT_SOURCE_DIR}/widgets/fmtreeviewdelegate.cpp
  ${PROJECT_SOURCE_DIR}/widgets/fmstyle.cpp
)
fm_add_test(NAME tst_fmtreeviewmodel SOURCES widgets/tst_fmtreeviewmodel.cpp ${FM_TREEVIEW_UNITS} LIBS Qt6::Widgets)
fm_add_test(NAME tst_fmtreeview SOURCES widgets/tst_fmtreeview.cpp ${FM_TREEVIEW_UNITS} LIBS Qt6::Widgets)
foreach(t tst_fmtreeviewmodel tst_fmtreeview)
  target_include_directories(${t} PRIVATE ${PROJECT_SOURCE_DIR})
  set_tests_properties(${t} PROPERTIES ENVIRONMENT "TZ=UTC;LC_ALL=C.UTF-8;QT_QPA_PLATFORM=offscreen")
endforeach()
