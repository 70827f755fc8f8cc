// Host strings and variants made from texts, numbers, colours and variants,
// and texts turned into numbers. Every result carries one reference, or is
// null when the host cannot make the object.
#pragma once

#include <cstdint>

#include "runtime/CREFString.h"
#include "runtime/Interfaces.h"
#include "runtime/SmartPtr.h"

SmartPtr<IString> ISCreate(const wchar_t* text);                  // terminated, may be null
SmartPtr<IString> ISCreate(const char* utf8, int32_t byteCount);  // lenient UTF-8
SmartPtr<IString> ISCreate(const tagREFString& text);
SmartPtr<IString> ISCreate(int32_t value);                         // "%i"
SmartPtr<IString> ISCreate(IVariant* variant);                     // the variant's text; null for null
SmartPtr<IString> ISCreate(IVariant* variant, int16_t precision);  // decimals, -1 automatic, below -1 format codes
SmartPtr<IString> ISCreateHex(uint32_t value);                     // "#%06X" or "#%X"
SmartPtr<IString> ISCreateColor(uint32_t color);                   // 0x00BBGGRR shown red first

int32_t _IS2Integer(CREFString text, int32_t base);
// Consumes the leading blanks, control characters and stray byte-order-mark
// bytes (0xFE, 0xEF) from the view.
void ISSkipLeadingJunk(CREFString& text);

SmartPtr<IVariant> IVCreate(int32_t value);
SmartPtr<IVariant> IVCreate(IString* string);
// A typed variant from text; leading blanks are consumed from the caller's view.
SmartPtr<IVariant> IVCreateConvert(CREFString& text);

// Formats into buffer (capacity characters) and always terminates it; never
// writes outside the buffer.
void _swprintf(wchar_t* buffer, int32_t capacity, const wchar_t* format, ...);
