// What every step object shares: the reference count and construction hooks
// (CObject<T>), the registered name (IObjectInfoImpl<T>), the interface table
// that QueryInterface walks, and the collection lock (CResourceLock).
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <iterator>
#include <new>
#include <type_traits>

#include "runtime/Interfaces.h"

// A class's interface table: the interfaces QueryInterface answers besides
// IUnknown, written once next to the class's bases.
template <class... Interfaces>
struct InterfaceList {};

template <class T>
class IUnknownImpl;

template <class T>
class CObject : public IUnknown {
public:
    HRESULT QueryInterface(const IID&, void** out) override {
        if (out) *out = nullptr;
        return E_NOINTERFACE;
    }
    virtual HRESULT FinalConstruct() { return S_OK; }
    virtual void FinalRelease() {}
    virtual void Lock() {}
    virtual void Unlock() {}

    // The class's creator, handed to the host by CreateFunction.
    static HRESULT _CreateInstance(void* reserved, const IID* iid, void** out);

protected:
    CObject() = default;
    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

private:
    template <class>
    friend class IUnknownImpl;
    std::atomic<int32_t> m_RefCount{1};
};

template <class T>
class IObjectInfoImpl : public IObjectInfo {
public:
    // The registered name, also what GetName reports.
    static const tagREFString m_ObjectName;

    HRESULT GetName(int32_t /*reserved*/, tagREFString* name) override {
        if (!name) return E_POINTER;
        *name = m_ObjectName;
        return S_OK;
    }
};

template <class T>
const tagREFString IObjectInfoImpl<T>::m_ObjectName = {
    static_cast<int32_t>(std::size(T::kRegisteredName) - 1), T::kRegisteredName};

// A POSIX error-checking mutex: a second Lock by its holder returns at once
// without counting, and the first Unlock releases it.
class CResourceLock {
public:
    CResourceLock() {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
        m_Created = pthread_mutex_init(&m_Mutex, &attributes) == 0;
        pthread_mutexattr_destroy(&attributes);
    }
    virtual ~CResourceLock() { Delete(); }
    CResourceLock(const CResourceLock&) = delete;
    CResourceLock& operator=(const CResourceLock&) = delete;

    virtual void Lock() {
        if (m_Created) pthread_mutex_lock(&m_Mutex);
    }
    virtual void Unlock() {
        if (m_Created) pthread_mutex_unlock(&m_Mutex);
    }
    virtual void Delete() {
        if (m_Created) {
            m_Created = false;
            pthread_mutex_destroy(&m_Mutex);
        }
    }

private:
    pthread_mutex_t m_Mutex;
    bool m_Created = false;
};

namespace object_detail {

template <class I, class... Rest>
constexpr bool isListedOnce() {
    return (0 + ... + int(std::is_same_v<I, Rest>)) == 1;
}

// One entry of the table: answers when iid is I's identifier.
template <class T, class I>
bool answerInterface(T* object, const IID& iid, void** out, HRESULT& result) {
    if (!(iid == iidOf<I>())) return false;
    if constexpr (std::is_same_v<I, IInputParameters>) {
        // Steps do not implement their input list; the host's object answers.
        IUnknown* inputs = object->inputList();
        result = inputs ? inputs->QueryInterface(iid, out) : E_NOINTERFACE;
    } else {
        I* face = static_cast<I*>(object);
        face->AddRef();
        *out = face;
        result = S_OK;
    }
    return true;
}

// A one-word summary of a table's identifiers: an identifier whose bit is
// not set is in no table entry, and is refused without walking the table.
constexpr uint64_t filterBit(const IID& iid) {
    uint32_t mixed = iid.words[0] ^ iid.words[3];
    mixed ^= mixed >> 16;
    mixed ^= mixed >> 8;
    return uint64_t{1} << (mixed & 63u);
}

template <class... Interfaces>
constexpr uint64_t filterOf() {
    return (uint64_t{0} | ... | filterBit(iidOf<Interfaces>()));
}

template <class T, class... Interfaces>
HRESULT queryInterfaceTable(T* object, const IID& iid, void** out, InterfaceList<Interfaces...>) {
    static_assert((isListedOnce<Interfaces, Interfaces...>() && ...), "an interface is listed twice");
    constexpr uint64_t kFilter = filterOf<Interfaces...>();
    if ((kFilter & filterBit(iid)) == 0) return E_NOINTERFACE;
    HRESULT result = E_NOINTERFACE;
    (answerInterface<T, Interfaces>(object, iid, out, result) || ...);
    return result;
}

}  // namespace object_detail

// The IUnknown that every interface of a step object forwards to: one count,
// one identity (the CObject<T> sub-object), one table walk.
template <class T>
class IUnknownImpl {
public:
    static HRESULT queryInterface(T* object, const IID& iid, void** out) {
        if (!out) return E_POINTER;
        if (iid == IID_IUnknown) {
            object->AddRef();
            *out = primary(object);
            return S_OK;
        }
        *out = nullptr;
        return object_detail::queryInterfaceTable(object, iid, out, typename T::Interfaces{});
    }
    static uint32_t addRef(CObject<T>* object) { return static_cast<uint32_t>(++object->m_RefCount); }
    static uint32_t release(T* object) {
        const int32_t count = --static_cast<CObject<T>*>(object)->m_RefCount;
        if (count == 0) {
            destroy(object);
            return 0;
        }
        return static_cast<uint32_t>(count);
    }
    // The teardown shared by the last Release and a failed creation.
    static void destroy(T* object) {
        object->FinalRelease();
        delete object;
    }
    static IUnknown* primary(T* object) { return static_cast<IUnknown*>(static_cast<CObject<T>*>(object)); }
};

template <class T>
HRESULT CObject<T>::_CreateInstance(void* /*reserved*/, const IID* iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!iid) return E_POINTER;
    T* object = new (std::nothrow) T();
    if (!object) return E_OUTOFMEMORY;
    HRESULT result = object->FinalConstruct();
    if (result == S_OK) {
        result = object->QueryInterface(*iid, out);
        if (result == S_OK) {
            object->Release();  // the caller's reference through out remains
            return S_OK;
        }
    }
    *out = nullptr;
    IUnknownImpl<T>::destroy(object);
    return result == S_OK ? E_FAIL : result;
}
