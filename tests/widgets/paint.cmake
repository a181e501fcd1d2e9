# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES <folder>/tst_<unit>.cpp GUI|WINDOW)
# The delegate and the style are compiled into the tests themselves: they need nothing else of fmui,
# so the tests build and run whatever state the rest of the widget library is in.
set(FM_PAINT_SOURCES
  ${PROJECT_SOURCE_DIR}/widgets/fmstyle.h
  ${PROJECT_SOURCE_DIR}/widgets/fmstyle.cpp
  ${PROJECT_SOURCE_DIR}/widgets/fmtreeviewdelegate.h
  ${PROJECT_SOURCE_DIR}/widgets/fmtreeviewdelegate.cpp
  ${PROJECT_SOURCE_DIR}/widgets/fmtreeviewtypes.h
)
fm_add_test(NAME tst_fmtreeviewdelegate SOURCES widgets/tst_fmtreeviewdelegate.cpp ${FM_PAINT_SOURCES}
            LIBS Qt6::Widgets)
fm_add_test(NAME tst_fmstyle SOURCES widgets/tst_fmstyle.cpp ${FM_PAINT_SOURCES} LIBS Qt6::Widgets)
