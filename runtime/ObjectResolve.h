// Turning the objects that inputs are bound to into the interfaces steps
// need, and registering steps for a host window's events.
#pragma once

#include <cstdint>

#include "runtime/Interfaces.h"
#include "runtime/SmartPtr.h"

// The wanted interface of a bound object, tried in this order: the object
// itself; through a collection moniker that names it; through the object
// that a host window hosts (the window itself, or the window the moniker
// resolves to). Null when none gives it; only the result holds a reference.
HRESULT OBJECTResolveInterface(IUnknown* object, const IID& iid, void** out);

// The first two of those ways only: the object itself, then the collection
// moniker it may be; a host window is not looked into.
HRESULT OBJECTQueryDirect(IUnknown* object, const IID& iid, void** out);

template <class I>
SmartPtr<I> OBJECTResolve(IUnknown* object) {
    SmartPtr<I> result;
    OBJECTResolveInterface(object, iidOf<I>(), result.put_void());
    return result;
}

// Registers `sink` for the events of `source` (asked for IEventSource) with
// the host's event kind. E_NOINTERFACE when the source has no events.
HRESULT OBJECTAdvise(IUnknown* source, IUnknown* sink, int32_t kind);
