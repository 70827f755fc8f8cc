#include "stephost/JsonLines.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace stephost {

namespace {

// The length of the well-formed UTF-8 sequence at text[i], 0 when there is none
// (a stray continuation byte, an overlong form, a surrogate, beyond U+10FFFF, cut short).
size_t sequenceLength(const std::string& text, size_t i) {
    const auto byte = [&](size_t at) { return at < text.size() ? static_cast<unsigned char>(text[at]) : 0u; };
    const unsigned lead = byte(i);
    const auto continuation = [&](size_t at, unsigned low = 0x80, unsigned high = 0xBF) {
        return byte(at) >= low && byte(at) <= high;
    };
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return continuation(i + 1) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        const unsigned low = lead == 0xE0 ? 0xA0 : 0x80;   // no overlong forms
        const unsigned high = lead == 0xED ? 0x9F : 0xBF;  // no surrogates
        return continuation(i + 1, low, high) && continuation(i + 2) ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        const unsigned low = lead == 0xF0 ? 0x90 : 0x80;
        const unsigned high = lead == 0xF4 ? 0x8F : 0xBF;  // nothing beyond U+10FFFF
        return continuation(i + 1, low, high) && continuation(i + 2) && continuation(i + 3) ? 4 : 0;
    }
    return 0;
}

std::string escaped(unsigned char c) {
    switch (c) {
        case '"':
            return "\\\"";
        case '\\':
            return "\\\\";
        case '\b':
            return "\\b";
        case '\f':
            return "\\f";
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            break;
    }
    char code[8];
    std::snprintf(code, sizeof code, "\\u%04x", c);
    return code;
}

}  // namespace

std::string jsonString(const std::string& utf8) {
    std::string result = "\"";
    result.reserve(utf8.size() + 2);
    for (size_t i = 0; i < utf8.size();) {
        const unsigned char c = static_cast<unsigned char>(utf8[i]);
        const size_t length = sequenceLength(utf8, i);
        if (length == 0) {
            result += "\\ufffd";
            ++i;
        } else if (length == 1 && (c < 0x20 || c == '"' || c == '\\' || c == 0x7F)) {
            result += escaped(c);
            ++i;
        } else {
            result.append(utf8, i, length);
            i += length;
        }
    }
    return result + "\"";
}

JsonObject& JsonObject::member(const char* name, const std::string& json) {
    if (!m_Members.empty()) m_Members += ",";
    m_Members += jsonString(name) + ":" + json;
    return *this;
}

JsonObject& JsonObject::text(const char* name, const std::string& utf8) { return member(name, jsonString(utf8)); }

JsonObject& JsonObject::integer(const char* name, int64_t value) { return member(name, std::to_string(value)); }

// The shortest of 15 or 17 significant digits that reads back as the same number.
JsonObject& JsonObject::number(const char* name, double value) {
    if (!std::isfinite(value)) return null(name);
    char digits[32];
    std::snprintf(digits, sizeof digits, "%.15g", value);
    if (std::strtod(digits, nullptr) != value) std::snprintf(digits, sizeof digits, "%.17g", value);
    return member(name, digits);
}

JsonObject& JsonObject::boolean(const char* name, bool value) { return member(name, value ? "true" : "false"); }

JsonObject& JsonObject::null(const char* name) { return member(name, "null"); }

}  // namespace stephost
