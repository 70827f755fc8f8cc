#include "host/Variants.h"

#include <cmath>
#include <cstring>
#include <cwchar>
#include <limits>
#include <new>

#include "host/Hostility.h"

namespace host {

String::String(const std::wstring& text) { assign(text.data(), static_cast<int32_t>(text.size()), nullptr, 0); }

HRESULT String::get_Text(const wchar_t** text, int32_t* length) {
    if (!text || !length) return E_POINTER;
    *text = m_Text.get();
    *length = m_Length;
    Hostility::counted(text, length);
    return S_OK;
}

HRESULT String::put_Text(int32_t length, const wchar_t* text) {
    if (length < 0) return E_INVALIDARG;
    if (length > 0 && !text) return E_POINTER;
    return assign(text, length, nullptr, 0);
}

HRESULT String::Append(int32_t length, const wchar_t* text) {
    if (length < 0) return E_INVALIDARG;
    if (length > 0 && !text) return E_POINTER;
    if (length == 0) return S_OK;
    if (length > std::numeric_limits<int32_t>::max() - m_Length) return E_INVALIDARG;
    return assign(m_Text.get(), m_Length, text, length);
}

HRESULT String::assign(const wchar_t* head, int32_t headLength, const wchar_t* tail, int32_t tailLength) {
    const size_t total = static_cast<size_t>(headLength) + static_cast<size_t>(tailLength);
    std::unique_ptr<wchar_t[]> buffer(new (std::nothrow) wchar_t[total]);
    if (!buffer) return E_OUTOFMEMORY;
    if (headLength > 0) std::memcpy(buffer.get(), head, static_cast<size_t>(headLength) * sizeof(wchar_t));
    if (tailLength > 0) {
        std::memcpy(buffer.get() + headLength, tail, static_cast<size_t>(tailLength) * sizeof(wchar_t));
    }
    m_Text = std::move(buffer);
    m_Length = static_cast<int32_t>(total);
    return S_OK;
}

int32_t toInteger(double value) {
    if (std::isnan(value)) return 0;
    if (value >= 2147483647.0) return std::numeric_limits<int32_t>::max();
    if (value <= -2147483648.0) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

namespace {

double numberOfText(IUnknown* held) {
    SmartPtr<IString> string = queryInterface<IString>(held);
    const std::wstring text = textOf(string.get());
    if (text.empty()) return 0.0;
    wchar_t* end = nullptr;
    const double value = std::wcstod(text.c_str(), &end);
    return end == text.c_str() ? 0.0 : value;
}

}  // namespace

Variant::~Variant() = default;

Variant::Content Variant::snapshot() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Content;
}

void Variant::store(Content content) {
    // The replaced content is released after the lock, in case it holds the
    // last reference to an object whose teardown reaches this variant.
    Content old;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        old = std::move(m_Content);
        m_Content = std::move(content);
    }
}

int32_t Variant::get_Type() {
    const Content content = snapshot();
    if (content.kind == Kind::Integer) return 1;
    if (content.kind == Kind::Real) return 2;
    return 0;
}

double Variant::get_Double() {
    const Content content = snapshot();
    switch (content.kind) {
        case Kind::Integer:
            return content.integer;
        case Kind::Real:
            return content.real;
        case Kind::Text:
            return numberOfText(content.held.get());
        default:
            return 0.0;
    }
}

int32_t Variant::get_Long() {
    const Content content = snapshot();
    switch (content.kind) {
        case Kind::Integer:
            return content.integer;
        case Kind::Real:
            return toInteger(content.real);
        case Kind::Text:
            return toInteger(numberOfText(content.held.get()));
        default:
            return 0;
    }
}

HRESULT Variant::put_Long(int32_t value) {
    Content content;
    content.kind = Kind::Integer;
    content.integer = value;
    store(std::move(content));
    return S_OK;
}

HRESULT Variant::put_Double(double value) {
    Content content;
    content.kind = Kind::Real;
    content.real = value;
    store(std::move(content));
    return S_OK;
}

int32_t Variant::IsObject() { return snapshot().kind == Kind::Object ? 1 : 0; }

HRESULT Variant::get_Object(IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    Content content = snapshot();
    if (content.kind != Kind::Object) return E_FAIL;
    *out = content.held.detach();
    return S_OK;
}

HRESULT Variant::put_Value(IUnknown* value) {
    Content content;
    if (!value) {
        store(std::move(content));
        return S_OK;
    }
    if (SmartPtr<IVariant> other = queryInterface<IVariant>(value)) {
        if (other.get() == static_cast<IVariant*>(this)) return S_OK;
        if (other->IsString()) {
            // Copies do not share a string: changing one never changes the other.
            SmartPtr<IString> source;
            other->get_String(source.put());
            content.kind = Kind::Text;
            content.held = makeString(textOf(source.get()));
        } else if (other->IsObject()) {
            content.kind = Kind::Object;
            other->get_Object(content.held.put());
        } else if (other->get_Type() == 1) {
            content.kind = Kind::Integer;
            content.integer = other->get_Long();
        } else if (other->get_Type() == 2) {
            content.kind = Kind::Real;
            content.real = other->get_Double();
        }
    } else if (SmartPtr<IString> string = queryInterface<IString>(value)) {
        content.kind = Kind::Text;
        content.held = string;
    } else {
        content.kind = Kind::Object;
        content.held = value;
    }
    store(std::move(content));
    return S_OK;
}

int32_t Variant::IsString() { return snapshot().kind == Kind::Text ? 1 : 0; }

HRESULT Variant::get_String(IString** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    Content content = snapshot();
    if (content.kind != Kind::Text) return E_FAIL;
    return content.held.query<IString>().copy_to(out);
}

HRESULT Variant::put_String(IString* value) {
    Content content;
    if (value) {
        content.kind = Kind::Text;
        content.held = value;
    }
    store(std::move(content));
    return S_OK;
}

SmartPtr<IString> makeString(const std::wstring& text) { return make<String>(text); }

SmartPtr<IVariant> makeVariant(int32_t value) {
    SmartPtr<IVariant> variant = make<Variant>();
    variant->put_Long(value);
    return variant;
}

SmartPtr<IVariant> makeVariant(double value) {
    SmartPtr<IVariant> variant = make<Variant>();
    variant->put_Double(value);
    return variant;
}

SmartPtr<IVariant> makeVariant(const std::wstring& text) {
    SmartPtr<IVariant> variant = make<Variant>();
    variant->put_String(makeString(text).get());
    return variant;
}

}  // namespace host
