# Container loaders of the data buffer, each fed with hostile bytes.
fm_add_fuzzer(fuzz_fmdb_checked fuzz_fmdb_checked.cpp)
fm_add_fuzzer(fuzz_fmdb_compressed fuzz_fmdb_compressed.cpp)
fm_add_fuzzer(fuzz_fmdb_gzip fuzz_fmdb_gzip.cpp)
fm_add_fuzzer(fuzz_fmdb_memory fuzz_fmdb_memory.cpp)
