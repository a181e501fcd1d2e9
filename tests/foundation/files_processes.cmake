# Tests of this area: fm_add_test(NAME tst_<unit> SOURCES foundation/tst_<unit>.cpp)
fm_add_test(NAME tst_fmfile SOURCES foundation/tst_fmfile.cpp)
fm_add_test(NAME tst_fmprocess SOURCES foundation/tst_fmprocess.cpp)

# Contender process for the lock test, started twice by it.
add_executable(tst_fmfilelock_helper foundation/tst_fmfilelock_helper.cpp)
target_link_libraries(tst_fmfilelock_helper PRIVATE fmtestsupport)
fm_add_test(NAME tst_fmfilelock SOURCES foundation/tst_fmfilelock.cpp)
target_compile_definitions(tst_fmfilelock PRIVATE FM_LOCK_HELPER="$<TARGET_FILE:tst_fmfilelock_helper>")
add_dependencies(tst_fmfilelock tst_fmfilelock_helper)
