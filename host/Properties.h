// Objects with properties: the host's string table of property names, and
// objects that answer for their properties one by one (interrogation), as a
// parameter collection of their own, or both, besides renderable objects and
// the entities that stand for them.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "host/Collections.h"
#include "host/HostObject.h"

namespace host {

// Sections by class name; each item name is a property id as text, each
// item the display name.
class StringTable final : public Object<StringTable, IStringTable> {
public:
    static constexpr char kLedgerName[] = "StringTable";
    using Answered = Answers<IStringTable>;

    HRESULT GetSection(IString* section, INamedCollection** out) override;

    // The class's section, made empty on first use.
    SmartPtr<SuperCollection> section(const std::wstring& className);
    void addName(const std::wstring& className, const std::wstring& id, const std::wstring& name);

private:
    std::mutex m_Mutex;
    std::map<std::wstring, SmartPtr<SuperCollection>> m_Sections;
};

// An object of a class with properties. What it answers is chosen per
// object; the calls it records are those on its properties and parameters.
class PropertyObject final : public Object<PropertyObject, IUIPropInterrogate, IUIPropInterrogateEx, IObjectInfo,
                                           IParametricObject, IParameters, IRenderableObject> {
public:
    static constexpr char kLedgerName[] = "PropertyObject";
    using Answered = Answers<IUIPropInterrogate, IUIPropInterrogateEx, IObjectInfo, IParametricObject, IParameters,
                             INamedCollection, ISimpleCollection, IRenderableObject>;

    enum Face : uint32_t {
        kInterrogate = 1,
        kExtended = 2,
        kParametric = 4,
        kParameters = 8,
        kRenderable = 16,
    };

    struct Property {
        int32_t kind = 3;
        int32_t bits = 0;           // an integer, or a float's bits
        SmartPtr<IUnknown> object;  // read through the extended interface only
        bool extendedOnly = false;
        std::wstring choices;
    };

    PropertyObject(std::string label, std::wstring className, uint32_t faces);

    HRESULT QueryInterface(const IID& iid, void** out) override;

    // --- IUIPropInterrogate, IUIPropInterrogateEx ----------------------------
    int32_t GetProperty(int32_t id, void* value) override;
    HRESULT SetProperty(int32_t id, int32_t value) override;
    HRESULT GetPropertyRange(int32_t which, int32_t* first, int32_t* last) override;
    HRESULT GetPropertyChoices(int32_t id, IString** choices) override;
    int32_t GetPropertyObject(int32_t id, IUnknown** value) override;
    HRESULT PutPropertyObject(int32_t id, IUnknown* value) override;

    // --- IObjectInfo: the class name ----------------------------------------
    HRESULT GetName(int32_t reserved, tagREFString* name) override;

    // --- IParametricObject --------------------------------------------------
    HRESULT GetParameters(INamedCollection** out, int32_t reserved) override;
    HRESULT SetParameters(INamedCollection* parameters) override;

    // --- IParameters over the object's own parameters -----------------------
    HRESULT get_Count(int32_t* count) override;
    HRESULT get_Item(int32_t index, IUnknown** out) override;
    HRESULT get_Index(IUnknown* key, int32_t* index) override;
    HRESULT get_ItemName(int32_t index, IString** out) override;
    HRESULT Rename(int32_t index, IString* name) override;
    HRESULT CollectionLock() override { return S_OK; }
    HRESULT CollectionUnlock() override { return S_OK; }
    HRESULT IsCollectionLocked() override { return 0; }
    HRESULT Iterate(int32_t index, IString** name, IVariant** value, IUnknown** descriptor, int32_t* flags) override;
    HRESULT get_ItemVariant(int32_t index, IVariant** out) override;
    HRESULT put_Item(int32_t index, IUnknown* value) override;
    HRESULT get_ItemDescriptor(int32_t index, IUnknown** out) override;
    HRESULT put_ItemDescriptor(int32_t, IUnknown*) override { return E_NOTIMPL; }
    HRESULT get_ItemFlags(int32_t index, int32_t* flags) override;
    HRESULT put_ItemFlags(int32_t, int32_t) override { return E_NOTIMPL; }

    // --- Set-up and inspection ----------------------------------------------
    void setRange(int32_t first, int32_t last);
    void setProperty(int32_t id, Property property);
    bool property(int32_t id, Property& out) const;
    void addParameter(const std::wstring& name, SmartPtr<IVariant> value);
    // Name and value text of each own parameter.
    std::vector<std::pair<std::wstring, std::wstring>> parameterTexts() const;
    void failSetParameters(HRESULT result) { m_SetResult = result; }

private:
    struct Parameter {
        std::wstring name;
        SmartPtr<IVariant> value;
    };
    bool offers(uint32_t face) const { return (m_Faces & face) != 0; }
    bool parameter(int32_t index, Parameter& out) const;

    const std::wstring m_ClassName;
    const uint32_t m_Faces;
    mutable std::mutex m_Mutex;
    int32_t m_First = 0;
    int32_t m_Last = -1;
    std::map<int32_t, Property> m_Properties;
    std::vector<Parameter> m_Parameters;
    HRESULT m_SetResult = S_OK;
};

// An entity that stands for a renderable object.
class RenderableEntity final : public Object<RenderableEntity, IRenderableObjectEntity> {
public:
    static constexpr char kLedgerName[] = "RenderableEntity";
    using Answered = Answers<IRenderableObjectEntity>;

    explicit RenderableEntity(IUnknown* object) : m_Object(object) {}
    HRESULT get_RenderableObject(IUnknown** out) override;

private:
    SmartPtr<IUnknown> m_Object;
};

// The text of a value as the trace shows it: a number, a string, an object's
// label or "none".
std::string valueText(IUnknown* value);

}  // namespace host
