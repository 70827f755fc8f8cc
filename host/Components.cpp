#include "host/Components.h"

#include <cstdlib>

#include "host/ClassFactory.h"
#include "host/Hostility.h"
#include "host/MessageWindows.h"
#include "host/OperatorServices.h"
#include "host/OperatorWindows.h"
#include "host/Properties.h"
#include "host/PropertyFrames.h"
#include "host/UIUtilities.h"
#include "host/Variants.h"
#include "host/Verbs.h"
#include "host/Workspace.h"

namespace host {

ComponentString::ComponentString(const std::wstring& moduleName, const std::wstring& className) {
    m_Parts[4] = moduleName;
    m_Parts[1] = className;
}

HRESULT ComponentString::SetFromObject(IUnknown* object) {
    SmartPtr<IObjectInfo> info = queryInterface<IObjectInfo>(object);
    if (!info) return E_FAIL;
    tagREFString name = {0, nullptr};
    if (FAILED(info->GetName(0, &name))) return E_FAIL;
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Parts[1] = textOf(name);
    m_Found = false;
    return S_OK;
}

HRESULT ComponentString::get_Part(int32_t part, IString** out) {
    if (!out) return E_POINTER;
    std::wstring text;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        auto found = m_Parts.find(part);
        if (found != m_Parts.end()) text = found->second;
    }
    *out = makeString(text).detach();
    return S_OK;
}

HRESULT ComponentString::CreateInstance(const IID* iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!iid) return E_POINTER;
    HRESULT hostile = S_OK;
    if (Hostility::refuses(hostile, out)) return hostile;
    const ClassRegistry::Factory* factory = nullptr;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (!m_Found) m_Factory = ClassRegistry::find(m_Parts[1]);
        m_Found = true;
        factory = m_Factory;
        if (Recorder::enabled()) record("CreateInstance(" + narrow(m_Parts[1]) + ")");
    }
    SmartPtr<IUnknown> object = factory ? ClassRegistry::create(*factory) : nullptr;
    if (!object) return E_FAIL;
    return object->QueryInterface(*iid, out);
}

HRESULT ComponentString::put_Part(int32_t part, int32_t length, const wchar_t* text) {
    if (length < 0) return E_INVALIDARG;
    if (length > 0 && !text) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Parts[part] = length > 0 ? std::wstring(text, static_cast<size_t>(length)) : std::wstring();
    if (part == 1) m_Found = false;
    return S_OK;
}

bool ComponentCollection::find(const std::wstring& name, Entry& entry) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    for (const Entry& candidate : m_Entries) {
        if (candidate.name == name) {
            entry = candidate;
            return true;
        }
    }
    return false;
}

HRESULT ComponentCollection::get_Item(int32_t index, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    Entry entry;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (index < 0 || static_cast<size_t>(index) >= m_Entries.size()) return E_INVALIDARG;
        entry = m_Entries[static_cast<size_t>(index)];
    }
    HRESULT hostile = S_OK;
    if (Hostility::refuses(hostile, reinterpret_cast<void**>(out))) return hostile;
    if (entry.object) {
        *out = entry.object.detach();
    } else {
        *out = static_cast<IComponentString*>(make<ComponentString>(L"Collections", entry.className).detach());
    }
    return S_OK;
}

HRESULT ComponentCollection::get_Index(IString* name, int32_t* index) {
    if (!index) return E_POINTER;
    *index = -1;
    const std::wstring wanted = textOf(name);
    record("get_Index(" + narrow(wanted) + ")");
    HRESULT hostile = S_OK;
    if (Hostility::refuses(hostile)) return FAILED(hostile) ? hostile : S_OK;  // success with the index still -1
    std::lock_guard<std::mutex> lock(m_Mutex);
    for (size_t i = 0; i < m_Entries.size(); ++i) {
        if (m_Entries[i].name == wanted) {
            *index = static_cast<int32_t>(i);
            return S_OK;
        }
    }
    return E_FAIL;
}

SmartPtr<IUnknown> ComponentCollection::object(const std::wstring& name) {
    Entry entry;
    return find(name, entry) ? entry.object : nullptr;
}

