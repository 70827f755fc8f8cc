// The vocabulary of a step's parameters: one parameter's record, its flag
// bits, the persistence mode bits, and how names compare.
#pragma once

#include <cstdint>

#include "runtime/Interfaces.h"

// One parameter, owned by the collection, which holds one reference on each
// of the three objects.
struct PARAMETEROBJECT {
    IString* name;
    IVariant* value;
    IUnknown* descriptor;
    int32_t flags;
};

// Parameter flag bits. The low four bits are the value's kind, in the
// host's property-kind codes.
constexpr int32_t PARAMETER_KIND_MASK = 0x0000000F;
constexpr int32_t PARAMETER_KIND_INTEGER = 3;  // integers, on/off settings, choice indexes
constexpr int32_t PARAMETER_KIND_DECIMAL = 5;  // positions and page sizes
constexpr int32_t PARAMETER_KIND_TEXT = 6;
constexpr int32_t PARAMETER_KIND_OBJECT = 7;
constexpr int32_t PARAMETER_KIND_BUTTON = 9;  // the button a binding names
constexpr int32_t PARAMETER_PATH = 0x00000010;
constexpr int32_t PARAMETER_PATH_ALTERNATE = 0x00000020;
constexpr int32_t PARAMETER_CHOICES = 0x00000040;
constexpr int32_t PARAMETER_MARKERS = 0x000000F0;  // the path and choice markers above the kind
// An integer shown as a colour: the only kind the alternate path marker goes with.
constexpr int32_t PARAMETER_COLOR = PARAMETER_KIND_INTEGER | PARAMETER_PATH_ALTERNATE;
constexpr int32_t PARAMETER_RELATIVE_PATH = 0x00000100;
constexpr int32_t PARAMETER_CARRIED = 0x00000400;  // for the host's pages, not read here
constexpr int32_t PARAMETER_RESULT = 0x00040000;
constexpr int32_t PARAMETER_NEVER_STORED = 0x04000000;
constexpr int32_t PARAMETER_UNWRITTEN_XML = 0x08000000;  // cleared by the XML writer, read nowhere

// Persistence mode bits, passed to every save and load; never stored in flags.
constexpr int32_t MODE_CSV_NAMES = 0x00010000;
constexpr int32_t MODE_COMPACT = 0x00800000;
constexpr int32_t MODE_REBUILD = 0x01000000;
constexpr int32_t MODE_REUSE = 0x02000000;

// Mode bits of Set and Sort.
constexpr int16_t SET_CLEARS_DESCRIPTOR = 0x1;  // a null descriptor clears the stored one
constexpr int16_t SET_REPLACES_FLAGS = 0x2;     // zero flags replace the stored ones
constexpr int32_t SORT_DESCENDING = 0x2;

// qsort's comparison for Sort: the names' code points, case-sensitive; a
// name that is a prefix of another sorts first; a missing name is empty.
int PARAMETERSCompareByName(const void* a, const void* b);

// Names match when they have the same length and the same characters, the
// ASCII letters A to Z folded to a to z and nothing else.
bool PARAMETERSNamesMatch(const wchar_t* a, int32_t aLength, const wchar_t* b, int32_t bLength);
