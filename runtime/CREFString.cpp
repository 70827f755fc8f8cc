#include "runtime/CREFString.h"

#include <cwchar>
#include <cwctype>
#include <limits>

namespace {

constexpr wchar_t kQuote = L'"';

// A view's usable length: a view with a null text has no characters, however
// large its count claims to be.
int32_t lengthOf(const tagREFString& view) { return view.count > 0 && view.text ? view.count : 0; }

bool isIn(wchar_t c, const tagREFString& set) {
    const int32_t n = lengthOf(set);
    for (int32_t i = 0; i < n; ++i) {
        if (set.text[i] == c) return true;
    }
    return false;
}

bool isDigit(wchar_t c) { return std::iswdigit(static_cast<wint_t>(c)) != 0; }
bool isBlank(wchar_t c) { return std::iswspace(static_cast<wint_t>(c)) != 0; }
bool isPunctuation(wchar_t c) { return std::iswpunct(static_cast<wint_t>(c)) != 0; }
wint_t lower(wchar_t c) { return std::towlower(static_cast<wint_t>(c)); }
bool isLineBreak(wchar_t c) { return c == L'\r' || c == L'\n'; }

int32_t lastIndexOf(const wchar_t* text, int32_t length, wchar_t c) {
    for (int32_t i = length - 1; i >= 0; --i) {
        if (text[i] == c) return i;
    }
    return -1;
}

// Writes an out view when the caller asked for one.
void setView(CREFString* out, const wchar_t* text, int32_t count) {
    if (out) *out = CREFString(text, count);
}

// Length of a number token at the start of text: optional "-", digits, a
// fraction only when a digit follows the ".", an exponent only when a sign and
// a digit follow the "E".
int32_t numberLength(const wchar_t* text, int32_t length) {
    int32_t i = 0;
    if (i < length && text[i] == L'-') ++i;
    while (i < length && isDigit(text[i])) ++i;
    if (i + 1 < length && text[i] == L'.' && isDigit(text[i + 1])) {
        i += 2;
        while (i < length && isDigit(text[i])) ++i;
    }
    if (i + 2 < length && (text[i] == L'E' || text[i] == L'e') && (text[i + 1] == L'+' || text[i + 1] == L'-') &&
        isDigit(text[i + 2])) {
        i += 3;
        while (i < length && isDigit(text[i])) ++i;
    }
    return i;
}

}  // namespace

CREFString::CREFString(const wchar_t* terminated) : tagREFString{0, terminated} {
    if (!terminated) return;
    const size_t length = std::wcslen(terminated);
    count = length > static_cast<size_t>(std::numeric_limits<int32_t>::max()) ? std::numeric_limits<int32_t>::max()
                                                                              : static_cast<int32_t>(length);
}

CREFString::CREFString(IUnknown* object) : tagREFString{0, nullptr} {
    SmartPtr<IString> string = queryInterface<IString>(object);
    if (!string) return;
    const wchar_t* characters = nullptr;
    int32_t length = 0;
    if (FAILED(string->get_Text(&characters, &length)) || !characters || length <= 0) return;
    text = characters;
    count = length;
}

HRESULT CREFString::GetLine(CREFString* line, bool consume, wchar_t separator, bool dropSeparator) {
    const int32_t length = lengthOf(*this);
    const wchar_t* start = text;
    if (length == 0) {
        setView(line, start, 0);
        return E_FAIL;
    }
    int32_t n = length;
    for (int32_t i = 0; i < length; ++i) {
        if (start[i] == separator) {
            n = i + 1;
            break;
        }
    }
    const int32_t lineLength = dropSeparator && start[n - 1] == separator ? n - 1 : n;
    if (!consume) {
        setView(line, start, lineLength);
        return n < length ? S_OK : E_FAIL;
    }
    text = start + n;
    count = length - n;
    setView(line, start, lineLength);
    return length - n == 0 ? S_FALSE : S_OK;
}

HRESULT CREFString::GetLineCRLF(CREFString* line, bool withoutBreak, bool consume) {
    const int32_t length = lengthOf(*this);
    const wchar_t* start = text;
    if (length == 0) {
        setView(line, start, 0);
        return E_FAIL;
    }
    int32_t breakAt = length;
    int32_t used = length;
    for (int32_t i = 0; i < length; ++i) {
        if (!isLineBreak(start[i])) continue;
        breakAt = i;
        used = i + 1;
        // "\r\n" and "\n\r" are one break; "\r\r" and "\n\n" are two.
        if (i + 1 < length && start[i + 1] != start[i] && isLineBreak(start[i + 1])) used = i + 2;
        break;
    }
    if (consume) {
        text = start + used;
        count = length - used;
    }
    setView(line, start, withoutBreak ? breakAt : used);
    if (!consume) return S_OK;
    return length - used == 0 ? S_FALSE : S_OK;
}

HRESULT CREFString::GetReverseLine(CREFString* head, wchar_t separator, bool cut, bool dropSeparator) {
    const int32_t length = lengthOf(*this);
    const wchar_t* start = text;
    const int32_t p = lastIndexOf(start, length, separator);
    // No separator, or nothing before it.
    if (p <= 0) {
        setView(head, start, 0);
        return E_FAIL;
    }
    if (cut) {
        const int32_t removed = dropSeparator ? p + 1 : p;
        text = start + removed;
        count = length - removed;
    }
    setView(head, start, p);
    return S_OK;
}

