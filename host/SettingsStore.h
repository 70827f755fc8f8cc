// The host's settings store: sections of named text values, filled in code or
// from an INI-style settings file.
#pragma once

#include <mutex>
#include <string>
#include <unordered_map>
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
    // lines without "=" are skipped. False, with "FILE: why" in error, when
    // the file cannot be read or is not UTF-8 text (UTF-16, NUL bytes).
    // Reading takes time in proportion to the file's size.
    bool load(const std::string& fileName, std::string* error = nullptr);
    // The same from the file's text.
    void parse(const std::string& utf8);

    HRESULT GetValue(IString* section, IString* key, IString** value) override;
    HRESULT get_Section(IString* section, INamedCollection** out) override;
    // Writes at most kRegistryStringCapacity characters, the terminator
    // included: a longer value is cut.
    HRESULT GetString(const wchar_t* section, const wchar_t* key, wchar_t* buffer) override;

private:
    // Names are found through their ASCII lower-case form.
    struct Section {
        std::wstring name;
        std::vector<std::pair<std::wstring, std::wstring>> values;
        std::unordered_map<std::wstring, size_t> keys;
    };
    void setLocked(const std::wstring& section, const std::wstring& key, const std::wstring& value);
    const Section* findSection(const std::wstring& section) const;
    bool find(const std::wstring& section, const std::wstring& key, std::wstring& value);

    std::mutex m_Mutex;
    std::vector<Section> m_Sections;
    std::unordered_map<std::wstring, size_t> m_SectionIndex;
};

}  // namespace host
