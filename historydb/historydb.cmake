target_sources(fmui PRIVATE
)
