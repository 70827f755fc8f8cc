// SmartPtr<I>: owns one reference to an interface pointer.
//
// Construction and assignment from a raw pointer take a reference of their own
// (the caller keeps theirs); `adopt` takes over a reference the caller owns,
// as returned by a factory; `put()` hands the pointer's address to a callee
// that writes an interface with one reference. Optional interfaces are asked
// for with `query<J>()`, which gives an empty pointer when J is not offered.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include "runtime/Interfaces.h"

template <class I>
class SmartPtr {
public:
    using element_type = I;

    SmartPtr() noexcept = default;
    SmartPtr(std::nullptr_t) noexcept {}
    SmartPtr(I* pointer) noexcept : m_Pointer(pointer) {
        if (m_Pointer) m_Pointer->AddRef();
    }
    SmartPtr(const SmartPtr& other) noexcept : SmartPtr(other.m_Pointer) {}
    SmartPtr(SmartPtr&& other) noexcept : m_Pointer(other.m_Pointer) { other.m_Pointer = nullptr; }
    template <class J, class = std::enable_if_t<std::is_convertible_v<J*, I*>>>
    SmartPtr(const SmartPtr<J>& other) noexcept : SmartPtr(static_cast<I*>(other.get())) {}
    template <class J, class = std::enable_if_t<std::is_convertible_v<J*, I*>>>
    SmartPtr(SmartPtr<J>&& other) noexcept : m_Pointer(other.detach()) {}

    ~SmartPtr() { reset(); }

    SmartPtr& operator=(I* pointer) noexcept {
        if (pointer) pointer->AddRef();
        I* old = m_Pointer;
        m_Pointer = pointer;
        if (old) old->Release();
        return *this;
    }
    SmartPtr& operator=(const SmartPtr& other) noexcept { return *this = other.m_Pointer; }
    SmartPtr& operator=(SmartPtr&& other) noexcept {
        if (this != &other) {
            I* old = m_Pointer;
            m_Pointer = other.m_Pointer;
            other.m_Pointer = nullptr;
            if (old) old->Release();
        }
        return *this;
    }
    SmartPtr& operator=(std::nullptr_t) noexcept {
        reset();
        return *this;
    }

    // Takes over a reference that the caller owns.
    static SmartPtr adopt(I* pointer) noexcept {
        SmartPtr result;
        result.m_Pointer = pointer;
        return result;
    }

    I* get() const noexcept { return m_Pointer; }
    I* operator->() const noexcept { return m_Pointer; }
    explicit operator bool() const noexcept { return m_Pointer != nullptr; }

    // For an out-parameter: the old pointer is released first.
    I** put() noexcept {
        reset();
        return &m_Pointer;
    }
    void** put_void() noexcept { return reinterpret_cast<void**>(put()); }

    // Gives the reference to the caller.
    I* detach() noexcept {
        I* pointer = m_Pointer;
        m_Pointer = nullptr;
        return pointer;
    }

    void reset() noexcept {
        if (I* old = m_Pointer) {
            m_Pointer = nullptr;
            old->Release();
        }
    }

    // Stores a new reference in an out-parameter.
    HRESULT copy_to(I** out) const noexcept {
        if (!out) return E_POINTER;
        *out = m_Pointer;
        if (m_Pointer) m_Pointer->AddRef();
        return S_OK;
    }

    // The object's interface J, or an empty pointer when it is not offered.
    template <class J>
    SmartPtr<J> query() const noexcept {
        SmartPtr<J> result;
        if (m_Pointer) m_Pointer->QueryInterface(iidOf<J>(), result.put_void());
        return result;
    }

    // The object's interface J into an out-parameter (null when it is not
    // offered); the result of QueryInterface, or E_NOINTERFACE when empty.
    template <class J>
    HRESULT query_to(J** out) const noexcept {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (!m_Pointer) return E_NOINTERFACE;
        return m_Pointer->QueryInterface(iidOf<J>(), reinterpret_cast<void**>(out));
    }

private:
    I* m_Pointer = nullptr;
};

// The object's interface J, or an empty pointer when it is not offered.
template <class J>
SmartPtr<J> queryInterface(IUnknown* object) noexcept {
    SmartPtr<J> result;
    if (object) object->QueryInterface(iidOf<J>(), result.put_void());
    return result;
}

// Object identity: both asked for IUnknown, the answers compared.
inline bool isSameObject(IUnknown* a, IUnknown* b) noexcept {
    if (a == nullptr || b == nullptr) return a == b;
    if (a == b) return true;
    SmartPtr<IUnknown> identityA = queryInterface<IUnknown>(a);
    SmartPtr<IUnknown> identityB = queryInterface<IUnknown>(b);
    return identityA.get() == identityB.get();
}
template <class A, class B>
bool isSameObject(const SmartPtr<A>& a, const SmartPtr<B>& b) noexcept {
    return isSameObject(a.get(), b.get());
}

// Two pointers of one interface are equal when they hold the same pointer;
// no host call is hidden in a comparison. Whether pointers of two
// interfaces reach one object is a question for isSameObject, so comparing
// them does not compile.
template <class I>
bool operator==(const SmartPtr<I>& a, const SmartPtr<I>& b) noexcept {
    return a.get() == b.get();
}
template <class I>
bool operator!=(const SmartPtr<I>& a, const SmartPtr<I>& b) noexcept {
    return a.get() != b.get();
}
template <class A, class B>
bool operator==(const SmartPtr<A>& a, const SmartPtr<B>& b) = delete;
template <class A, class B>
bool operator!=(const SmartPtr<A>& a, const SmartPtr<B>& b) = delete;
template <class I>
bool operator==(const SmartPtr<I>& a, std::nullptr_t) noexcept {
    return !a;
}
template <class I>
bool operator==(std::nullptr_t, const SmartPtr<I>& a) noexcept {
    return !a;
}
template <class I>
bool operator!=(const SmartPtr<I>& a, std::nullptr_t) noexcept {
    return static_cast<bool>(a);
}
template <class I>
bool operator!=(std::nullptr_t, const SmartPtr<I>& a) noexcept {
    return static_cast<bool>(a);
}
