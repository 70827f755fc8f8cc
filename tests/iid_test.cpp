#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "runtime/Interfaces.h"

namespace {

std::vector<uint8_t> bytesOf(const IID& id) {
    std::vector<uint8_t> bytes(16);
    std::memcpy(bytes.data(), &id, 16);
    return bytes;
}

IID computedAtRunTime(const std::string& name) {
    // Through a volatile copy so that the packing runs as ordinary code too.
    std::vector<char> copy(name.begin(), name.end());
    copy.push_back('\0');
    const char* volatile text = copy.data();
    return __IIDOfc(text);
}

}  // namespace

TEST(InterfaceIdentifiers, WorkedValuesAreBitExact) {
    struct Case {
        const char* name;
        std::vector<uint8_t> bytes;
    };
    const Case cases[] = {
        {"IStep", {0x69, 0xD2, 0x02, 0x01, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"istep", {0x69, 0xD2, 0x02, 0x01, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"IParameters", {0x09, 0x06, 0x19, 0x5A, 0xA1, 0x45, 0x4E, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"_IConfirmationEvent", {0x3B, 0x8D, 0xE7, 0x4C, 0x92, 0x2D, 0xD0, 0xF4, 0x5C, 0xB1, 0xC5, 0x51, 0, 0, 0, 0}},
        {"ICreatableSimpleCollection",
         {0x69, 0xC8, 0x12, 0x68, 0x10, 0xAC, 0xCC, 0xD4, 0x20, 0x2B, 0xE3, 0x31, 0x56, 0x06, 0x4D, 0x0F}},
        {"A3", {0xE1, 0x03, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"A4", {0x01, 0x04, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"", std::vector<uint8_t>(16, 0)},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(bytesOf(computedAtRunTime(c.name)), c.bytes) << c.name;
    }
    EXPECT_EQ(bytesOf(IID_IStep), cases[0].bytes);
    EXPECT_EQ(bytesOf(IID_IParameters), cases[2].bytes);
    EXPECT_EQ(bytesOf(IID__IConfirmationEvent), cases[3].bytes);
}

TEST(InterfaceIdentifiers, ConstantsAndTheNamesThatCollide) {
    EXPECT_EQ(bytesOf(IID_IUnknown), (std::vector<uint8_t>{0, 0, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46}));
    EXPECT_EQ(bytesOf(IID_NULL), std::vector<uint8_t>(16, 0));
    EXPECT_EQ(__IIDOfc(""), IID_NULL);
    EXPECT_EQ(__IIDOfc(nullptr), IID_NULL);

    // Only the first 25 characters count.
    EXPECT_EQ(__IIDOfc("ICreatableSimpleCollection"), __IIDOfc("ICreatableSimpleCollectio"));
    EXPECT_NE(__IIDOfc("ICreatableSimpleCollectio"), __IIDOfc("ICreatableSimpleCollecti"));
    // A "4" sets the lowest bit of the next character's field.
    EXPECT_EQ(__IIDOfc("A4"), __IIDOfc("A4A"));
    EXPECT_NE(__IIDOfc("A4"), __IIDOfc("A4B"));
    // A final "4" in the 25th place reaches bit 125 and no further.
    EXPECT_EQ(bytesOf(__IIDOfc("AAAAAAAAAAAAAAAAAAAAAAAA4"))[15] & 0xE0, 0x20);
    // Everything outside letters and 0 to 4 is one code.
    EXPECT_EQ(__IIDOfc("I5"), __IIDOfc("I_"));
    EXPECT_EQ(__IIDOfc("I_"), __IIDOfc("I~"));
    EXPECT_EQ(__IIDOfc("I9"), __IIDOfc("I\xC3"));
    EXPECT_NE(__IIDOfc("I4"), __IIDOfc("I5"));
    EXPECT_NE(__IIDOfc("I0"), __IIDOfc("I_"));
    EXPECT_EQ(__IIDOfc("IZ"), __IIDOfc("Iz"));
    EXPECT_EQ(__IIDOfc("IUIPROPINTERROGATE"), IID_IUIPropInterrogate);
}
