# The user file readers: users7.dat and the older users.dat.
fm_add_fuzzer(fuzz_users7 fuzz_users7.cpp)
fm_add_fuzzer(fuzz_users fuzz_users.cpp)
