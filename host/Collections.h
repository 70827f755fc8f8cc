// The host's general collection: named items with descriptors and flags.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "host/HostObject.h"

namespace host {

class SuperCollection final : public Object<SuperCollection, ISuperCollection> {
public:
    static constexpr char kLedgerName[] = "SuperCollection";
    using Answered = Answers<ISuperCollection, INamedCollection, ISimpleCollection>;

    HRESULT get_Count(int32_t* count) override;
    HRESULT get_Item(int32_t index, IUnknown** out) override;
    // Key: a string (exact name), or a variant holding a string or a number.
    HRESULT get_Index(IUnknown* key, int32_t* index) override;
    HRESULT get_ItemName(int32_t index, IString** out) override;
    HRESULT Add(IString* name, IUnknown* item, IUnknown* descriptor, int32_t flags) override;

    struct Entry {
        std::wstring name;
        bool hasName = false;
        SmartPtr<IUnknown> item;
        SmartPtr<IUnknown> descriptor;
        int32_t flags = 0;
    };
    std::vector<Entry> entries() const;

private:
    mutable std::mutex m_Mutex;
    std::vector<Entry> m_Entries;
};

}  // namespace host
