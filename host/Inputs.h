// A step's input list and its input bindings.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "host/HostObject.h"

namespace host {

// One input or parameter binding: the interface it requires, the bound
// object, and an item name and index inside the bound collection.
//
// It saves itself into a folder stream or an XML stream: the required
// interface ("IID", 16 bytes; in XML as hexadecimal text), the item name and
// index, and the bound object when that can save itself (a collection
// moniker). Loading makes the binding what was saved: what the stream lacks
// is none afterwards, except the required interface, which stays.
class InputParameter final : public Object<InputParameter, IInputParameter, IDataPersist> {
public:
    static constexpr char kLedgerName[] = "InputParameter";
    using Answered = Answers<IInputParameter, IDataPersist>;

    InputParameter() = default;
    InputParameter(const std::wstring& name, const IID& iid, int32_t flags);

    // The bound object's required interface; the object as it is when it
    // does not offer that interface or none is required.
    HRESULT get_Value(IUnknown** out) override;
    HRESULT get_IID(IID* out) override;
    HRESULT put_IID(IID iid) override;
    HRESULT get_ItemName(IString** out) override;
    HRESULT put_ItemName(IString* name) override;
    HRESULT get_Object(IUnknown** out) override;
    HRESULT put_Object(IUnknown* object) override;
    HRESULT get_ItemIndex(int32_t* out) override;
    HRESULT put_ItemIndex(int32_t index) override;

    HRESULT Save(IDataStream* stream, int32_t mode) override;
    HRESULT Load(IDataStream* stream, int32_t mode) override;

    std::wstring name() const;
    int32_t flags() const { return m_Flags; }
    IID iid();

private:
    // What a save writes, taken under the lock.
    struct Stored {
        IID iid;
        std::wstring itemName;
        bool hasItemName;
        int32_t itemIndex;
        SmartPtr<IUnknown> object;
    };
    Stored snapshot();
    void restore(const IID* iid, const std::wstring* itemName, int32_t itemIndex, SmartPtr<IUnknown> object);
    HRESULT saveXml(IXMLStream* xml);
    HRESULT loadXml(IXMLStream* xml);

    std::mutex m_Mutex;
    std::wstring m_Name;
    IID m_Iid = IID_NULL;
    int32_t m_Flags = 0;
    SmartPtr<IUnknown> m_Object;
    std::wstring m_ItemName;
    bool m_HasItemName = false;
    int32_t m_ItemIndex = -1;
};

// A step's inputs. Saved as one stored binding per input ("Input0",
// "Input1", ... in a folder stream, "InputParameter" elements in XML);
// loaded by position into the inputs the step declared.
class InputParameters final : public Object<InputParameters, IInputParameters, IDataPersist> {
public:
    static constexpr char kLedgerName[] = "InputParameters";
    using Answered = Answers<IInputParameters, IDataPersist>;

    HRESULT get_Count(int32_t* count) override;
    HRESULT get_Item(int32_t index, IUnknown** out) override;
    HRESULT AddInput(IString* name, IID iid, int32_t flags) override;
    // The bound object, or the object a bound moniker names now; no object
    // (and success) when unbound or the moniker names nothing. Only an index
    // outside the list fails (E_INVALIDARG).
    HRESULT get_InputObject(int32_t index, IUnknown** out) override;

    HRESULT Save(IDataStream* stream, int32_t mode) override;
    HRESULT Load(IDataStream* stream, int32_t mode) override;

    // The binding of the input with this name, or null.
    SmartPtr<InputParameter> input(const std::wstring& name);
    std::vector<SmartPtr<InputParameter>> inputs();

private:
    std::mutex m_Mutex;
    std::vector<SmartPtr<InputParameter>> m_Inputs;
};

// A reference to an object by name, resolved in the named collection it is
// bound to (the program's collection of objects).
class CollectionMoniker final : public Object<CollectionMoniker, ICollectionMoniker, IDataPersist> {
public:
    static constexpr char kLedgerName[] = "CollectionMoniker";
    using Answered = Answers<ICollectionMoniker, IDataPersist>;

    explicit CollectionMoniker(std::wstring name = std::wstring()) : m_Name(std::move(name)) {}

    HRESULT BindToCollection(INamedCollection* collection, int32_t reserved) override;
    // E_FAIL when unbound or the name is not in the collection.
    HRESULT GetObject(const IID& iid, void** out) override;

    HRESULT Save(IDataStream* stream, int32_t mode) override;
    HRESULT Load(IDataStream* stream, int32_t mode) override;

    std::wstring name() const;
    bool bound() const;

private:
    mutable std::mutex m_Mutex;
    std::wstring m_Name;
    SmartPtr<INamedCollection> m_Collection;
};

}  // namespace host
