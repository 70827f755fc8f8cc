// The host's settings store: sections of named text values, filled in code or
// from an INI-style settings file.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/HostObject.h"

namespace host {

class Registry final : public Object<Registry, IRegistry, IRegistryEx> {
public:
    static constexpr char kLedgerName[] = "Registry";
    using Answered = Answers<IRegistry, IRegistryEx>;

    // Section and key names are matched ignoring ASCII case, as in a settings
    // file; values keep the order in which they were first set.
    void set(const std::wstring& section, const std::wstring& key, const std::wstring& value);
    void clear();

    // Reads a UTF-8 settings file: "[Section]" lines, "key=value" lines
    // (blanks around both trimmed, a value in double quotes keeps its blanks),
    // comments starting with ";" or "#". Lines before the first section and
    // lines without "=" are skipped. False when the file cannot be read.
    bool load(const std::string& fileName);
    // The same from the file's text.
    void parse(const std::string& utf8);

    HRESULT GetValue(IString* section, IString* key, IString** value) override;
    HRESULT get_Section(IString* section, INamedCollection** out) override;
    // Writes at most kRegistryStringCapacity characters, the terminator
    // included: a longer value is cut.
    HRESULT GetString(const wchar_t* section, const wchar_t* key, wchar_t* buffer) override;

private:
    struct Section {
        std::wstring name;
        std::vector<std::pair<std::wstring, std::wstring>> values;
    };
    bool find(const std::wstring& section, const std::wstring& key, std::wstring& value);

    std::mutex m_Mutex;
    std::vector<Section> m_Sections;
};

}  // namespace host
