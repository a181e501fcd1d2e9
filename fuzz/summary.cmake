# The history's summary reader: a database file summarized, and a summary cache file loaded.
fm_add_fuzzer(fuzz_summaryfile fuzz_summaryfile.cpp)
fm_add_fuzzer(fuzz_summarycache fuzz_summarycache.cpp)
