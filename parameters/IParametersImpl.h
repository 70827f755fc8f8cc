// The step's ordered collection of named parameters, shown to the host as I
// (IParameters, or IParametersCreatable for steps whose parameter set the
// user defines).
#pragma once

#include <atomic>
#include <cstdint>

#include "runtime/Interfaces.h"

// One parameter, owned by the collection.
struct PARAMETEROBJECT {
    IString* name;
    IVariant* value;
    IUnknown* descriptor;
    int32_t flags;
};

template <class T, class I>
class IParametersImpl : public I {
    static_assert(std::is_same_v<I, IParameters> || std::is_same_v<I, IParametersCreatable>,
                  "a step's collection is IParameters or IParametersCreatable");

public:
    // The collection's operations are not built yet: every one says so.
    HRESULT get_Count(int32_t*) override { return E_NOTIMPL; }
    HRESULT get_Item(int32_t, IUnknown**) override { return E_NOTIMPL; }
    HRESULT get_Index(IUnknown*, int32_t*) override { return E_NOTIMPL; }
    HRESULT get_ItemName(int32_t, IString**) override { return E_NOTIMPL; }
    HRESULT Rename(int32_t, IString*) override { return E_NOTIMPL; }
    HRESULT CollectionLock() override { return E_NOTIMPL; }
    HRESULT CollectionUnlock() override { return E_NOTIMPL; }
    HRESULT IsCollectionLocked() override { return E_NOTIMPL; }
    HRESULT Iterate(int32_t, IString**, IVariant**, IUnknown**, int32_t*) override { return E_NOTIMPL; }
    HRESULT get_ItemVariant(int32_t, IVariant**) override { return E_NOTIMPL; }
    HRESULT put_Item(int32_t, IUnknown*) override { return E_NOTIMPL; }
    HRESULT get_ItemDescriptor(int32_t, IUnknown**) override { return E_NOTIMPL; }
    HRESULT put_ItemDescriptor(int32_t, IUnknown*) override { return E_NOTIMPL; }
    HRESULT get_ItemFlags(int32_t, int32_t*) override { return E_NOTIMPL; }
    HRESULT put_ItemFlags(int32_t, int32_t) override { return E_NOTIMPL; }

    // IParametersCreatable's operations; plain members in the IParameters variant.
    HRESULT Add(IString*, IUnknown*, IUnknown*, int32_t) { return E_NOTIMPL; }
    HRESULT Remove(int32_t) { return E_NOTIMPL; }
    HRESULT RemoveAll() { return E_NOTIMPL; }
    HRESULT Copy(IParameters*) { return E_NOTIMPL; }
    HRESULT Sort(int32_t) { return E_NOTIMPL; }
    HRESULT Set(IUnknown*, IUnknown*, IUnknown*, int32_t, int16_t) { return E_NOTIMPL; }

protected:
    IParametersImpl() = default;
    ~IParametersImpl() = default;

    PARAMETEROBJECT** m_Items = nullptr;
    int32_t m_Count = 0;
    int32_t m_Capacity = 0;
    // Read by other threads without the lock, so atomic.
    std::atomic<int32_t> m_Locked{0};
};
