// Scalar types and result codes shared by the module and every host.
#pragma once

#include <cstdint>

// Result codes are 32-bit on every platform; negative values are failures.
using HRESULT = int32_t;

constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;  // success with a qualifier (view now empty, value from a bound input)
constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
// The system uses this code for an index out of range.
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);

constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
constexpr bool FAILED(HRESULT hr) { return hr < 0; }

// A counted wide text: borrowed, not terminated.
struct tagREFString {
    int32_t count;
    const wchar_t* text;
};
static_assert(sizeof(wchar_t) == 4, "texts are 32-bit wide characters");
