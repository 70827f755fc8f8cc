#include "host/Collections.h"

#include "host/Hostility.h"
#include "host/Variants.h"

namespace host {

HRESULT SuperCollection::get_Count(int32_t* count) {
    if (!count) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_Mutex);
    *count = Hostility::count(static_cast<int32_t>(m_Entries.size()));
    return S_OK;
}

HRESULT SuperCollection::get_Item(int32_t index, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    SmartPtr<IUnknown> item;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        HRESULT hostile = S_OK;
        if (Hostility::missing(index, static_cast<int32_t>(m_Entries.size()), hostile)) return hostile;
        if (index < 0 || static_cast<size_t>(index) >= m_Entries.size()) return E_INVALIDARG;
        item = m_Entries[static_cast<size_t>(index)].item;
    }
    *out = item.detach();
    return S_OK;
}

HRESULT SuperCollection::get_Index(IUnknown* key, int32_t* index) {
    if (!index) return E_POINTER;
    *index = -1;
    std::wstring name;
    if (SmartPtr<IVariant> variant = queryInterface<IVariant>(key)) {
        if (variant->get_Type() != 0) {
            const int32_t number = variant->get_Long();
            std::lock_guard<std::mutex> lock(m_Mutex);
            if (number < 0 || static_cast<size_t>(number) >= m_Entries.size()) return E_FAIL;
            *index = number;
            return S_OK;
        }
        SmartPtr<IString> string;
        if (FAILED(variant->get_String(string.put()))) return E_FAIL;
        name = textOf(string.get());
    } else if (SmartPtr<IString> string = queryInterface<IString>(key)) {
        name = textOf(string.get());
    } else {
        return E_FAIL;
    }
    std::lock_guard<std::mutex> lock(m_Mutex);
    for (size_t i = 0; i < m_Entries.size(); ++i) {
        if (m_Entries[i].hasName && m_Entries[i].name == name) {
            *index = static_cast<int32_t>(i);
            return S_OK;
        }
    }
    return E_FAIL;
}

HRESULT SuperCollection::get_ItemName(int32_t index, IString** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    std::wstring name;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        if (index < 0 || static_cast<size_t>(index) >= m_Entries.size()) return E_INVALIDARG;
        if (!m_Entries[static_cast<size_t>(index)].hasName) return E_FAIL;
        name = m_Entries[static_cast<size_t>(index)].name;
    }
    *out = makeString(name).detach();
    return S_OK;
}

HRESULT SuperCollection::Add(IString* name, IUnknown* item, IUnknown* descriptor, int32_t flags) {
    Entry entry;
    entry.hasName = name != nullptr;
    entry.name = textOf(name);
    entry.item = item;
    entry.descriptor = descriptor;
    entry.flags = flags;
    record("Add(" + narrow(entry.name) + ")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Entries.push_back(std::move(entry));
    return S_OK;
}

std::vector<SuperCollection::Entry> SuperCollection::entries() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Entries;
}

}  // namespace host
