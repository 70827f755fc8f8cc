#include "host/OperatorServices.h"

#include <algorithm>
#include <cstdio>

namespace host {

PasswordAccess::PasswordAccess() {
    m_Levels[L"operator"] = 1;
    m_Levels[L"service"] = 2;
    m_Levels[L"admin"] = 3;
}

int32_t PasswordAccess::CheckPassword(IString* password) {
    int32_t level = 0;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        auto found = m_Levels.find(textOf(password));
        if (found != m_Levels.end()) level = found->second;
    }
    record("CheckPassword -> " + std::to_string(level));
    return level;
}

void PasswordAccess::setLevel(const std::wstring& password, int32_t level) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Levels[password] = level;
}

RecentFileCollection::RecentFileCollection(std::string path) : m_Path(std::move(path)) {}

HRESULT RecentFileCollection::Add(IString* text, IString* label, int32_t reserved) {
    const std::wstring file = textOf(text);
    record("Add(\"" + narrow(file) + "\", \"" + narrow(textOf(label)) + "\", " + std::to_string(reserved) + ")");
    if (file.empty()) return E_INVALIDARG;
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Files.erase(std::remove(m_Files.begin(), m_Files.end(), file), m_Files.end());
    m_Files.insert(m_Files.begin(), file);
    if (m_Files.size() > 16) m_Files.resize(16);
    return S_OK;
}

HRESULT RecentFileCollection::Save() {
    record("Save");
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (m_Path.empty()) return S_OK;
    std::FILE* out = std::fopen(m_Path.c_str(), "w");
    if (!out) return E_FAIL;
    for (const std::wstring& file : m_Files) std::fprintf(out, "%s\n", narrow(file).c_str());
    return std::fclose(out) == 0 ? S_OK : E_FAIL;
}

std::vector<std::wstring> RecentFileCollection::files() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Files;
}

}  // namespace host
