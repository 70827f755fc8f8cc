#include "host/CsvStream.h"

#include <cstdio>
#include <cstring>

namespace host {

HRESULT CsvStream::Write(const void* data, int32_t size, int32_t) {
    if (size < 0) return E_INVALIDARG;
    if (size > 0 && !data) return E_POINTER;
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Bytes.insert(m_Bytes.end(), bytes, bytes + size);
    return S_OK;
}

std::vector<unsigned char> CsvStream::bytes() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Bytes;
}

std::wstring CsvStream::text() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    std::wstring text(m_Bytes.size() / sizeof(wchar_t), L'\0');
    if (!text.empty()) std::memcpy(&text[0], m_Bytes.data(), text.size() * sizeof(wchar_t));
    return text;
}

bool CsvStream::saveTo(const std::string& path) const {
    const std::vector<unsigned char> content = bytes();
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) return false;
    const bool written = std::fwrite(content.data(), 1, content.size(), file) == content.size();
    return std::fclose(file) == 0 && written;
}

}  // namespace host
