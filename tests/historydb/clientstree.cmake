# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES <folder>/tst_<unit>.cpp GUI|WINDOW)
set(fm_clientstree_units
  ${CMAKE_SOURCE_DIR}/widgets/fmtreeviewmodel.h ${CMAKE_SOURCE_DIR}/widgets/fmtreeviewmodel.cpp
  ${CMAKE_SOURCE_DIR}/widgets/fmtreeview.h ${CMAKE_SOURCE_DIR}/widgets/fmtreeview.cpp
  ${CMAKE_SOURCE_DIR}/widgets/fmtreeviewdelegate.h ${CMAKE_SOURCE_DIR}/widgets/fmtreeviewdelegate.cpp
  ${CMAKE_SOURCE_DIR}/widgets/fmstyle.h ${CMAKE_SOURCE_DIR}/widgets/fmstyle.cpp
  ${CMAKE_SOURCE_DIR}/historydb/fmclientstreemodel.h ${CMAKE_SOURCE_DIR}/historydb/fmclientstreemodel.cpp
  ${CMAKE_SOURCE_DIR}/historydb/fmlogtreemodel.h ${CMAKE_SOURCE_DIR}/historydb/fmlogtreemodel.cpp)
fm_add_test(NAME tst_fmclientstreemodel SOURCES historydb/tst_fmclientstreemodel.cpp ${fm_clientstree_units}
            LIBS fmcore Qt6::Widgets)
fm_add_test(NAME tst_fmlogtreemodel SOURCES historydb/tst_fmlogtreemodel.cpp ${fm_clientstree_units}
            LIBS fmcore Qt6::Widgets)
