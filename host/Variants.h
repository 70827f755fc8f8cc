// Host strings and variants.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "host/HostObject.h"

namespace host {

// Holds its characters in a buffer of exactly their count, without a
// terminator, so that a reader that runs past the count is caught.
class String final : public Object<String, ICreatableString> {
public:
    static constexpr char kLedgerName[] = "String";
    using Answered = Answers<ICreatableString, IString>;

    String() = default;
    explicit String(const std::wstring& text);

    HRESULT get_Text(const wchar_t** text, int32_t* length) override;
    HRESULT put_Text(int32_t length, const wchar_t* text) override;
    HRESULT Append(int32_t length, const wchar_t* text) override;

    std::wstring text() const { return std::wstring(m_Text.get(), static_cast<size_t>(m_Length)); }

private:
    HRESULT assign(const wchar_t* head, int32_t headLength, const wchar_t* tail, int32_t tailLength);

    std::unique_ptr<wchar_t[]> m_Text{new wchar_t[0]};
    int32_t m_Length = 0;
};

// A number (integer or floating point), a string, an object, or nothing.
class Variant final : public Object<Variant, IVariant> {
public:
    static constexpr char kLedgerName[] = "Variant";
    using Answered = Answers<IVariant>;

    Variant() = default;
    ~Variant();

    int32_t get_Type() override;
    double get_Double() override;
    int32_t get_Long() override;
    HRESULT put_Long(int32_t value) override;
    HRESULT put_Double(double value) override;
    int32_t IsObject() override;
    HRESULT get_Object(IUnknown** out) override;
    HRESULT put_Value(IUnknown* value) override;
    int32_t IsString() override;
    HRESULT get_String(IString** out) override;
    HRESULT put_String(IString* value) override;

    enum class Kind { Empty, Integer, Real, Text, Object };

private:
    struct Content {
        Kind kind = Kind::Empty;
        int32_t integer = 0;
        double real = 0.0;
        SmartPtr<IUnknown> held;  // the IString of a text, or the object
    };
    Content snapshot();
    void store(Content content);

    std::mutex m_Mutex;
    Content m_Content;
};

SmartPtr<IString> makeString(const std::wstring& text);
SmartPtr<IVariant> makeVariant(int32_t value);
SmartPtr<IVariant> makeVariant(double value);
SmartPtr<IVariant> makeVariant(const std::wstring& text);

// Clamps a floating-point value into the 32-bit integer range, truncating.
int32_t toInteger(double value);

}  // namespace host
