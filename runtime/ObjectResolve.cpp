#include "runtime/ObjectResolve.h"

HRESULT OBJECTResolveInterface(IUnknown* object, const IID& iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!object) return E_FAIL;
    if (object->QueryInterface(iid, out) >= 0 && *out) return S_OK;
    *out = nullptr;
    SmartPtr<ICollectionMoniker> moniker = queryInterface<ICollectionMoniker>(object);
    if (moniker) {
        if (moniker->GetObject(iid, out) >= 0 && *out) return S_OK;
        *out = nullptr;
    }
    SmartPtr<IHostWindow> window = queryInterface<IHostWindow>(object);
    if (!window && moniker) moniker->GetObject(iidOf<IHostWindow>(), window.put_void());
    if (!window) return E_FAIL;
    SmartPtr<IUnknown> hosted;
    if (window->get_HostedObject(hosted.put()) < 0 || !hosted) return E_FAIL;
    if (hosted->QueryInterface(iid, out) >= 0 && *out) return S_OK;
    *out = nullptr;
    return E_FAIL;
}

HRESULT OBJECTAdvise(IUnknown* source, IUnknown* sink, int32_t kind) {
    SmartPtr<IEventSource> events = queryInterface<IEventSource>(source);
    if (!events) return E_NOINTERFACE;
    return events->Advise(sink, kind);
}
