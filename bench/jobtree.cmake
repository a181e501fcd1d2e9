# Speed of the jobs tree on a project of 15000 jobs (build in Release).
add_executable(fmbench_jobtree bench_jobtree.cpp)
target_link_libraries(fmbench_jobtree PRIVATE fmtestsupport fmhistorydb)
