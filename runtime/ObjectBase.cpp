#include "runtime/ObjectBase.h"

HRESULT OBJECTQueryInterface(IUnknown* object, const InterfaceEntry* entries, uint64_t filter, const IID& iid,
                             void** out, IUnknown* delegate) {
    if (!out) return E_POINTER;
    if (iid == IID_IUnknown) {
        object->AddRef();
        *out = object;
        return S_OK;
    }
    *out = nullptr;
    if ((filter & object_detail::filterBit(iid)) == 0) return E_NOINTERFACE;
    for (const InterfaceEntry* entry = entries; entry->iid; ++entry) {
        if (!(*entry->iid == iid)) continue;
        if (entry->offset == kDelegatedEntry) return delegate ? delegate->QueryInterface(iid, out) : E_NOINTERFACE;
        auto* face = reinterpret_cast<IUnknown*>(reinterpret_cast<char*>(object) + entry->offset);
        face->AddRef();
        *out = face;
        return S_OK;
    }
    return E_NOINTERFACE;
}

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
