#include "host/Tabs.h"

#include "host/Hostility.h"
#include "host/Variants.h"

namespace host {

HRESULT Tab::Refresh(int32_t mode) {
    if (Recorder::enabled()) record("Refresh(" + std::to_string(mode) + ")");
    return S_OK;
}

HRESULT TabCollection::get_Count(int32_t* count) {
    if (!count) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    *count = Hostility::count(static_cast<int32_t>(m_Tabs.size()));
    return S_OK;
}

HRESULT TabCollection::get_Item(int32_t index, IUnknown** out) {
    if (!out) return E_POINTER;
    std::string named;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        HRESULT hostile = S_OK;
        if (Hostility::missing(index, static_cast<int32_t>(m_Tabs.size()), hostile)) return *out = nullptr, hostile;
        *out = inRange(index) ? SmartPtr<IUnknown>(m_Tabs[index].tab).detach() : nullptr;
        if (Recorder::enabled()) named = nameAt(index);
    }
    if (Recorder::enabled()) record("get_Item(" + std::to_string(index) + ") -> " + named);
    return *out ? S_OK : E_INVALIDARG;
}

HRESULT TabCollection::get_ItemName(int32_t index, IString** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    std::wstring name;
    bool found = false;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if ((found = inRange(index))) name = m_Tabs[index].name;
    }
    if (Recorder::enabled())
        record("get_ItemName(" + std::to_string(index) + ") -> " + (found ? narrow(name) : "none"));
    if (!found) return E_INVALIDARG;
    *out = makeString(name).detach();
    return *out ? S_OK : E_FAIL;
}

HRESULT TabCollection::get_Index(IString* name, int32_t* index) {
    if (!index) return E_POINTER;
    const std::wstring wanted = textOf(name);
    int32_t found = -1;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        for (size_t i = 0; name && i < m_Tabs.size() && found < 0; ++i) {
            if (m_Tabs[i].name == wanted) found = static_cast<int32_t>(i);
        }
    }
    if (Recorder::enabled()) {
        record("get_Index(" + (name ? narrow(wanted) : std::string("no name")) + ") -> " +
               (found >= 0 ? std::to_string(found) : std::string("none")));
    }
    if (found < 0) return E_FAIL;
    *index = found;
    return S_OK;
}

HRESULT TabCollection::get_Index(IUnknown* key, int32_t* index) {
    return get_Index(queryInterface<IString>(key).get(), index);
}

HRESULT TabCollection::get_Selected(int32_t* index) {
    if (!index) return E_POINTER;
    std::string named;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        *index = m_Selected;
        if (Recorder::enabled()) named = nameAt(m_Selected);
    }
    if (Recorder::enabled()) record("get_Selected -> " + std::to_string(*index) + " (" + named + ")");
    return S_OK;
}

HRESULT TabCollection::Select(int32_t index, int32_t notify) {
    std::string named;
    bool selected = false;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if ((selected = inRange(index))) m_Selected = index;
        if (Recorder::enabled()) named = nameAt(index);
    }
    if (Recorder::enabled()) {
        record("Select(" + std::to_string(index) + ", " + std::to_string(notify) + ")" +
               (selected ? ": " + named + " in front" : std::string(" refused: no such tab")));
    }
    return selected ? S_OK : E_INVALIDARG;
}

HRESULT TabCollection::Refresh(int32_t mode) {
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        ++m_Refreshes;
    }
    if (Recorder::enabled()) record("Refresh(" + std::to_string(mode) + ")");
    return S_OK;
}

void TabCollection::add(const std::wstring& name, IUnknown* tab) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Tabs.push_back({name, SmartPtr<IUnknown>(tab)});
    if (m_Selected < 0) m_Selected = 0;
}

void TabCollection::addTab(const std::wstring& name) { add(name, make<Tab>(label() + "." + narrow(name)).get()); }

SmartPtr<TabCollection> TabCollection::addTabs(const std::wstring& name) {
    SmartPtr<TabCollection> inner = make<TabCollection>(label() + "." + narrow(name));
    add(name, static_cast<ITabCollection*>(inner.get()));
    return inner;
}

bool TabCollection::move(int32_t from, int32_t to) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (!inRange(from) || !inRange(to)) return false;
    const SmartPtr<IUnknown> front = inRange(m_Selected) ? m_Tabs[m_Selected].tab : nullptr;
    Entry moved = std::move(m_Tabs[from]);
    m_Tabs.erase(m_Tabs.begin() + from);
    m_Tabs.insert(m_Tabs.begin() + to, std::move(moved));
    for (size_t i = 0; front && i < m_Tabs.size(); ++i) {
        if (m_Tabs[i].tab.get() == front.get()) m_Selected = static_cast<int32_t>(i);
    }
    return true;
}

bool TabCollection::bringToFront(int32_t index) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (!inRange(index)) return false;
    m_Selected = index;
    return true;
}

int32_t TabCollection::selected() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Selected;
}

std::wstring TabCollection::selectedName() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return inRange(m_Selected) ? m_Tabs[m_Selected].name : std::wstring();
}

std::vector<std::wstring> TabCollection::names() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    std::vector<std::wstring> names;
    for (const Entry& entry : m_Tabs) names.push_back(entry.name);
    return names;
}

SmartPtr<IUnknown> TabCollection::tab(int32_t index) const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return inRange(index) ? m_Tabs[index].tab : nullptr;
}

int32_t TabCollection::refreshes() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Refreshes;
}

std::string TabCollection::nameAt(int32_t index) const {
    return inRange(index) ? narrow(m_Tabs[index].name) : std::string("none");
}

}  // namespace host
