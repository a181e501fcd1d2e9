target_sources(fmui PRIVATE
  widgets/fmmessagebox.h
  widgets/fmmessagebox.cpp
  widgets/fmdialogs.h
  widgets/fmdialogs.cpp
)
