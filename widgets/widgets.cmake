target_sources(fmui PRIVATE
  widgets/fmwidgets.cpp
)
