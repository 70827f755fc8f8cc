// A CSV stream: collects the bytes written to it, and can save them to a file.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "host/HostObject.h"

namespace host {

class CsvStream final : public Object<CsvStream, ICSVStream> {
public:
    static constexpr char kLedgerName[] = "CsvStream";
    using Answered = Answers<ICSVStream, IDataStream>;

    HRESULT Write(const void* data, int32_t size, int32_t reserved) override;

    std::vector<unsigned char> bytes() const;
    // The bytes read back as wide characters (the width the module writes).
    std::wstring text() const;
    bool saveTo(const std::string& path) const;

private:
    mutable std::mutex m_Mutex;
    std::vector<unsigned char> m_Bytes;
};

}  // namespace host
