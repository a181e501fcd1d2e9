# Speed of the SQL store: 200,000 jobs of a demo root into SQLite, and a run with nothing changed.
add_executable(fmbench_sql bench_sql.cpp)
target_link_libraries(fmbench_sql PRIVATE fmtestsupport fmdemoroot fmsql)
