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

}  // namespace

// The worked values are the header's own compile-time checks; here, what
// they do not show.
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
