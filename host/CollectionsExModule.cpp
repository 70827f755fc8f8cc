// The entry points of the stand-in built as ./_binlinux/CollectionsEx.so: the
// component module a module loads itself when its host gave it no collection.
#include <cwchar>

#include "host/Components.h"

namespace {

template <class Make>
HRESULT createAs(Make make, const IID* iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!iid) return E_POINTER;
    SmartPtr<IUnknown> object = make();
    if (!object) return E_FAIL;
    return object->QueryInterface(*iid, out);
}

HRESULT createGlobalComponentCollection(void*, const IID* iid, void** out) {
    return createAs([] { return SmartPtr<IUnknown>(host::makeStandardComponents()); }, iid, out);
}

HRESULT createComponentString(void*, const IID* iid, void** out) {
    return createAs([] { return SmartPtr<IUnknown>(host::make<host::ComponentString>()); }, iid, out);
}

bool named(const tagREFString& name, const wchar_t* registered) {
    const size_t length = std::wcslen(registered);
    return name.text && name.count == static_cast<int32_t>(length) && std::wmemcmp(name.text, registered, length) == 0;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) HRESULT InitializeModule(void*, IComponentCollection*) {
    return S_OK;
}

extern "C" __attribute__((visibility("default"))) HRESULT CreateFunction(tagREFString name, CREATEFUNCTION* creator) {
    CREATEFUNCTION found = nullptr;
    if (named(name, L"GlobalComponentCollection")) found = &createGlobalComponentCollection;
    if (named(name, L"ComponentString")) found = &createComponentString;
    if (!found) return E_FAIL;
    if (!creator) return E_POINTER;
    *creator = found;
    return S_OK;
}
