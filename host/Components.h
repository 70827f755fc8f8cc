// The host's component model: component paths that create the stand-in's
// classes, and the global component collection.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "host/HostObject.h"

namespace host {

// A component path: parts by number (1 class name, 4 module name).
class ComponentString final : public Object<ComponentString, IComponentString> {
public:
    static constexpr char kLedgerName[] = "ComponentString";
    using Answered = Answers<IComponentString>;

    ComponentString() = default;
    ComponentString(const std::wstring& moduleName, const std::wstring& className);

    HRESULT SetFromObject(IUnknown* object) override;
    HRESULT get_Part(int32_t part, IString** out) override;
    HRESULT CreateInstance(const IID* iid, void** out) override;
    HRESULT put_Part(int32_t part, int32_t length, const wchar_t* text) override;

private:
    std::mutex m_Mutex;
    std::map<int32_t, std::wstring> m_Parts;
    // The class part's factory, found at the first CreateInstance after the
    // part was set.
    const std::function<SmartPtr<IUnknown>()>* m_Factory = nullptr;
    bool m_Found = false;
};

// Components by name. A component is either one object, handed out as it is
// or asked for the interface, or a class: the class's component path when
// asked for as it is, a new object of the class when asked for an interface.
class ComponentCollection final : public Object<ComponentCollection, IComponentCollection> {
public:
    static constexpr char kLedgerName[] = "ComponentCollection";
    using Answered = Answers<IComponentCollection>;

    HRESULT get_Item(int32_t index, IUnknown** out) override;
    HRESULT get_Index(IString* name, int32_t* index) override;
    HRESULT GetComponent(int32_t nameLength, const wchar_t* name, const IID* iid, void** out) override;

    void addObject(const std::wstring& name, IUnknown* object);
    void addClass(const std::wstring& name, const std::wstring& className);
    void remove(const std::wstring& name);
    // The object a component of that name is, unrecorded; null for a class or none.
    SmartPtr<IUnknown> object(const std::wstring& name);
    // Releases the components, breaking cycles through objects that hold the collection.
    void clear();

private:
    struct Entry {
        std::wstring name;
        SmartPtr<IUnknown> object;
        std::wstring className;
    };
    bool find(const std::wstring& name, Entry& entry);

    std::mutex m_Mutex;
    std::vector<Entry> m_Entries;
};

// The global collection with the standard components: "CreatableString",
// "Variant", "SuperCollection", "ComponentString", "InputParameters",
// "InputParameter", "CollectionMoniker", "FolderStream", "XmlStream",
// "MessageWindow", "GlobalWindowCollection" (labelled "Windows") and
// "ActiveWorkspace" (an empty one, labelled "Workspace"), and those of
// addVerbComponents.
SmartPtr<ComponentCollection> makeStandardComponents();

}  // namespace host
