#include "runtime/Values.h"

#include <cmath>
#include <cstdarg>
#include <cwchar>
#include <cwctype>

namespace {

// All formatted texts fit this many characters, terminator included.
constexpr int32_t kFormatCapacity = 256;

// The longest digit string that still reads as an integer: nine digits never
// overflow 32 bits.
constexpr int32_t kIntegerTextLimit = 9;

enum class TextKind { Text, Integer, Real };

bool isBlank(wchar_t c) { return std::iswspace(static_cast<wint_t>(c)) != 0; }

// Blanks, control characters and the stray bytes of a byte-order mark.
bool isLeadingJunk(wchar_t c) {
    return isBlank(c) || std::iswcntrl(static_cast<wint_t>(c)) != 0 || c == 0xFE || c == 0xEF;
}

bool isDecimalDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

void trimFront(CREFString& text) {
    if (text.empty()) return;
    while (text.count > 0 && isLeadingJunk(text.text[0])) {
        ++text.text;
        --text.count;
    }
}

// How text (already trimmed at the front) reads: an integer, a decimal
// number, or plain text. A blank ends a number that has digits; anything else
// that is not a digit or the one "." makes it text.
TextKind classify(const CREFString& text) {
    if (text.empty()) return TextKind::Text;
    int32_t i = text.text[0] == L'-' ? 1 : 0;
    int32_t digits = 0;
    bool point = false;
    for (; i < text.count; ++i) {
        const wchar_t c = text.text[i];
        if (isDecimalDigit(c)) {
            ++digits;
        } else if (c == L'.' && !point) {
            point = true;
        } else if (isBlank(c) && digits > 0) {
            break;
        } else {
            return TextKind::Text;
        }
    }
    if (digits == 0) return TextKind::Text;
    if (point) return TextKind::Real;
    return text.count <= kIntegerTextLimit ? TextKind::Integer : TextKind::Text;
}

// The decimal number at the start of text: the integer part and up to
// seventeen fraction digits in 64-bit integers, so that short fractions read
// exactly.
double readDecimal(const CREFString& text) {
    int32_t i = 0;
    double sign = 1.0;
    if (text.count > 0 && text.text[0] == L'-') {
        sign = -1.0;
        i = 1;
    }
    uint64_t whole = 0;
    for (; i < text.count && isDecimalDigit(text.text[i]); ++i) {
        whole = whole * 10u + static_cast<uint64_t>(text.text[i] - L'0');
    }
    uint64_t numerator = 0;
    uint64_t denominator = 1;
    if (i < text.count && text.text[i] == L'.') {
        for (++i; i < text.count && isDecimalDigit(text.text[i]); ++i) {
            if (denominator * 10u > 999999999999999999u) break;
            numerator = numerator * 10u + static_cast<uint64_t>(text.text[i] - L'0');
            denominator *= 10u;
        }
    }
    return sign * (static_cast<double>(whole) + static_cast<double>(numerator) / static_cast<double>(denominator));
}

// Always leaves buffer terminated. A text that does not fit is reported by
// the library as a failure with the buffer in no defined state: it is left
// empty rather than half written.
void formatInto(wchar_t* buffer, int32_t capacity, const wchar_t* format, va_list values) {
    if (!buffer || capacity <= 0) return;
    buffer[0] = L'\0';
    if (!format) return;
    const int written = std::vswprintf(buffer, static_cast<size_t>(capacity), format, values);
    buffer[written < 0 ? 0 : (written < capacity ? written : capacity - 1)] = L'\0';
}

SmartPtr<IString> formatted(const wchar_t* format, ...) {
    wchar_t buffer[kFormatCapacity];
    va_list values;
    va_start(values, format);
    formatInto(buffer, kFormatCapacity, format, values);
    va_end(values);
    return ISCreate(buffer);
}

// Eight characters "0"/"1", most significant bit first.
SmartPtr<IString> binaryByte(uint32_t byte) {
    wchar_t bits[8];
    for (int i = 0; i < 8; ++i) bits[i] = (byte & (0x80u >> i)) ? L'1' : L'0';
    return ISCreate(tagREFString{8, bits});
}

int byteShiftOfFormatCode(int16_t code) {
    switch (code) {
        case -42:
        case -24:
            return 24;
        case -32:
        case -23:
            return 16;
        case -22:
            return 8;
        default:
            return 0;
    }
}

// The fewest decimals (0 to 9) that show value without a visible remainder.
int automaticDecimals(double value) {
    const double magnitude = std::fabs(value);
    double scale = 1.0;
    for (int decimals = 0; decimals <= 9; ++decimals, scale *= 10.0) {
        const double scaled = magnitude * scale;
        if (scaled - std::floor(scaled) < 1e-08) return decimals;
    }
    return 9;
}

}  // namespace

void _swprintf(wchar_t* buffer, int32_t capacity, const wchar_t* format, ...) {
    va_list values;
    va_start(values, format);
    formatInto(buffer, capacity, format, values);
    va_end(values);
}

SmartPtr<IString> ISCreate(const tagREFString& text) {
    SmartPtr<IString> string = CREFString::CreateString();
    if (string && text.count > 0 && text.text) string->put_Text(text.count, text.text);
    return string;
}

SmartPtr<IString> ISCreate(const wchar_t* text) { return ISCreate(CREFString(text)); }

