# History report over 100 projects and 200,000 jobs (build in Release).
add_executable(fmbench_report bench_report.cpp)
target_link_libraries(fmbench_report PRIVATE fmjoblisttestsupport fmbrowser)
