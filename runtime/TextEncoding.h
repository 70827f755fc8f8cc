// Wide text in the system's 8-bit encoding (UTF-8) for the calls that take
// file names, written into storage the caller provides: nothing allocates.
#pragma once

#include <cstddef>
#include <cstdint>

// Writes the UTF-8 form of count characters of text into out, terminated,
// one to four bytes a character (a value beyond 0x1FFFFF keeps its low 21
// bits). Returns the bytes the whole text needs, without the terminator;
// when that does not fit below capacity, out holds the empty text.
size_t encodeUtf8(const wchar_t* text, int32_t count, char* out, size_t capacity);