SmartPtr<IString> ISCreate(const char* utf8, int32_t byteCount) {
    SmartPtr<IString> string = CREFString::CreateString();
    if (!string || !utf8 || byteCount <= 0) return string;
    const auto* bytes = reinterpret_cast<const unsigned char*>(utf8);
    int32_t i = 0;
    while (i < byteCount) {
        const uint32_t lead = bytes[i];
        uint32_t code = 0;
        if (lead < 0x80u) {
            code = lead;
            ++i;
        } else if ((lead & 0xC0u) != 0xC0u || i + 1 >= byteCount) {
            // A stray continuation byte, or a lead byte with nothing after it.
            code = lead & 0x3Fu;
            ++i;
        } else {
            int32_t continuation = 0;
            while (continuation < 7 && (lead & (0x40u >> continuation))) ++continuation;
            const uint32_t payloadBits = continuation < 6 ? static_cast<uint32_t>(6 - continuation) : 0u;
            code = lead & ((1u << payloadBits) - 1u);
            const int32_t left = byteCount - i - 1;
            if (continuation > left) continuation = left;
            for (int32_t k = 1; k <= continuation; ++k) code = (code << 6) | (bytes[i + k] & 0x3Fu);
            i += 1 + continuation;
        }
        const wchar_t character = static_cast<wchar_t>(code);
        string->Append(1, &character);
    }
    return string;
}

SmartPtr<IString> ISCreate(int32_t value) { return formatted(L"%i", value); }

SmartPtr<IString> ISCreateHex(uint32_t value) {
    return formatted(value < 0x1000000u ? L"#%06X" : L"#%X", static_cast<unsigned int>(value));
}

SmartPtr<IString> ISCreateColor(uint32_t color) {
    // Held as 0x00BBGGRR, shown red first.
    const uint32_t swapped = (color & 0xFF00FF00u) | ((color & 0xFFu) << 16) | ((color >> 16) & 0xFFu);
    return ISCreateHex(swapped);
}

SmartPtr<IString> ISCreate(IVariant* variant, int16_t precision) {
    if (!variant) return nullptr;
    if (precision < -1) {
        const uint32_t value = static_cast<uint32_t>(variant->get_Long());
        if (precision == -16) return ISCreateHex(value);
        return binaryByte((value >> byteShiftOfFormatCode(precision)) & 0xFFu);
    }
    int32_t type = 0;
    if (variant->IsString()) {
        SmartPtr<IString> string;
        variant->get_String(string.put());
        if (!string) return nullptr;
        CREFString text(string.get());
        trimFront(text);
        const TextKind kind = classify(text);
        if (kind == TextKind::Text) return string;
        type = kind == TextKind::Integer ? 1 : 2;
    } else {
        type = variant->get_Type();
    }
    if ((precision == 0 || precision == -1) && type == 1) return formatted(L"%d", variant->get_Long());

    const double value = variant->get_Double();
    const int decimals = precision == -1 ? automaticDecimals(value) : precision;
    wchar_t format[16];
    _swprintf(format, 16, L"%%.%df", decimals);
    return formatted(format, value);
}

SmartPtr<IString> ISCreate(IVariant* variant) {
    if (!variant) return nullptr;
    if (variant->IsString()) {
        SmartPtr<IString> string;
        variant->get_String(string.put());
        return string;
    }
    if (variant->get_Type() == 0) {
        SmartPtr<IUnknown> object;
        variant->get_Object(object.put());
        tagREFString name = {0, nullptr};
        if (SmartPtr<IObjectInfo> info = object.query<IObjectInfo>()) info->GetName(0, &name);
        return ISCreate(name);
    }
    return ISCreate(variant, -1);
}

void ISSkipLeadingJunk(CREFString& text) { trimFront(text); }

int32_t _IS2Integer(CREFString text, int32_t base) {
    if (text.empty()) return 0;
    uint32_t sign = 1u;
    int32_t i = 0;
    switch (text.text[0]) {
        case L'-':
            sign = static_cast<uint32_t>(-1);
            i = 1;
            break;
        case L'+':
            i = 1;
            break;
        case L'#':
            base = 16;
            i = 1;
            break;
        default:
            break;
    }
    // 32-bit arithmetic that wraps, as the value is built digit by digit.
    uint32_t value = 0;
    for (; i < text.count; ++i) {
        wchar_t c = text.text[i];
        if (c >= L'a' && c <= L'z') c = static_cast<wchar_t>(c - L'a' + L'A');
        uint32_t digit = 0;
        if (isDecimalDigit(c)) {
            digit = static_cast<uint32_t>(c - L'0');
        } else if (c >= L'A' && c <= L'F' && base >= 11 && base <= 16) {
            digit = static_cast<uint32_t>(c - L'A' + 10);
        } else {
            break;
        }
        value = value * static_cast<uint32_t>(base) + digit;
    }
    return static_cast<int32_t>(sign * value);
}

SmartPtr<IVariant> IVCreate(int32_t value) {
    SmartPtr<IVariant> variant = CREFString::CreateVariant();
    if (variant) variant->put_Long(value);
    return variant;
}

SmartPtr<IVariant> IVCreate(IString* string) {
    SmartPtr<IVariant> variant = CREFString::CreateVariant();
    if (variant) variant->put_String(string);
    return variant;
}

SmartPtr<IVariant> IVCreateConvert(CREFString& text) {
    trimFront(text);
    SmartPtr<IVariant> variant = CREFString::CreateVariant();
    if (!variant) return nullptr;
    switch (classify(text)) {
        case TextKind::Real:
            variant->put_Double(readDecimal(text));
            return variant;
        case TextKind::Integer:
            variant->put_Long(_IS2Integer(text, 10));
            return variant;
        case TextKind::Text: {
            SmartPtr<IString> string = ISCreate(text);
            if (!string) return nullptr;
            variant->put_String(string.get());
            return variant;
        }
    }
    return variant;
}
