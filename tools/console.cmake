# The console program fmHistorydbconsole: projects, CSV export, database checks and demo roots
# without a window. Links the core only (Qt Core and zlib).
file(GLOB FM_CONSOLE_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/console/*.cpp)
add_executable(fmHistorydbconsole ${FM_CONSOLE_SOURCES})
target_link_libraries(fmHistorydbconsole PRIVATE fmcore)
set_target_properties(fmHistorydbconsole PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin/lx)
