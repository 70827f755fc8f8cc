#include "module/Registry.h"

#include <cstring>

const ModuleClass* const gModuleClasses[kModuleClassCount] = {
    &gGCUIActivateClass, &gGCUIButtonSelectClass,   &gGCUIConfirmClass,   &gGCUIEditClass,      &gGCUIInputClass,
    &gGCUIMessageClass,  &gGCUIPointerClass,        &gGCUIPropReadClass,  &gGCUIPropWriteClass, &gGCUIRefreshClass,
    &gGCUIScrollClass,   &gGCUITabGetSelectedClass, &gGCUITabSelectClass, &gGCUIVerbClass,
};

namespace {

// The registry flattened for the lookup the host makes in its loops: counts
// side by side, and the last two characters of each name packed in one
// word, so that most entries are passed over without comparing their text.
struct Candidate {
    int32_t count;
    const wchar_t* text;
    uint64_t head;  // the last two characters (the names share their start); 0 for shorter names
    CREATEFUNCTION creator;
};

uint64_t headOf(const wchar_t* text, int32_t count) {
    uint64_t head = 0;
    if (text && count >= 2) std::memcpy(&head, text + (count - 2), sizeof head);
    return head;
}

// The entries grouped by character count, each group in registry order, so
// that a name is compared only with the names of its own length.
constexpr int32_t kLongestIndexed = 63;
constexpr uint8_t kEndOfGroup = 0xFF;

struct Candidates {
    Candidate entries[kModuleClassCount];
    uint8_t byCount[kLongestIndexed + 1][kModuleClassCount + 1];
    bool allIndexed = true;  // every registered count is within the index

    Candidates() {
        std::memset(byCount, kEndOfGroup, sizeof byCount);
        for (int32_t i = 0; i < kModuleClassCount; ++i) {
            const tagREFString& name = *gModuleClasses[i]->name;
            entries[i] = {name.count, name.text, headOf(name.text, name.count), gModuleClasses[i]->creator};
            if (name.count < 0 || name.count > kLongestIndexed) {
                allIndexed = false;
                continue;
            }
            uint8_t* group = byCount[name.count];
            while (*group != kEndOfGroup) ++group;
            *group = static_cast<uint8_t>(i);
        }
    }
};

// Exact, case-sensitive, no trimming. A count below 1 matches a registered
// name of the same count; a null text with characters to compare matches none.
bool matches(const Candidate& registered, const tagREFString& name, uint64_t head) {
    if (registered.count != name.count) return false;
    if (name.count < 1) return true;
    if (name.text == nullptr || registered.head != head) return false;
    return std::memcmp(registered.text, name.text, static_cast<size_t>(name.count) * sizeof(wchar_t)) == 0;
}

}  // namespace

HRESULT MODULEFindCreator(tagREFString name, CREATEFUNCTION* creator) {
    static const Candidates candidates;
    // The name's characters are read only once a registered name has its
    // count: a count longer than the text behind it is never followed.
    if (candidates.allIndexed && name.count >= 0 && name.count <= kLongestIndexed) {
        const uint8_t* index = candidates.byCount[name.count];
        const uint64_t head = *index != kEndOfGroup ? headOf(name.text, name.count) : 0;
        for (; *index != kEndOfGroup; ++index) {
            const Candidate& entry = candidates.entries[*index];
            if (!matches(entry, name, head)) continue;
            if (!creator) return E_POINTER;
            *creator = entry.creator;
            return S_OK;
        }
        return E_FAIL;
    }
    for (const Candidate& entry : candidates.entries) {
        if (entry.count != name.count || !matches(entry, name, headOf(name.text, name.count))) continue;
        if (!creator) return E_POINTER;
        *creator = entry.creator;
        return S_OK;
    }
    return E_FAIL;
}
