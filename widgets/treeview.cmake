target_sources(fmui PRIVATE
  widgets/fmtreeviewtypes.h
  widgets/fmtreeviewmodel.h
  widgets/fmtreeviewmodel.cpp
  widgets/fmtreeview.h
  widgets/fmtreeview.cpp
)
