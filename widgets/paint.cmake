target_sources(fmui PRIVATE
  widgets/fmtreeviewdelegate.h
  widgets/fmtreeviewdelegate.cpp
  widgets/fmstyle.h
  widgets/fmstyle.cpp
)