HRESULT ComponentCollection::GetComponent(int32_t nameLength, const wchar_t* name, const IID* iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (nameLength < 0) return E_INVALIDARG;
    if (nameLength > 0 && !name) return E_POINTER;
    const std::wstring wanted = nameLength > 0 ? std::wstring(name, static_cast<size_t>(nameLength)) : std::wstring();
    record("GetComponent(" + narrow(wanted) + ")");
    HRESULT hostile = S_OK;
    if (Hostility::refuses(hostile, out)) return hostile;
    Entry entry;
    if (!find(wanted, entry)) return E_FAIL;
    if (entry.object) {
        if (!iid) {
            *out = entry.object.detach();
            return S_OK;
        }
        return entry.object->QueryInterface(*iid, out);
    }
    if (!iid) {
        *out = static_cast<IComponentString*>(make<ComponentString>(L"Collections", entry.className).detach());
        return S_OK;
    }
    SmartPtr<IUnknown> object = ClassRegistry::create(entry.className);
    if (!object) return E_FAIL;
    return object->QueryInterface(*iid, out);
}

void ComponentCollection::addObject(const std::wstring& name, IUnknown* object) {
    remove(name);
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Entries.push_back({name, SmartPtr<IUnknown>(object), std::wstring()});
}

void ComponentCollection::addClass(const std::wstring& name, const std::wstring& className) {
    remove(name);
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Entries.push_back({name, nullptr, className});
}

void ComponentCollection::remove(const std::wstring& name) {
    std::vector<Entry> removed;
    std::lock_guard<std::mutex> lock(m_Mutex);
    for (auto it = m_Entries.begin(); it != m_Entries.end();) {
        if (it->name == name) {
            removed.push_back(std::move(*it));
            it = m_Entries.erase(it);
        } else {
            ++it;
        }
    }
}

void ComponentCollection::clear() {
    std::vector<Entry> removed;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        removed.swap(m_Entries);
    }
}

SmartPtr<ComponentCollection> makeStandardComponents() {
    SmartPtr<ComponentCollection> components = make<ComponentCollection>();
    for (const wchar_t* name :
         {L"CreatableString", L"Variant", L"SuperCollection", L"ComponentString", L"InputParameters", L"InputParameter",
          L"CollectionMoniker", L"FolderStream", L"XmlStream"}) {
        components->addClass(name, name);
    }
    // A new message window for every request; one collection of open
    // windows and one workspace for the host.
    components->addClass(L"MessageWindow", L"MessageWindow");
    components->addObject(L"GlobalWindowCollection", make<WindowCollection>("Windows").query<IUnknown>().get());
    components->addObject(L"ActiveWorkspace", make<Workspace>("Workspace").query<IUnknown>().get());
    addVerbComponents(*components.get());
    // The names of properties, one section per class; empty until a program
    // or a test declares sections.
    components->addObject(L"StringTable", make<StringTable>().query<IUnknown>().get());
    // A new confirmation window for every question.
    ClassRegistry::add(L"ConfirmationWindow", [] { return make<ConfirmationWindow>().query<IUnknown>(); });
    components->addClass(L"ConfirmationWindow", L"ConfirmationWindow");
    // A new keyboard for every prompt; one set of utilities, one password
    // check and one recent file list for the host.
    ClassRegistry::add(L"UIKeyboard", [] { return make<Keyboard>().query<IUnknown>(); });
    components->addClass(L"UIKeyboard", L"UIKeyboard");
    components->addObject(L"UIUtils", make<UIUtils>().query<IUnknown>().get());
    components->addObject(L"PasswordAccess", make<PasswordAccess>().query<IUnknown>().get());
    // The recent file list is kept in the file FLUKO_RECENT_FILES names, else in memory only.
    const char* recentFiles = std::getenv("FLUKO_RECENT_FILES");
    components->addObject(L"RecentFileCollection",
                          make<RecentFileCollection>(recentFiles ? recentFiles : "").query<IUnknown>().get());
    // A new property frame and pop-up collection for every request.
    ClassRegistry::add(L"UIPropertyPageCollection", [] { return make<PropertyFrame>().query<IUnknown>(); });
    ClassRegistry::add(L"UIPopupCollection", [] { return make<PopupCollection>().query<IUnknown>(); });
    ClassRegistry::add(L"SmartViewer", [] { return make<SmartViewer>().query<IUnknown>(); });
    components->addClass(L"UIPropertyPageCollection", L"UIPropertyPageCollection");
    components->addClass(L"UIPopupCollection", L"UIPopupCollection");
    return components;
}

}  // namespace host
