#include "parameters/ParameterRecord.h"

namespace {

void textOf(IString* name, const wchar_t*& text, int32_t& length) {
    text = nullptr;
    length = 0;
    if (!name || FAILED(name->get_Text(&text, &length)) || !text || length < 0) {
        text = nullptr;
        length = 0;
    }
}

}  // namespace

int PARAMETERSCompareByName(const void* a, const void* b) {
    const PARAMETEROBJECT* left = *static_cast<PARAMETEROBJECT* const*>(a);
    const PARAMETEROBJECT* right = *static_cast<PARAMETEROBJECT* const*>(b);
    const wchar_t* leftText;
    const wchar_t* rightText;
    int32_t leftLength, rightLength;
    textOf(left->name, leftText, leftLength);
    textOf(right->name, rightText, rightLength);
    // Counted texts: compared within their counts, never up to a terminator.
    const int32_t common = leftLength < rightLength ? leftLength : rightLength;
    for (int32_t i = 0; i < common; ++i) {
        if (leftText[i] != rightText[i]) return leftText[i] < rightText[i] ? -1 : 1;
    }
    return leftLength == rightLength ? 0 : (leftLength < rightLength ? -1 : 1);
}

bool PARAMETERSNamesMatch(const wchar_t* a, int32_t aLength, const wchar_t* b, int32_t bLength) {
    if (aLength != bLength) return false;
    if (aLength > 0 && (!a || !b)) return false;
    for (int32_t i = 0; i < aLength; ++i) {
        wchar_t x = a[i];
        wchar_t y = b[i];
        if (x >= L'A' && x <= L'Z') x = static_cast<wchar_t>(x + (L'a' - L'A'));
        if (y >= L'A' && y <= L'Z') y = static_cast<wchar_t>(y + (L'a' - L'A'));
        if (x != y) return false;
    }
    return true;
}
