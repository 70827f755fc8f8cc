// CREFString: the parsing operations on counted views, as tables of inputs and
// outputs. Every text lives in a block of exactly its characters, with no
// terminator, so a read past a view's count is caught by AddressSanitizer.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "host/Variants.h"
#include "runtime/CREFString.h"
#include "runtime/TextEncoding.h"
#include "support/HostTest.h"

using Strings = HostTest;

namespace {

constexpr HRESULT kFail = E_FAIL;

class ExactText {
public:
    explicit ExactText(const std::wstring& text)
        : m_Characters(new wchar_t[text.size()]), m_Count(static_cast<int32_t>(text.size())) {
        std::copy(text.begin(), text.end(), m_Characters.get());
    }
    CREFString view() const { return CREFString(m_Characters.get(), m_Count); }

private:
    std::unique_ptr<wchar_t[]> m_Characters;
    int32_t m_Count;
};

std::wstring str(const CREFString& view) { return host::textOf(view); }

// What an operation left: its result, the out view and the view itself.
struct Outcome {
    HRESULT result;
    std::wstring out;
    std::wstring rest;
};

void PrintTo(const Outcome& o, std::ostream* os) {
    *os << "{" << o.result << ", \"" << host::narrow(o.out) << "\", \"" << host::narrow(o.rest) << "\"}";
}
bool operator==(const Outcome& a, const Outcome& b) {
    return a.result == b.result && a.out == b.out && a.rest == b.rest;
}

template <class Operation>
Outcome run(const std::wstring& text, Operation operation) {
    ExactText exact(text);
    CREFString view = exact.view();
    CREFString out(L"unset", 5);
    const HRESULT result = operation(view, &out);
    return {result, str(out), str(view)};
}

}  // namespace

TEST_F(Strings, GetLineCutsAtTheSeparatorWhichBelongsToTheLine) {
    struct Case {
        std::wstring text;
        bool consume, drop;
        Outcome expected;
    } const cases[] = {
        {L"a;b", true, false, {S_OK, L"a;", L"b"}},
        {L"a;b", true, true, {S_OK, L"a", L"b"}},
        {L"b", true, false, {S_FALSE, L"b", L""}},
        {L"ab;", true, true, {S_FALSE, L"ab", L""}},
        {L";x", true, true, {S_OK, L"", L"x"}},
        {L"", true, false, {kFail, L"", L""}},
        {L"a;b", false, false, {S_OK, L"a;", L"a;b"}},
        {L"ab", false, true, {kFail, L"ab", L"ab"}},  // no separator: the whole view, but a failure
    };
    for (const Case& c : cases) {
        EXPECT_EQ(run(c.text, [&](CREFString& v, CREFString* out) { return v.GetLine(out, c.consume, L';', c.drop); }),
                  c.expected)
            << host::narrow(c.text) << " consume " << c.consume << " drop " << c.drop;
    }

    // Consumed to the end, then nothing is left to read.
    ExactText text(L"a;b");
    CREFString view = text.view();
    EXPECT_EQ(view.GetLine(nullptr, true, L';', false), S_OK);
    EXPECT_EQ(view.GetLine(nullptr, true, L';', false), S_FALSE);
    EXPECT_EQ(view.GetLine(nullptr, true, L';', false), kFail);
}

