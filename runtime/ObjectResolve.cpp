#include "runtime/ObjectResolve.h"

HRESULT OBJECTQueryDirect(IUnknown* object, const IID& iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!object) return E_FAIL;
    if (SUCCEEDED(object->QueryInterface(iid, out)) && *out) return S_OK;
    *out = nullptr;
    if (SmartPtr<ICollectionMoniker> moniker = queryInterface<ICollectionMoniker>(object)) {
        if (SUCCEEDED(moniker->GetObject(iid, out)) && *out) return S_OK;
        *out = nullptr;
    }
    return E_NOINTERFACE;
}

HRESULT OBJECTResolveInterface(IUnknown* object, const IID& iid, void** out) {
    // Found, no out pointer, or no object: nothing more to try.
    const HRESULT direct = OBJECTQueryDirect(object, iid, out);
    if (direct != E_NOINTERFACE) return direct;
    SmartPtr<ICollectionMoniker> moniker = queryInterface<ICollectionMoniker>(object);
    SmartPtr<IHostWindow> window = queryInterface<IHostWindow>(object);
    if (!window && moniker) moniker->GetObject(iidOf<IHostWindow>(), window.put_void());
    if (!window) return E_FAIL;
    SmartPtr<IUnknown> hosted;
    if (FAILED(window->get_HostedObject(hosted.put())) || !hosted) return E_FAIL;
    if (SUCCEEDED(hosted->QueryInterface(iid, out)) && *out) return S_OK;
    *out = nullptr;
    return E_FAIL;
}

HRESULT OBJECTAdvise(IUnknown* source, IUnknown* sink, int32_t kind) {
    SmartPtr<IEventSource> events = queryInterface<IEventSource>(source);
    if (!events) return E_NOINTERFACE;
    return events->Advise(sink, kind);
}
