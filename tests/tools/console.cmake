# Tests of the console program: its arguments, outputs and exit codes on a demo root made in the
# test, and the demo root generator called directly.
fm_add_test(NAME tst_console SOURCES tools/tst_console.cpp ../tools/console/demoroot.cpp)
target_compile_definitions(tst_console PRIVATE FM_CONSOLE_EXE="$<TARGET_FILE:fmHistorydbconsole>")
add_dependencies(tst_console fmHistorydbconsole)
