#include "runtime/TextEncoding.h"

namespace {

size_t bytesOf(uint32_t c) { return c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4; }

}  // namespace

size_t encodeUtf8(const wchar_t* text, int32_t count, char* out, size_t capacity) {
    size_t needed = 0;
    for (int32_t i = 0; text && i < count; ++i) needed += bytesOf(static_cast<uint32_t>(text[i]));
    if (capacity > 0) out[0] = '\0';
    if (needed >= capacity) return needed;
    auto* at = reinterpret_cast<unsigned char*>(out);
    for (int32_t i = 0; text && i < count; ++i) {
        const uint32_t c = static_cast<uint32_t>(text[i]);
        switch (bytesOf(c)) {
            case 1:
                *at++ = static_cast<unsigned char>(c);
                break;
            case 2:
                *at++ = static_cast<unsigned char>(0xC0 | (c >> 6));
                *at++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
                break;
            case 3:
                *at++ = static_cast<unsigned char>(0xE0 | (c >> 12));
                *at++ = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
                *at++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
                break;
            default:
                *at++ = static_cast<unsigned char>(0xF0 | ((c >> 18) & 0x07));
                *at++ = static_cast<unsigned char>(0x80 | ((c >> 12) & 0x3F));
                *at++ = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
                *at++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
                break;
        }
    }
    *at = '\0';
    return needed;
}
