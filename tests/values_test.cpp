// Host strings and variants made from texts, numbers, colours and variants,
// and texts read back as numbers.
#include "runtime/Values.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

#include "host/Collections.h"
#include "host/Variants.h"
#include "support/HostTest.h"

using Values = HostTest;
using host::textOf;

namespace {

std::wstring textOfString(const SmartPtr<IString>& string) { return string ? textOf(string.get()) : L"(null)"; }

}  // namespace

TEST_F(Values, StringsFromTextsNumbersAndColours) {
    struct Case {
        const char* what;
        SmartPtr<IString> made;
        std::wstring expected;
    } const cases[] = {
        {"terminated", ISCreate(L"plain"), L"plain"},
        {"null", ISCreate(static_cast<const wchar_t*>(nullptr)), L""},
        {"counted", ISCreate(tagREFString{3, L"abcdef"}), L"abc"},
        {"count 0", ISCreate(tagREFString{0, L"abc"}), L""},
        {"negative count", ISCreate(tagREFString{-1, L"abc"}), L""},
        {"count without text", ISCreate(tagREFString{5, nullptr}), L""},
        {"integer", ISCreate(-42), L"-42"},
        {"smallest integer", ISCreate(std::numeric_limits<int32_t>::min()), L"-2147483648"},
        {"hex", ISCreateHex(0xFF), L"#0000FF"},
        {"hex zero", ISCreateHex(0), L"#000000"},
        {"hex seven digits", ISCreateHex(0x1000000), L"#1000000"},
        {"hex largest", ISCreateHex(0xFFFFFFFFu), L"#FFFFFFFF"},
        {"colour", ISCreateColor(0x00332211), L"#112233"},
        {"red", ISCreateColor(0x000000FF), L"#FF0000"},
        {"colour keeps the top byte", ISCreateColor(0x12345678), L"#12785634"},
    };
    for (const Case& c : cases) {
        ASSERT_TRUE(c.made) << c.what;
        EXPECT_EQ(textOf(c.made.get()), c.expected) << c.what;
    }
    EXPECT_EQ(textOf(ISCreate(std::wstring(10000, L'x').c_str()).get()).size(), 10000u);
}

TEST_F(Values, Utf8IsDecodedLeniently) {
    struct Case {
        std::string bytes;
        int32_t count;  // -1: all of bytes
        std::wstring expected;
    } const cases[] = {
        {"abc", -1, L"abc"},
        {"abc", 2, L"ab"},
        {"\xC3\xA9", -1, L"\u00E9"},
        {"\xE2\x82\xAC!", -1, L"\u20AC!"},
        {"\xF0\x9F\x98\x80", -1, L"\U0001F600"},
        {"\x80", -1, std::wstring(1, L'\0')},  // a stray continuation byte keeps its low six bits
        {"\xBF", -1, L"\x3F"},
        {"a\xC3", -1, L"a\x03"},    // a lead byte at the end
        {"\xE2\x82", -1, L"\x82"},  // one continuation byte short
        {"\xF0\x9F", -1, L"\x1F"},
        {"\xC3\x41", -1, L"\xC1"},     // continuation bytes are not checked
        {"\xE2\x82\xAC", 2, L"\x82"},  // the count, not the text, decides what is there
        {std::string("a\0b", 3), -1, std::wstring(L"a\0b", 3)},
        {"abc", 0, L""},
        {"abc", -5, L""},
    };
    for (const Case& c : cases) {
        const int32_t count = c.count == -1 ? static_cast<int32_t>(c.bytes.size()) : c.count;
        // The bytes in a block of exactly their count: a read past it is caught.
        std::unique_ptr<char[]> exact(new char[c.bytes.size()]);
        std::memcpy(exact.get(), c.bytes.data(), c.bytes.size());
        SmartPtr<IString> made = ISCreate(exact.get(), count);
        ASSERT_TRUE(made);
        EXPECT_EQ(textOf(made.get()), c.expected) << "bytes " << c.bytes.size() << " count " << count;
    }
    EXPECT_EQ(textOf(ISCreate(static_cast<const char*>(nullptr), 4).get()), L"");
    // Ten thousand lead bytes: each takes the next as its continuation.
    const std::string leads(10000, '\xC3');
    EXPECT_EQ(textOf(ISCreate(leads.data(), 10000).get()), std::wstring(5000, L'\xC3'));
}

