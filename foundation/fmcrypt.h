#pragma once
// Reversible scrambling of short text (passwords in the user file). Not encryption: it hides the
// text and its length from a casual look at the file. The scrambled form starts with "fmCB".

namespace fmCrypt {

// Scrambles buf in place to m = min(outSize, bufSize) bytes: "fmCB" and m - 4 scattered bytes;
// bytes m to bufSize - 1 get filler letters, so the result is not terminated when bufSize > m:
// restore it with the length that this call returns. The text is *length bytes, or strlen(buf)
// when length is null.
// Fails, leaving buf untouched, when the text is over m - 8 or 250 bytes, or m is over 250
// (a longer result could not be restored). On success *length (if given) is set to m.
bool Rmpg4(char* buf, const int& bufSize, int outSize, unsigned short* length);

// Restores in place what Rmpg4 made. Text that does not begin with "fmCB" (or a buffer under 4
// bytes, or null) is taken as plain: true, nothing changes. The scrambled length is *length or
// strlen(buf). False on a damaged or too long form. On success the text is terminated and
// *length (if given) holds its length.
bool DeRmpg4(char* buf, const int& bufSize, unsigned short* length);

} // namespace fmCrypt
