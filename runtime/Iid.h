// Interface identifiers: 16 bytes computed from the interface's name.
#pragma once

#include <cstddef>
#include <cstdint>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "identifier words are packed for a little-endian target");

// Byte k in memory is byte k of the identifier; compared as four words.
struct alignas(4) IID {
    uint32_t words[4];
};
static_assert(sizeof(IID) == 16 && alignof(IID) == 4, "IID is a plain 16-byte record");

constexpr bool operator==(const IID& a, const IID& b) {
    return a.words[0] == b.words[0] && a.words[1] == b.words[1] && a.words[2] == b.words[2] && a.words[3] == b.words[3];
}
constexpr bool operator!=(const IID& a, const IID& b) { return !(a == b); }

namespace iid_detail {

constexpr uint32_t characterCode(unsigned char c) {
    if (c >= 'A' && c <= 'Z') return c - 0x40u;
    if (c >= 'a' && c <= 'z') return c - 0x60u;
    if (c >= '0' && c <= '4') return c - 0x14u;
    return 27;
}

constexpr IID fromBytes(const uint8_t (&bytes)[16]) {
    IID id{};
    for (int w = 0; w < 4; ++w) {
        id.words[w] = uint32_t(bytes[4 * w]) | uint32_t(bytes[4 * w + 1]) << 8 | uint32_t(bytes[4 * w + 2]) << 16 |
                      uint32_t(bytes[4 * w + 3]) << 24;
    }
    return id;
}

}  // namespace iid_detail

// Each of the first 25 characters contributes a 5-bit code at bit 5*i; the
// code of "4" (32) spills into the next character's field by design.
constexpr IID __IIDOfc(const char* name) {
    uint8_t bytes[16] = {};
    if (name == nullptr) return iid_detail::fromBytes(bytes);
    for (size_t i = 0; i < 25 && name[i] != '\0'; ++i) {
        const uint32_t code = iid_detail::characterCode(static_cast<unsigned char>(name[i]));
        for (uint32_t bit = 0; bit < 6; ++bit) {
            if (code & (1u << bit)) {
                const size_t position = 5 * i + bit;
                bytes[position / 8] = uint8_t(bytes[position / 8] | (1u << (position % 8)));
            }
        }
    }
    return iid_detail::fromBytes(bytes);
}

constexpr IID IID_NULL = {};
constexpr IID IID_IUnknown = iid_detail::fromBytes(
    {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46});

namespace iid_detail {
constexpr bool equalsBytes(const IID& id, const uint8_t (&bytes)[16]) { return id == fromBytes(bytes); }
}  // namespace iid_detail

// The worked values every host reproduces.
static_assert(iid_detail::equalsBytes(__IIDOfc("IStep"), {0x69, 0xD2, 0x02, 0x01}));
static_assert(iid_detail::equalsBytes(__IIDOfc("istep"), {0x69, 0xD2, 0x02, 0x01}));
static_assert(iid_detail::equalsBytes(__IIDOfc("IParameters"), {0x09, 0x06, 0x19, 0x5A, 0xA1, 0x45, 0x4E}));
static_assert(iid_detail::equalsBytes(__IIDOfc("_IConfirmationEvent"),
                                      {0x3B, 0x8D, 0xE7, 0x4C, 0x92, 0x2D, 0xD0, 0xF4, 0x5C, 0xB1, 0xC5, 0x51}));
static_assert(iid_detail::equalsBytes(__IIDOfc("ICreatableSimpleCollection"),
                                      {0x69, 0xC8, 0x12, 0x68, 0x10, 0xAC, 0xCC, 0xD4, 0x20, 0x2B, 0xE3, 0x31, 0x56,
                                       0x06, 0x4D, 0x0F}));
static_assert(iid_detail::equalsBytes(__IIDOfc("A3"), {0xE1, 0x03}));
static_assert(iid_detail::equalsBytes(__IIDOfc("A4"), {0x01, 0x04}));
static_assert(__IIDOfc("") == IID_NULL);