HRESULT CREFString::GetLineRight(CREFString* tail, wchar_t separator, bool cut, bool dropSeparator,
                                 bool wholeIfMissing) {
    const int32_t length = lengthOf(*this);
    const wchar_t* start = text;
    if (length == 0) {
        setView(tail, start, 0);
        return E_FAIL;
    }
    const int32_t p = lastIndexOf(start, length, separator);
    if (p >= 0) {
        const int32_t from = dropSeparator ? p + 1 : p;
        if (cut) count = dropSeparator ? p : p + 1;
        setView(tail, start + from, length - from);
        return S_OK;
    }
    if (wholeIfMissing) {
        if (cut) count = 0;
        setView(tail, start, length);
        return S_OK;
    }
    setView(tail, start, 0);
    return E_FAIL;
}

HRESULT CREFString::Crop(CREFString* tail, wchar_t separator, bool cut, bool dropSeparator) {
    return GetLineRight(tail, separator, cut, dropSeparator, false);
}

HRESULT CREFString::Split(CREFString* left, CREFString* right, const CREFString& separators,
                          int32_t controlSplits) const {
    const int32_t length = lengthOf(*this);
    if (length < 1) {
        setView(left, text, 0);
        setView(right, text, 0);
        return E_FAIL;
    }
    // Control characters split only alongside a separator set: with an empty
    // set nothing splits.
    const bool anySeparator = lengthOf(separators) > 0;
    for (int32_t i = 0; anySeparator && i < length; ++i) {
        const wchar_t c = text[i];
        if (isIn(c, separators) || (controlSplits != 0 && static_cast<uint32_t>(c) < 32u)) {
            setView(left, text, i);
            setView(right, text + i, length - i);
            return S_OK;
        }
    }
    setView(left, text, length);
    setView(right, text + length, 0);
    return E_FAIL;
}

HRESULT CREFString::GetFirstWord(CREFString* word, bool consume) {
    const int32_t length = lengthOf(*this);
    const wchar_t* start = text;
    if (length < 1) {
        setView(word, start, 0);
        return E_FAIL;
    }
    const wchar_t first = start[0];
    int32_t n = 0;
    if (first == kQuote) {
        n = length;
        for (int32_t i = 1; i < length; ++i) {
            if (start[i] == kQuote) {
                n = i;
                break;
            }
        }
        if (length == 1 || start[1] == kQuote) n = 1;
    } else if (isDigit(first) || (first == L'-' && length > 1 && isDigit(start[1]))) {
        n = numberLength(start, length);
    } else if (first == L'-') {
        n = 0;
    } else if (isPunctuation(first) && first != L'_') {
        n = 1;
    } else {
        while (n < length && !isBlank(start[n]) && (!isPunctuation(start[n]) || start[n] == L'_')) ++n;
    }
    if (n < 1) {
        setView(word, start, 0);
        return E_FAIL;
    }
    const wchar_t* wordText = start;
    int32_t wordLength = n;
    if (n < length && start[n] == kQuote) {
        // A quoted token: the word is what lies between the quotes, and the
        // closing quote is consumed with it.
        wordText = start + 1;
        wordLength = n - 1;
        n += 1;
    }
    if (consume) {
        text = start + n;
        count = length - n;
    }
    setView(word, wordText, wordLength);
    return S_OK;
}

HRESULT CREFString::GetWord(CREFString* word, bool consume, const tagREFString& separators) {
    const int32_t length = lengthOf(*this);
    const wchar_t* start = text;
    if (length < 1) {
        setView(word, start, 0);
        return E_FAIL;
    }
    int32_t i = 0;
    while (i < length && !isIn(start[i], separators)) ++i;
    if (consume) {
        // The separator stays at the front of the view.
        text = start + i;
        count = length - i;
    }
    setView(word, start, i);
    return i == length ? S_OK : i + 1;
}

HRESULT CREFString::Contains(const tagREFString& needle) const {
    const int32_t length = lengthOf(*this);
    const int32_t needleLength = lengthOf(needle);
    if (length == 0 || needleLength == 0) return E_FAIL;
    // One pass, no backtracking: a mismatch restarts the needle at the next
    // character without re-examining the one that broke the match.
    int32_t matched = 0;
    int32_t matchStart = 0;
    for (int32_t i = 0; i < length; ++i) {
        if (text[i] != needle.text[matched]) {
            matched = 0;
            continue;
        }
        if (matched == 0) matchStart = i;
        if (++matched == needleLength) return matchStart;
    }
    return E_FAIL;
}

HRESULT CREFString::ContainsChar(const tagREFString& set) const {
    const int32_t length = lengthOf(*this);
    if (length == 0 || lengthOf(set) == 0) return E_FAIL;
    for (int32_t i = 0; i < length; ++i) {
        if (isIn(text[i], set)) return i;
    }
    return E_FAIL;
}

HRESULT CREFString::CompareI(const tagREFString& other, int16_t whole) const {
    const int32_t length = lengthOf(*this);
    const int32_t otherLength = lengthOf(other);
    int32_t n = 0;
    if (whole) {
        if (length < otherLength) return E_FAIL;
        n = otherLength;
    } else {
        n = length < otherLength ? length : otherLength;
    }
    if (n == 0 || length == 0) return E_FAIL;
    for (int32_t i = 0; i < n; ++i) {
        if (lower(text[i]) != lower(other.text[i])) return E_FAIL;
    }
    return length == otherLength ? S_OK : S_FALSE;
}
