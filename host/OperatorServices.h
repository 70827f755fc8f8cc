// What the host keeps for its operators: their passwords and the files they
// used last.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "host/HostObject.h"

namespace host {

// "PasswordAccess": a password's access level; 0 for an unknown one. The
// trace never shows a password.
class PasswordAccess final : public Object<PasswordAccess, IPasswordAccess> {
public:
    static constexpr char kLedgerName[] = "PasswordAccess";
    using Answered = Answers<IPasswordAccess>;

    PasswordAccess();
    int32_t CheckPassword(IString* password) override;
    void setLevel(const std::wstring& password, int32_t level);

private:
    mutable std::mutex m_Mutex;
    std::map<std::wstring, int32_t> m_Levels;
};

// "RecentFileCollection": the most recent file first, without repeats, at
// most 16; Save writes them to its file, one a line, as UTF-8.
class RecentFileCollection final : public Object<RecentFileCollection, IRecentStringCollection> {
public:
    static constexpr char kLedgerName[] = "RecentFileCollection";
    using Answered = Answers<IRecentStringCollection>;

    // An empty path keeps the list in memory only.
    explicit RecentFileCollection(std::string path = "");
    HRESULT Add(IString* text, IString* label, int32_t reserved) override;
    HRESULT Save() override;

    std::vector<std::wstring> files() const;

private:
    mutable std::mutex m_Mutex;
    std::string m_Path;
    std::vector<std::wstring> m_Files;
};

}  // namespace host
