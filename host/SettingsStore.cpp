#include "host/SettingsStore.h"

#include <algorithm>
#include <cwchar>
#include <sstream>

#include "host/Files.h"
#include "host/Variants.h"

namespace host {

namespace {

wchar_t lower(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c; }

std::wstring folded(std::wstring name) {
    for (wchar_t& c : name) c = lower(c);
    return name;
}

bool sameName(const std::wstring& a, const std::wstring& b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](wchar_t x, wchar_t y) { return lower(x) == lower(y); });
}

std::wstring trimmed(const std::wstring& text) {
    const auto blank = [](wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n'; };
    size_t first = 0;
    size_t last = text.size();
    while (first < last && blank(text[first])) ++first;
    while (last > first && blank(text[last - 1])) --last;
    return text.substr(first, last - first);
}

// A section handed to the module: keys as item names, values as strings.
class RegistrySection final : public Object<RegistrySection, INamedCollection> {
public:
    static constexpr char kLedgerName[] = "RegistrySection";
    using Answered = Answers<INamedCollection, ISimpleCollection>;

    explicit RegistrySection(std::vector<std::pair<std::wstring, std::wstring>> values) : m_Values(std::move(values)) {}

    HRESULT get_Count(int32_t* count) override {
        if (!count) return E_POINTER;
        *count = static_cast<int32_t>(m_Values.size());
        return S_OK;
    }
    HRESULT get_Item(int32_t index, IUnknown** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (!valid(index)) return E_INVALIDARG;
        *out = makeString(m_Values[static_cast<size_t>(index)].second).detach();
        return S_OK;
    }
    HRESULT get_Index(IUnknown* key, int32_t* index) override {
        if (!index) return E_POINTER;
        *index = -1;
        const std::wstring name = textOf(queryInterface<IString>(key).get());
        for (size_t i = 0; i < m_Values.size(); ++i) {
            if (sameName(m_Values[i].first, name)) {
                *index = static_cast<int32_t>(i);
                return S_OK;
            }
        }
        return E_FAIL;
    }
    HRESULT get_ItemName(int32_t index, IString** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (!valid(index)) return E_INVALIDARG;
        *out = makeString(m_Values[static_cast<size_t>(index)].first).detach();
        return S_OK;
    }

private:
    bool valid(int32_t index) const { return index >= 0 && static_cast<size_t>(index) < m_Values.size(); }

    const std::vector<std::pair<std::wstring, std::wstring>> m_Values;
};

}  // namespace

void Registry::set(const std::wstring& section, const std::wstring& key, const std::wstring& value) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    setLocked(section, key, value);
}

void Registry::setLocked(const std::wstring& section, const std::wstring& key, const std::wstring& value) {
    const auto added = m_SectionIndex.emplace(folded(section), m_Sections.size());
    if (added.second) m_Sections.push_back(Section{section, {}, {}});
    Section& found = m_Sections[added.first->second];
    const auto entry = found.keys.emplace(folded(key), found.values.size());
    if (entry.second) {
        found.values.emplace_back(key, value);
    } else {
        found.values[entry.first->second].second = value;
    }
}

const Registry::Section* Registry::findSection(const std::wstring& section) const {
    const auto found = m_SectionIndex.find(folded(section));
    return found == m_SectionIndex.end() ? nullptr : &m_Sections[found->second];
}

void Registry::clear() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Sections.clear();
    m_SectionIndex.clear();
}

bool Registry::load(const std::string& fileName, std::string* error) {
    std::string text;
    std::string why;
    int line = 1;
    if (!readWholeFile(fileName, text, &why)) {
        if (error) *error = why;
        return false;
    }
    why = encodingProblem(text, line);
    if (!why.empty()) {
        if (error) *error = fileName + ":" + std::to_string(line) + ": " + why;
        return false;
    }
    parse(text);
    return true;
}

void Registry::parse(const std::string& utf8) {
    std::string text = utf8;
    if (text.compare(0, 3, "\xEF\xBB\xBF") == 0) text.erase(0, 3);
    std::istringstream lines(text);
    std::string line;
    std::wstring section;
    bool inSection = false;
    std::lock_guard<std::mutex> lock(m_Mutex);
    while (std::getline(lines, line)) {
        const std::wstring entry = trimmed(widen(line));
        if (entry.empty() || entry[0] == L';' || entry[0] == L'#') continue;
        if (entry.front() == L'[' && entry.back() == L']') {
            section = trimmed(entry.substr(1, entry.size() - 2));
            inSection = true;
            continue;
        }
        const size_t equals = entry.find(L'=');
        if (!inSection || equals == std::wstring::npos) continue;
        std::wstring value = trimmed(entry.substr(equals + 1));
        if (value.size() >= 2 && value.front() == L'"' && value.back() == L'"')
            value = value.substr(1, value.size() - 2);
        setLocked(section, trimmed(entry.substr(0, equals)), value);
    }
}

bool Registry::find(const std::wstring& section, const std::wstring& key, std::wstring& value) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    const Section* found = findSection(section);
    if (!found) return false;
    const auto entry = found->keys.find(folded(key));
    if (entry == found->keys.end()) return false;
    value = found->values[entry->second].second;
    return true;
}

HRESULT Registry::GetValue(IString* section, IString* key, IString** value) {
    if (!value) return E_POINTER;
    *value = nullptr;
    const std::wstring sectionName = textOf(section);
    const std::wstring keyName = textOf(key);
    record("GetValue(" + narrow(sectionName) + "," + narrow(keyName) + ")");
    std::wstring text;
    if (!section || !key || !find(sectionName, keyName, text)) return E_FAIL;
    *value = makeString(text).detach();
    return S_OK;
}

HRESULT Registry::get_Section(IString* section, INamedCollection** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    const std::wstring sectionName = textOf(section);
    record("get_Section(" + narrow(sectionName) + ")");
    std::vector<std::pair<std::wstring, std::wstring>> values;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        const Section* found = findSection(sectionName);
        if (!section || !found) return E_FAIL;
        values = found->values;
    }
    *out = make<RegistrySection>(std::move(values)).detach();
    return S_OK;
}

HRESULT Registry::GetString(const wchar_t* section, const wchar_t* key, wchar_t* buffer) {
    if (!section || !key || !buffer) return E_POINTER;
    record("GetString(" + narrow(section) + "," + narrow(key) + ")");
    std::wstring text;
    if (!find(section, key, text)) return E_FAIL;
    const size_t written = std::min(text.size(), static_cast<size_t>(kRegistryStringCapacity - 1));
    std::wmemcpy(buffer, text.data(), written);
    buffer[written] = L'\0';
    return S_OK;
}

}  // namespace host
