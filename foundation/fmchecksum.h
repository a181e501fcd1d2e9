#pragma once
// Checksums of data containers, job records and the user file. All results are the same on every
// machine: the tables are fixed and the byte order of the input is the order in memory.

#include <cstdint>

// Common CRC-32 (polynomial 0x04C11DB7 reflected, initial 0xFFFFFFFF, final complement).
// 0 for n = 0. "123456789" gives 0xCBF43926.
unsigned fmCRCCalc(const unsigned char* p, const unsigned& n);
// Nothing to build any more (the tables are fixed at compile time); kept for start-up code that calls it.
void fmCRCInitialize();
// Feeds n bytes into a running value; the initial value and the final complement are the caller's.
void fmCRCPartial(unsigned* crc, const unsigned char* p, unsigned n);

// CRC-64, Jones variant: reflected, table entry 1 = 0x7AD870C830358979, initial 0, no complement.
unsigned long long fmCRCCalc64(const void* p, unsigned long n);
// CRC-16, polynomial 0x1021, most significant bit first, initial 0 (the XMODEM form).
unsigned fmCRCCalc16(const unsigned char* p, unsigned long n);
// XOR of n bytes; with everySecond the n bytes at indices 0, 2, 4, ... (reads 2n - 1 bytes).
unsigned char fmCRCCalc8(const unsigned char* p, unsigned long n, bool everySecond);
