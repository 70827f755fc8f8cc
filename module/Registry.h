// The module's step classes, in the order CreateFunction tests them.
#pragma once

#include "runtime/Interfaces.h"
#include "runtime/ObjectBase.h"

struct ModuleClass {
    const tagREFString* name;  // the class's IObjectInfoImpl<T>::m_ObjectName
    CREATEFUNCTION creator;    // CObject<T>::_CreateInstance
};

template <class T>
constexpr ModuleClass moduleClassOf() {
    return {&IObjectInfoImpl<T>::m_ObjectName, &CObject<T>::_CreateInstance};
}

// Each defined next to its class, in steps/.
extern const ModuleClass gGCUIActivateClass;
extern const ModuleClass gGCUIButtonSelectClass;
extern const ModuleClass gGCUIConfirmClass;
extern const ModuleClass gGCUIEditClass;
extern const ModuleClass gGCUIInputClass;
extern const ModuleClass gGCUIMessageClass;
extern const ModuleClass gGCUIPointerClass;
extern const ModuleClass gGCUIPropReadClass;
extern const ModuleClass gGCUIPropWriteClass;
extern const ModuleClass gGCUIRefreshClass;
extern const ModuleClass gGCUIScrollClass;
extern const ModuleClass gGCUITabGetSelectedClass;
extern const ModuleClass gGCUITabSelectClass;
extern const ModuleClass gGCUIVerbClass;

constexpr int32_t kModuleClassCount = 14;
extern const ModuleClass* const gModuleClasses[kModuleClassCount];

// The creator registered under name: 0; E_FAIL when no class has that
// name; E_POINTER when the name matches but creator is null.
HRESULT MODULEFindCreator(tagREFString name, CREATEFUNCTION* creator);
