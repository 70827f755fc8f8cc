// Tabbed windows of the simulated host: a tab collection holds named tabs,
// one of them in front, and a tab may hold tabs of its own. Each records
// what is asked of it and what is selected, under its label; a tab inside
// a collection is labelled "Outer.Tab" so that the trace shows it under the
// window it belongs to.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "host/HostObject.h"

namespace host {

// A plain tab: a page of a tabbed window, which redraws itself on request.
class Tab final : public Object<Tab, IUIRefreshableObject> {
public:
    static constexpr char kLedgerName[] = "Tab";
    using Answered = Answers<IUIRefreshableObject>;

    explicit Tab(std::string label = "Tab") { setLabel(std::move(label)); }

    HRESULT Refresh(int32_t mode) override;
};

class TabCollection final : public Object<TabCollection, ITabCollection, INamedCollection, IUIRefreshableObject> {
public:
    static constexpr char kLedgerName[] = "TabCollection";
    using Answered = Answers<ITabCollection, INamedCollection, ISimpleCollection, IUIRefreshableObject>;

    explicit TabCollection(std::string label = "Tabs") { setLabel(std::move(label)); }

    // The tab collection's and the named collection's operations of the
    // same name are one: an index outside the tabs is refused (E_INVALIDARG)
    // and an out-pointer left null.
    HRESULT get_Count(int32_t* count) override;
    HRESULT get_Item(int32_t index, IUnknown** out) override;
    HRESULT get_ItemName(int32_t index, IString** out) override;
    // The index of the tab of that exact name; E_FAIL and `index`
    // untouched when no tab bears it.
    HRESULT get_Index(IString* name, int32_t* index) override;
    HRESULT get_Index(IUnknown* key, int32_t* index) override;
    // -1 while the collection holds no tab.
    HRESULT get_Selected(int32_t* index) override;
    // Brings the tab at index to the front; the notification flag is only
    // recorded.
    HRESULT Select(int32_t index, int32_t notify) override;
    HRESULT Refresh(int32_t mode) override;

    // Setting up, unrecorded. The first tab added comes to the front.
    void add(const std::wstring& name, IUnknown* tab);
    // A plain tab, labelled after this collection and its name.
    void addTab(const std::wstring& name);
    // A tab that holds tabs of its own, labelled the same way.
    SmartPtr<TabCollection> addTabs(const std::wstring& name);
    // Moves a tab to another place, as a user dragging it; the tab in front
    // stays in front. False when either index is outside the tabs.
    bool move(int32_t from, int32_t to);
    bool bringToFront(int32_t index);

    int32_t selected() const;
    std::wstring selectedName() const;
    std::vector<std::wstring> names() const;
    SmartPtr<IUnknown> tab(int32_t index) const;
    int32_t refreshes() const;

private:
    struct Entry {
        std::wstring name;
        SmartPtr<IUnknown> tab;
    };
    bool inRange(int32_t index) const { return index >= 0 && index < static_cast<int32_t>(m_Tabs.size()); }
    std::string nameAt(int32_t index) const;  // under the lock; "none" outside the tabs

    mutable std::mutex m_Mutex;
    std::vector<Entry> m_Tabs;
    int32_t m_Selected = -1;
    int32_t m_Refreshes = 0;
};

}  // namespace host
