#include "runtime/ObjectBase.h"

#include <cstdio>
#include <cstdlib>

namespace {

HRESULT answer(IUnknown* object, const InterfaceEntry& entry, const IID& iid, void** out, IUnknown* delegate) {
    if (entry.offset == kDelegatedEntry) return delegate ? delegate->QueryInterface(iid, out) : E_NOINTERFACE;
    auto* face = reinterpret_cast<IUnknown*>(reinterpret_cast<char*>(object) + entry.offset);
    face->AddRef();
    *out = face;
    return S_OK;
}

}  // namespace

// IUnknown is in no table: it is looked for only when the table has no
// entry, so the entries are found first.
HRESULT OBJECTQueryInterface(IUnknown* object, const InterfaceMap& map, const IID& iid, void** out,
                             IUnknown* delegate) {
    if (!out) return E_POINTER;
    *out = nullptr;
    const uint8_t slot = map.index.slots[interfaceHash(iid)];
    if (slot == kSeveralEntries) {
        for (size_t i = 0; i < map.count; ++i) {
            if (*map.entries[i].iid == iid) return answer(object, map.entries[i], iid, out, delegate);
        }
    } else if (slot != kNoEntry && *map.entries[slot - 1].iid == iid) {
        return answer(object, map.entries[slot - 1], iid, out, delegate);
    }
    if (iid == IID_IUnknown) {
        object->AddRef();
        *out = object;
        return S_OK;
    }
    return E_NOINTERFACE;
}

#ifdef FLUKO_CHECK_REFERENCES
void OBJECTReleasedTooOften(const wchar_t* className) {
    std::fprintf(stderr, "Flukokzad: an object of class %ls was released more often than it was referenced\n",
                 className);
    std::abort();
}
#endif

HRESULT CObjectRoot::finishCreation(CObjectRoot* object, const IID& iid, void** out, void (*destroy)(CObjectRoot*)) {
    HRESULT result = object->FinalConstruct();
    if (result == S_OK) {
        result = object->QueryInterface(iid, out);
        if (result == S_OK) {
            object->Release();  // the caller's reference through out remains
            return S_OK;
        }
    }
    *out = nullptr;
    destroy(object);
    return result == S_OK ? E_FAIL : result;
}

CResourceLock::CResourceLock() {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    m_Created = pthread_mutex_init(&m_Mutex, &attributes) == 0;
    pthread_mutexattr_destroy(&attributes);
}

void CResourceLock::Lock() {
    if (m_Created) pthread_mutex_lock(&m_Mutex);
}

void CResourceLock::Unlock() {
    if (m_Created) pthread_mutex_unlock(&m_Mutex);
}

void CResourceLock::Delete() {
    if (m_Created) {
        m_Created = false;
        pthread_mutex_destroy(&m_Mutex);
    }
}
