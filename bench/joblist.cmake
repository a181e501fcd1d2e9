# Speed of the job list on a project of 15000 jobs (build in Release).
add_executable(fmbench_joblist bench_joblist.cpp)
target_link_libraries(fmbench_joblist PRIVATE fmtestsupport fmbrowser ZLIB::ZLIB)
