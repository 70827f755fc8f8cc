// Verbs: objects that offer the actions of their menus, the verb collections
// they hand out, and a creatable parameter collection (what the host's
// parametric pages edit). Each records what is done to it under its label.
#pragma once

#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "host/Components.h"
#include "host/HostObject.h"

namespace host {

class SuperCollection;

struct VerbEntry {
    std::wstring name;
    bool hasName = true;  // false: a null name, as a separator may have
    int32_t identifier = 0;
};

class Verb final : public Object<Verb, IUIVerb> {
public:
    static constexpr char kLedgerName[] = "Verb";
    using Answered = Answers<IUIVerb>;
    explicit Verb(VerbEntry entry) : m_Entry(std::move(entry)) {}

    HRESULT get_Name(IString** out) override;
    HRESULT get_Property(int32_t id, int32_t* value) override;

private:
    VerbEntry m_Entry;
};

// The "UIVerbCollection" component's class.
class VerbCollection final : public Object<VerbCollection, IUIVerbCollection> {
public:
    static constexpr char kLedgerName[] = "VerbCollection";
    using Answered = Answers<IUIVerbCollection>;

    HRESULT get_Count(int32_t* count) override;
    HRESULT get_Item(int32_t index, IUnknown** out) override;
    // Position -1 (or past the end) appends; the unnamed arguments are kept nowhere.
    HRESULT AddVerb(int32_t position, IString* name, int32_t, int32_t, int32_t id, int32_t) override;

    std::vector<VerbEntry> verbs() const;

private:
    mutable std::mutex m_Mutex;
    std::vector<VerbEntry> m_Verbs;
};

// An object with a menu of verbs. DoAction records the verb and answers it
// unchanged.
class VerbObject final : public Object<VerbObject, IUIVerbCollectionSpecify> {
public:
    static constexpr char kLedgerName[] = "VerbObject";
    using Answered = Answers<IUIVerbCollectionSpecify>;
    VerbObject(std::string label, std::vector<VerbEntry> verbs) : m_Verbs(std::move(verbs)) {
        setLabel(std::move(label));
    }

    int32_t DoAction(int32_t verb, IUnknown* object) override;
    HRESULT GetVerbs(int32_t, IUnknown*, IUIVerbCollection** out) override;

    std::vector<int32_t> actions() const;

private:
    std::vector<VerbEntry> m_Verbs;
    mutable std::mutex m_Mutex;
    std::deque<int32_t> m_Actions;  // the latest ones
};

// The "ParametersCreatable" component's class: named values with
// descriptors and flags, stored in a folder stream as one value per name.
class ParameterList final : public Object<ParameterList, IParametersCreatable, IDataPersist, IObjectInfo> {
public:
    static constexpr char kLedgerName[] = "ParameterList";
    using Answered =
        Answers<IParametersCreatable, IParameters, INamedCollection, ISimpleCollection, IDataPersist, IObjectInfo>;

    HRESULT get_Count(int32_t* count) override;
    // A text entry comes as its string, an object as itself, a number as its variant.
    HRESULT get_Item(int32_t index, IUnknown** out) override;
    // Key: a string (exact name) or a variant holding a name or an index.
    HRESULT get_Index(IUnknown* key, int32_t* index) override;
    HRESULT get_ItemName(int32_t index, IString** out) override;
    HRESULT Rename(int32_t index, IString* name) override;
    HRESULT CollectionLock() override;
    HRESULT CollectionUnlock() override;
    HRESULT IsCollectionLocked() override;
    HRESULT Iterate(int32_t index, IString** name, IVariant** value, IUnknown** descriptor, int32_t* flags) override;
    HRESULT get_ItemVariant(int32_t index, IVariant** out) override;
    HRESULT put_Item(int32_t index, IUnknown* value) override;
    HRESULT get_ItemDescriptor(int32_t index, IUnknown** out) override;
    HRESULT put_ItemDescriptor(int32_t index, IUnknown* descriptor) override;
    HRESULT get_ItemFlags(int32_t index, int32_t* flags) override;
    HRESULT put_ItemFlags(int32_t index, int32_t flags) override;
    HRESULT Add(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags) override;
    HRESULT Remove(int32_t index) override;
    HRESULT RemoveAll() override;
    HRESULT Copy(IParameters* source) override;
    HRESULT Sort(int32_t mode) override;
    HRESULT Set(IUnknown* key, IUnknown* value, IUnknown* descriptor, int32_t flags, int16_t mode) override;
    HRESULT Save(IDataStream* stream, int32_t mode) override;
    HRESULT Load(IDataStream* stream, int32_t mode) override;
    HRESULT GetName(int32_t, tagREFString* name) override;

private:
    struct Entry {
        std::wstring name;
        SmartPtr<IVariant> value;
        SmartPtr<IUnknown> descriptor;
        int32_t flags = 0;
    };
    bool entryAt(int32_t index, Entry& entry) const;
    int32_t indexOf(const std::wstring& name) const;

    mutable std::mutex m_Mutex;
    std::vector<Entry> m_Entries;
    int32_t m_Locks = 0;
};

// Registers the classes above and the components "UIVerbCollection" and
// "ParametersCreatable".
void addVerbComponents(ComponentCollection& components);

// Sets a setting the object offers through IParametricObject, as the host's
// parametric page does: the offered collection with the value put in, handed
// back. False when the object offers no setting of that name.
bool setParametricSetting(IUnknown* object, const std::wstring& name, IUnknown* value);

}  // namespace host