TEST_F(Values, IntegersAreReadDigitByDigit) {
    struct Case {
        const wchar_t* text;
        int32_t base;
        int32_t expected;
    } const cases[] = {
        {L"#1f", 10, 31},
        {L"-42", 10, -42},
        {L"+7", 10, 7},
        {L"12ab", 10, 12},
        {L"12ab", 16, 0x12AB},
        {L"ff", 16, 255},
        {L"FF", 10, 0},
        {L"-", 10, 0},
        {L"#", 10, 0},
        {L"", 10, 0},
        {L"-#1", 10, 0},  // only the first character can be a sign or "#"
        {L"99", 2, 27},   // digits count whatever the base
        {L"2147483648", 10, std::numeric_limits<int32_t>::min()},
        {L"4294967295", 10, -1},
        {L"42 7", 10, 42},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(_IS2Integer(CREFString(c.text), c.base), c.expected) << host::narrow(c.text) << " base " << c.base;
    }
    EXPECT_EQ(_IS2Integer(CREFString(L"123", 2), 10), 12) << "reads only the view's characters";
    EXPECT_EQ(_IS2Integer(CREFString(nullptr, 4), 10), 0);
}

TEST_F(Values, TextsBecomeTypedVariants) {
    enum Kind { Integer, Real, Text };
    struct Case {
        std::wstring text;
        Kind kind;
        double number;        // Integer and Real
        std::wstring string;  // Text
        int32_t consumed;     // leading characters removed from the view
    } const cases[] = {
        {L"  42", Integer, 42, L"", 2},
        {L"3.25", Real, 3.25, L"", 0},
        {L"-0.5", Real, -0.5, L"", 0},
        {L".5", Real, 0.5, L"", 0},
        {L"5.", Real, 5, L"", 0},
        {L"12 ", Integer, 12, L"", 0},
        {L"12 abc", Integer, 12, L"", 0},
        {L"123456789", Integer, 123456789, L"", 0},
        {L"-12345678", Integer, -12345678, L"", 0},
        {L"1234567890", Text, 0, L"1234567890", 0},  // ten characters: kept as text
        {L"12345678 9", Text, 0, L"12345678 9", 0},
        {L"0.12345678901234567890", Real, 0.12345678901234567, L"", 0},
        {L"1.2.3", Text, 0, L"1.2.3", 0},
        {L" 7a", Text, 0, L"7a", 1},
        {L"- 5", Text, 0, L"- 5", 0},
        {L"1e5", Text, 0, L"1e5", 0},
        {L"-", Text, 0, L"-", 0},
        {L"\u00FE\u00EF\t\r\n 5", Integer, 5, L"", 6},
        {L"   ", Text, 0, L"", 3},
        {L"", Text, 0, L"", 0},
    };
    for (const Case& c : cases) {
        const std::string label = host::narrow(c.text);
        CREFString view(c.text.data(), static_cast<int32_t>(c.text.size()));
        SmartPtr<IVariant> variant = IVCreateConvert(view);
        ASSERT_TRUE(variant) << label;
        EXPECT_EQ(view.text, c.text.data() + c.consumed) << label;
        EXPECT_EQ(view.count, static_cast<int32_t>(c.text.size()) - c.consumed) << label;
        switch (c.kind) {
            case Integer:
                EXPECT_EQ(variant->get_Type(), 1) << label;
                EXPECT_EQ(variant->get_Long(), static_cast<int32_t>(c.number)) << label;
                break;
            case Real:
                EXPECT_EQ(variant->get_Type(), 2) << label;
                EXPECT_DOUBLE_EQ(variant->get_Double(), c.number) << label;
                break;
            case Text: {
                ASSERT_EQ(variant->IsString(), 1) << label;
                SmartPtr<IString> held;
                variant->get_String(held.put());
                EXPECT_EQ(textOf(held.get()), c.string) << label;
                break;
            }
        }
    }

    EXPECT_EQ(IVCreate(-3)->get_Long(), -3);
    SmartPtr<IString> text = host::makeString(L"kept");
    SmartPtr<IString> held;
    IVCreate(text.get())->get_String(held.put());
    EXPECT_EQ(held.get(), text.get()) << "the variant holds that string itself";
}

