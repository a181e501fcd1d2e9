target_sources(fmui PRIVATE
  widgets/fmtreeviewtypes.h
  widgets/fmtreeviewmodel.h
  widgets/fmtreeview.h
)
