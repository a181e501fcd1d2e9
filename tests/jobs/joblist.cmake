# Tests of the job list, its database file, view, CSV export and the project table.
add_library(fmjoblisttestsupport STATIC jobs/joblist_fixtures.h jobs/joblist_fixtures.cpp)
target_link_libraries(fmjoblisttestsupport PUBLIC fmtestsupport Qt6::Test ZLIB::ZLIB)
target_include_directories(fmjoblisttestsupport PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/jobs)
fm_add_test(NAME tst_fmjoblist SOURCES jobs/tst_fmjoblist.cpp LIBS fmjoblisttestsupport)
fm_add_test(NAME tst_fmjoblist_sort SOURCES jobs/tst_fmjoblist_sort.cpp LIBS fmjoblisttestsupport)
fm_add_test(NAME tst_fmjobcsv SOURCES jobs/tst_fmjobcsv.cpp LIBS fmjoblisttestsupport)
fm_add_test(NAME tst_fmprojecttable SOURCES jobs/tst_fmprojecttable.cpp LIBS fmjoblisttestsupport)