TEST_F(Values, VariantsShownWithPrecisionOrFormatCode) {
    const auto real = [](double value) { return host::makeVariant(value); };
    const auto integer = [](int32_t value) { return host::makeVariant(value); };
    const auto text = [](const wchar_t* value) { return host::makeVariant(std::wstring(value)); };
    struct Case {
        SmartPtr<IVariant> variant;
        int16_t precision;
        std::wstring expected;
    } const cases[] = {
        {real(2.5), -1, L"2.5"},
        {real(3.0), -1, L"3"},
        {real(0.125), -1, L"0.125"},
        {real(-1.75), -1, L"-1.75"},
        {real(0.3), -1, L"0.3"},
        {real(1.0001), -1, L"1.0001"},
        {real(2.000000001), -1, L"2"},          // a remainder below 1e-08 is not shown
        {real(1.0 / 3.0), -1, L"0.333333333"},  // no fewer decimals show it: nine
        {real(1.5), 3, L"1.500"},
        {real(2.4), 0, L"2"},
        {integer(7), -1, L"7"},
        {integer(7), 0, L"7"},
        {integer(7), 2, L"7.00"},  // a positive precision shows decimals even for an integer
        {host::make<host::Variant>(), -1, L"0"},
        {text(L" 42"), -1, L"42"},
        {text(L"2.50"), -1, L"2.5"},
        {integer(0x12345678), -16, L"#12345678"},
        {integer(255), -16, L"#0000FF"},
        {integer(0x12345678), -42, L"00010010"},
        {integer(0x12345678), -24, L"00010010"},
        {integer(0x12345678), -32, L"00110100"},
        {integer(0x12345678), -23, L"00110100"},
        {integer(0x12345678), -22, L"01010110"},
        {integer(0x12345678), -2, L"01111000"},
        {integer(0x12345678), -100, L"01111000"},
        {integer(-1), -22, L"11111111"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(textOfString(ISCreate(c.variant.get(), c.precision)), c.expected) << "precision " << c.precision;
    }

    // Text that does not read as a number is handed back as it is.
    for (const wchar_t* plain : {L"abc", L"", L"1234567890", L"1.2.3"}) {
        SmartPtr<IVariant> variant = text(plain);
        SmartPtr<IString> held;
        variant->get_String(held.put());
        EXPECT_EQ(ISCreate(variant.get(), -1).get(), held.get()) << host::narrow(plain);
    }
    EXPECT_FALSE(ISCreate(static_cast<IVariant*>(nullptr), -1));
    EXPECT_FALSE(ISCreate(static_cast<IVariant*>(nullptr)));
}

TEST_F(Values, AVariantsTextIsItsStringNumberOrObjectName) {
    SmartPtr<IVariant> holdsText = host::makeVariant(std::wstring(L"12.50"));
    SmartPtr<IString> held;
    holdsText->get_String(held.put());
    EXPECT_EQ(ISCreate(holdsText.get()).get(), held.get()) << "the string itself, not a number";
    EXPECT_EQ(textOfString(ISCreate(host::makeVariant(7).get())), L"7");
    EXPECT_EQ(textOfString(ISCreate(host::makeVariant(2.5).get())), L"2.5");
    EXPECT_EQ(textOfString(ISCreate(host::make<host::Variant>().get())), L"");

    SmartPtr<IUnknown> step = createStep(L"GCUIRefresh");
    ASSERT_TRUE(step);
    SmartPtr<IVariant> holdsStep = host::make<host::Variant>();
    holdsStep->put_Value(step.get());
    EXPECT_EQ(textOfString(ISCreate(holdsStep.get())), L"GCUIRefresh");
    SmartPtr<IVariant> holdsCollection = host::make<host::Variant>();
    holdsCollection->put_Value(static_cast<ISuperCollection*>(host::make<host::SuperCollection>().get()));
    EXPECT_EQ(textOfString(ISCreate(holdsCollection.get())), L"") << "an object without a name";
}

TEST_F(Values, FormattingNeverWritesOutsideTheBuffer) {
    wchar_t block[12];
    const auto reset = [&] { std::wmemset(block, L'#', 12); };
    const auto guardsIntact = [&](int32_t capacity) {
        for (int32_t i = 1 + capacity; i < 12; ++i) {
            if (block[i] != L'#') return false;
        }
        return block[0] == L'#';
    };

    reset();
    _swprintf(block + 1, 6, L"%d", 12345);
    EXPECT_EQ(std::wstring(block + 1), L"12345");
    EXPECT_TRUE(guardsIntact(6));

    reset();
    _swprintf(block + 1, 5, L"%d", 12345);  // no room for the terminator
    EXPECT_EQ(block[1], L'\0') << "left empty and terminated";
    EXPECT_TRUE(guardsIntact(5));

    reset();
    _swprintf(block + 1, 0, L"%d", 1);
    EXPECT_TRUE(guardsIntact(0));
    _swprintf(nullptr, 10, L"%d", 1);
    _swprintf(block + 1, 4, nullptr);
    EXPECT_EQ(block[1], L'\0');

    const std::wstring longText(10000, L'z');
    wchar_t buffer[256];
    _swprintf(buffer, 256, L"%ls", longText.c_str());
    EXPECT_EQ(buffer[0], L'\0');
    _swprintf(buffer, 256, L"%%.%df", 3);
    EXPECT_EQ(std::wstring(buffer), L"%.3f");

    // A number too long for the formatting buffer gives an empty text, not a crash.
    EXPECT_EQ(textOfString(ISCreate(host::makeVariant(1e300).get(), 9)), L"");
    EXPECT_EQ(textOfString(ISCreate(host::makeVariant(1.5).get(), 32767)), L"");
}

// A host whose factories are found but make nothing: every constructor gives
// null, and nothing that uses one crashes.
TEST_F(Values, FactoriesThatMakeNothingGiveNullEverywhere) {
    for (const wchar_t* name : {L"CreatableString", L"Variant"}) {
        components->addObject(name, static_cast<IComponentString*>(
                                        host::make<host::ComponentString>(L"Collections", L"NoSuchClass").get()));
    }
    EXPECT_FALSE(CREFString::CreateString());
    EXPECT_FALSE(CREFString::CreateVariant());
    EXPECT_FALSE(ISCreate(L"x"));
    EXPECT_FALSE(ISCreate("x", 1));
    EXPECT_FALSE(ISCreate(tagREFString{1, L"x"}));
    EXPECT_FALSE(ISCreate(5));
    EXPECT_FALSE(ISCreateHex(5));
    EXPECT_FALSE(ISCreateColor(5));
    EXPECT_FALSE(ISCreate(host::makeVariant(2.5).get(), -1));
    EXPECT_FALSE(ISCreate(host::make<host::Variant>().get()));
    EXPECT_FALSE(IVCreate(5));
    EXPECT_FALSE(IVCreate(host::makeString(L"x").get()));
    CREFString view(L"42");
    EXPECT_FALSE(IVCreateConvert(view));
    EXPECT_TRUE(CREFString::CreateCollection()) << "the collection factory is still the standard one";
}
