# The configuration readers of the root: globalconfig.ini, clients.ini and clientgroups.ini.
fm_add_fuzzer(fuzz_globalconfig fuzz_globalconfig.cpp)
fm_add_fuzzer(fuzz_clientsini fuzz_clientsini.cpp)
