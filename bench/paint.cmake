# Speed of the item delegate's painting (build in Release).
add_executable(fmbench_paint bench_paint.cpp)
target_link_libraries(fmbench_paint PRIVATE fmhistorydb)
