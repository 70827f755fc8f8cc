#include "module/Registry.h"

const ModuleClass* const gModuleClasses[kModuleClassCount] = {
    &gGCUIActivateClass,  &gGCUIButtonSelectClass, &gGCUIConfirmClass,        &gGCUIEditClass,
    &gGCUIInputClass,     &gGCUIMessageClass,      &gGCUIPointerClass,        &gGCUIPropReadClass,
    &gGCUIPropWriteClass, &gGCUIRefreshClass,      &gGCUIScrollClass,         &gGCUITabGetSelectedClass,
    &gGCUITabSelectClass, &gGCUIVerbClass,
};

namespace {

// Exact, case-sensitive, no trimming. A count below 1 matches a registered
// name of the same count; a null text with characters to compare matches none.
bool matches(const tagREFString& registered, const tagREFString& name) {
    if (registered.count != name.count) return false;
    if (name.count < 1) return true;
    if (name.text == nullptr) return false;
    for (int32_t i = 0; i < name.count; ++i) {
        if (registered.text[i] != name.text[i]) return false;
    }
    return true;
}

}  // namespace

HRESULT MODULEFindCreator(tagREFString name, CREATEFUNCTION* creator) {
    for (const ModuleClass* entry : gModuleClasses) {
        if (!matches(*entry->name, name)) continue;
        if (!creator) return E_POINTER;
        *creator = entry->creator;
        return S_OK;
    }
    return E_FAIL;
}
