target_sources(fmcore PRIVATE
)
