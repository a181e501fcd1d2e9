# The console program fmHistorydbconsole: projects, CSV export, database checks and demo roots
# without a window. Links the core only (Qt Core and zlib).
add_executable(fmHistorydbconsole
  tools/console/main.cpp
  tools/console/demoroot.h
  tools/console/demoroot.cpp
)
target_link_libraries(fmHistorydbconsole PRIVATE fmcore)
set_target_properties(fmHistorydbconsole PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin/lx)