TEST_F(Strings, GetLineCRLFTakesOneBreakOfEitherOrder) {
    struct Case {
        std::wstring text;
        bool withoutBreak, consume;
        Outcome expected;
    } const cases[] = {
        {L"x\r\ny", true, true, {S_OK, L"x", L"y"}},
        {L"x\n\ry", true, true, {S_OK, L"x", L"y"}},
        {L"x\r\ry", true, true, {S_OK, L"x", L"\ry"}},
        {L"x\n\ny", true, true, {S_OK, L"x", L"\ny"}},
        {L"x\r\ny", false, true, {S_OK, L"x\r\n", L"y"}},
        {L"x\r\n", true, true, {S_FALSE, L"x", L""}},
        {L"\n", true, true, {S_FALSE, L"", L""}},
        {L"xy", false, true, {S_FALSE, L"xy", L""}},
        {L"x\r\ny", false, false, {S_OK, L"x\r\n", L"x\r\ny"}},
        {L"xy", true, false, {S_OK, L"xy", L"xy"}},
        {L"", true, true, {kFail, L"", L""}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(
            run(c.text, [&](CREFString& v, CREFString* out) { return v.GetLineCRLF(out, c.withoutBreak, c.consume); }),
            c.expected)
            << host::narrow(c.text);
    }
}

TEST_F(Strings, ReverseAndRightLinesCutAtTheLastSeparator) {
    struct Case {
        std::wstring text;
        bool cut, drop;
        Outcome expected;
    };
    const Case reverse[] = {
        {L"dir/file", false, false, {S_OK, L"dir", L"dir/file"}},
        {L"dir/file", true, true, {S_OK, L"dir", L"file"}},
        {L"dir/file", true, false, {S_OK, L"dir", L"/file"}},
        {L"a/b/c", true, true, {S_OK, L"a/b", L"c"}},
        {L"/file", true, true, {kFail, L"", L"/file"}},
        {L"file", true, true, {kFail, L"", L"file"}},
        {L"", true, true, {kFail, L"", L""}},
    };
    for (const Case& c : reverse) {
        EXPECT_EQ(
            run(c.text, [&](CREFString& v, CREFString* out) { return v.GetReverseLine(out, L'/', c.cut, c.drop); }),
            c.expected)
            << "GetReverseLine " << host::narrow(c.text);
    }

    const Case right[] = {
        {L"a.b.txt", false, false, {S_OK, L".txt", L"a.b.txt"}},
        {L"a.b.txt", true, false, {S_OK, L".txt", L"a.b."}},
        {L"a.b.txt", true, true, {S_OK, L"txt", L"a.b"}},
        {L"name.", true, true, {S_OK, L"", L"name"}},
        {L"name", true, true, {kFail, L"", L"name"}},
        {L"", false, false, {kFail, L"", L""}},
    };
    for (const Case& c : right) {
        EXPECT_EQ(run(c.text,
                      [&](CREFString& v, CREFString* out) { return v.GetLineRight(out, L'.', c.cut, c.drop, false); }),
                  c.expected)
            << "GetLineRight " << host::narrow(c.text);
        EXPECT_EQ(run(c.text, [&](CREFString& v, CREFString* out) { return v.Crop(out, L'.', c.cut, c.drop); }),
                  c.expected)
            << "Crop " << host::narrow(c.text);
    }

    // Without a separator the whole view can be the tail.
    EXPECT_EQ(
        run(L"name", [](CREFString& v, CREFString* out) { return v.GetLineRight(out, L'.', false, false, true); }),
        (Outcome{S_OK, L"name", L"name"}));
    EXPECT_EQ(run(L"name", [](CREFString& v, CREFString* out) { return v.GetLineRight(out, L'.', true, false, true); }),
              (Outcome{S_OK, L"name", L""}));
}

TEST_F(Strings, SplitAndGetWordStopAtTheFirstSeparator) {
    struct SplitCase {
        std::wstring text, separators;
        int32_t control;
        HRESULT result;
        std::wstring left, right;
    } const splits[] = {
        {L"key=value", L"=", 0, S_OK, L"key", L"=value"},
        {L"a,b;c", L";,", 0, S_OK, L"a", L",b;c"},
        {L"=x", L"=", 0, S_OK, L"", L"=x"},
        {L"ab\tc", L"=", 1, S_OK, L"ab", L"\tc"},
        {L"ab\tc", L"=", 0, kFail, L"ab\tc", L""},
        {L"ab\tc", L"", 1, kFail, L"ab\tc", L""},  // an empty set splits nothing, not even at controls
        {L"x", L"=", 0, kFail, L"x", L""},
        {L"", L"=", 1, kFail, L"", L""},
    };
    for (const SplitCase& c : splits) {
        ExactText text(c.text), separators(c.separators);
        const CREFString view = text.view();
        CREFString left, right;
        EXPECT_EQ(view.Split(&left, &right, separators.view(), c.control), c.result) << host::narrow(c.text);
        EXPECT_EQ(str(left), c.left) << host::narrow(c.text);
        EXPECT_EQ(str(right), c.right) << host::narrow(c.text);
        EXPECT_EQ(str(view), c.text) << "Split leaves the view alone";
    }

    struct WordCase {
        std::wstring text, separators;
        Outcome expected;  // result: 0 without a separator, else its position plus one
    } const words[] = {
        {L"abc def", L" ", {4, L"abc", L" def"}}, {L"a,b", L";,", {2, L"a", L",b"}},
        {L" abc", L" ", {1, L"", L" abc"}},       {L"abc", L" ", {S_OK, L"abc", L""}},
        {L"abc", L"", {S_OK, L"abc", L""}},       {L"", L" ", {kFail, L"", L""}},
    };
    for (const WordCase& c : words) {
        ExactText separators(c.separators);
        EXPECT_EQ(run(c.text, [&](CREFString& v, CREFString* out) { return v.GetWord(out, true, separators.view()); }),
                  c.expected)
            << host::narrow(c.text);
    }
}

TEST_F(Strings, GetFirstWordReadsQuotedTextNumbersPunctuationAndWords) {
    struct Case {
        std::wstring text;
        HRESULT result;
        std::wstring word;
        int32_t consumed;
    } const cases[] = {
        {L"\"two words\" rest", S_OK, L"two words", 11},
        {L"\"\"x", S_OK, L"", 2},
        {L"\"open", S_OK, L"\"open", 5},  // no closing quote: the rest of the view
        {L"\"", S_OK, L"\"", 1},
        {L"-12.5E+3x", S_OK, L"-12.5E+3", 8},
        {L"1.5e-3 ", S_OK, L"1.5e-3", 6},
        {L"12.x", S_OK, L"12", 2},
        {L"12e5", S_OK, L"12", 2},  // an exponent needs its sign
        {L"3E+", S_OK, L"3", 1},
        {L"7.", S_OK, L"7", 1},
        {L"-x", kFail, L"", 0},
        {L"-", kFail, L"", 0},
        {L"+x", S_OK, L"+", 1},
        {L";b", S_OK, L";", 1},
        {L"word_2 next", S_OK, L"word_2", 6},
        {L"_x.y", S_OK, L"_x", 2},
        {L"ab(c", S_OK, L"ab", 2},
        {L" lead", kFail, L"", 0},  // blanks are not skipped
        {L"", kFail, L"", 0},
    };
    for (const Case& c : cases) {
        ExactText text(c.text);
        CREFString view = text.view();
        CREFString word;
        EXPECT_EQ(view.GetFirstWord(&word, true), c.result) << host::narrow(c.text);
        EXPECT_EQ(str(word), c.word) << host::narrow(c.text);
        EXPECT_EQ(view.count, static_cast<int32_t>(c.text.size()) - c.consumed) << host::narrow(c.text);

        CREFString untouched = text.view();
        EXPECT_EQ(untouched.GetFirstWord(nullptr, false), c.result);
        EXPECT_EQ(untouched.count, static_cast<int32_t>(c.text.size())) << "without consume the view stays";
    }
    CREFString word, cut(L"123", 2);  // a number ends with its view, whatever follows
    EXPECT_EQ(cut.GetFirstWord(&word, false), S_OK);
    EXPECT_EQ(str(word), L"12");
}

TEST_F(Strings, ContainsCompareIAndContainsCharFindTexts) {
    struct Case {
        std::wstring view, other;
        HRESULT contains;
        HRESULT compareWhole;
        HRESULT comparePrefix;
    } const cases[] = {
        {L"abc", L"ab", 0, S_FALSE, S_FALSE},
        {L"abc", L"bc", 1, kFail, kFail},
        {L"abc", L"c", 2, kFail, kFail},
        {L"xabab", L"ab", 1, kFail, kFail},
        // A mismatch restarts the needle at the next character without
        // re-examining the one that broke the match.
        {L"aab", L"ab", kFail, kFail, kFail},
        {L"abc", L"abcd", kFail, kFail, S_FALSE},
        {L"Value", L"value", kFail, S_OK, S_OK},
        {L"Value", L"VAL", kFail, S_FALSE, S_FALSE},
        {L"Value", L"Values", kFail, kFail, S_FALSE},
        {L"Value", L"vbl", kFail, kFail, kFail},
        {L"a", L"a", 0, S_OK, S_OK},
        {L"abc", L"", kFail, kFail, kFail},
        {L"", L"a", kFail, kFail, kFail},
    };
    for (const Case& c : cases) {
        ExactText view(c.view), other(c.other);
        EXPECT_EQ(view.view().Contains(other.view()), c.contains)
            << host::narrow(c.view) << " / " << host::narrow(c.other);
        EXPECT_EQ(view.view().CompareI(other.view(), 1), c.compareWhole)
            << host::narrow(c.view) << " / " << host::narrow(c.other);
        EXPECT_EQ(view.view().CompareI(other.view(), 0), c.comparePrefix)
            << host::narrow(c.view) << " / " << host::narrow(c.other);
    }

    ExactText path(L"a.b/c"), set(L"/."), none(L"xyz"), empty(L"");
    EXPECT_EQ(path.view().ContainsChar(set.view()), 1);
    EXPECT_EQ(path.view().ContainsChar(none.view()), kFail);
    EXPECT_EQ(path.view().ContainsChar(empty.view()), kFail);
    EXPECT_EQ(empty.view().ContainsChar(set.view()), kFail);
}

TEST_F(Strings, ViewsOfHostObjectsAndTerminatedTexts) {
    SmartPtr<IString> string = host::makeString(L"host text");
    const CREFString view(static_cast<IUnknown*>(string.get()));
    EXPECT_EQ(str(view), L"host text");
    EXPECT_EQ(CREFString(static_cast<IUnknown*>(host::makeVariant(5).get())).count, 0) << "no IString: empty";
    EXPECT_TRUE(CREFString(static_cast<IUnknown*>(nullptr)).empty());
    EXPECT_TRUE(CREFString(static_cast<IUnknown*>(host::makeString(L"").get())).empty());

    EXPECT_EQ(str(CREFString(L"terminated")), L"terminated");
    EXPECT_TRUE(CREFString(static_cast<const wchar_t*>(nullptr)).empty());
}

// Views a careless caller can make: null characters behind a count, negative
// counts, and long texts. Each operation gives its failure or reads within
// the view.
TEST_F(Strings, MalformedAndLongViewsGiveDefinedResults) {
    const CREFString malformed[] = {CREFString(nullptr, 5), CREFString(L"abc", -3), CREFString(L"abc", 0)};
    const CREFString separators(L";");
    for (CREFString view : malformed) {
        CREFString out, second;
        EXPECT_EQ(view.GetLine(&out, true, L';', true), kFail);
        EXPECT_EQ(view.GetLineCRLF(&out, true, true), kFail);
        EXPECT_EQ(view.GetReverseLine(&out, L';', true, true), kFail);
        EXPECT_EQ(view.GetLineRight(&out, L';', true, true, true), kFail);
        EXPECT_EQ(view.Split(&out, &second, separators, 1), kFail);
        EXPECT_EQ(view.GetFirstWord(&out, true), kFail);
        EXPECT_EQ(view.GetWord(&out, true, separators), kFail);
        EXPECT_EQ(view.Contains(separators), kFail);
        EXPECT_EQ(view.ContainsChar(separators), kFail);
        EXPECT_EQ(view.CompareI(separators, 0), kFail);
        EXPECT_EQ(separators.CompareI(view, 0), kFail);
        EXPECT_EQ(separators.Contains(view), kFail);
        EXPECT_EQ(out.count, 0);
    }

    const std::wstring letters(10000, L'a');
    ExactText longText(letters), longNumber(std::wstring(10000, L'7')), needle(letters.substr(0, 9999) + L"b");
    CREFString view = longText.view();
    CREFString line;
    EXPECT_EQ(view.GetLine(&line, true, L';', true), S_FALSE);
    EXPECT_EQ(line.count, 10000);
    EXPECT_EQ(longText.view().GetLineCRLF(&line, true, false), S_OK);
    EXPECT_EQ(line.count, 10000);
    EXPECT_EQ(longText.view().Contains(needle.view()), kFail);
    EXPECT_EQ(longText.view().CompareI(longText.view(), 1), S_OK);
    EXPECT_EQ(longText.view().CompareI(needle.view(), 1), kFail);
    EXPECT_EQ(longNumber.view().GetFirstWord(&line, false), S_OK);
    EXPECT_EQ(line.count, 10000);
    EXPECT_EQ(longText.view().GetFirstWord(&line, false), S_OK);
    EXPECT_EQ(line.count, 10000);
}

// The UTF-8 form of file names: one to four bytes a character, written only
// when the whole text and its terminator fit.
TEST(Utf8, EncodesIntoTheCallersStorageOnlyWhenItAllFits) {
    struct Case {
        std::wstring text;
        std::string bytes;
    };
    const Case cases[] = {
        {L"", ""},
        {L"a/b.png", "a/b.png"},
        {L"\u00e9", "\xc3\xa9"},
        {L"\u07ff\u0800", "\xdf\xbf\xe0\xa0\x80"},
        {L"\u20ac\uffff", "\xe2\x82\xac\xef\xbf\xbf"},
        {L"\U0001F600", "\xf0\x9f\x98\x80"},
        {std::wstring(1, static_cast<wchar_t>(0x2FFFFF)), "\xf3\xbf\xbf\xbf"},  // past 21 bits: the low 21
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bytes);
        const ExactText text(c.text);
        const CREFString view = text.view();
        char exact[16];
        EXPECT_EQ(encodeUtf8(view.text, view.count, exact, c.bytes.size() + 1), c.bytes.size());
        EXPECT_EQ(std::string(exact), c.bytes);
        if (c.bytes.empty()) continue;
        char tooSmall[16] = "unchanged";
        EXPECT_EQ(encodeUtf8(view.text, view.count, tooSmall, c.bytes.size()), c.bytes.size());
        EXPECT_EQ(std::string(tooSmall), "") << "no room for the terminator: the empty text";
    }
    EXPECT_EQ(encodeUtf8(nullptr, 5, nullptr, 0), 0u);
}
