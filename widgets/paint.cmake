target_sources(fmui PRIVATE
  widgets/fmtreeviewdelegate.h
  widgets/fmtreeviewdelegate.cpp
  widgets/fmstyle.h
  widgets/fmstyle.cpp
)

# Speed of the item delegate (build in Release). Compiled from the sources, like its tests, so it
# builds without the rest of the widget library.
if(NOT FM_FUZZ)
  add_executable(fmbench_paint bench/bench_paint.cpp
    widgets/fmtreeviewdelegate.h widgets/fmtreeviewdelegate.cpp widgets/fmstyle.h widgets/fmstyle.cpp)
  target_link_libraries(fmbench_paint PRIVATE fmcore Qt6::Widgets)
endif()
