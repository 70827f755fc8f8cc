#include "runtime/PropertyNames.h"

#include <cfloat>
#include <cmath>
#include <cstring>
#include <cwctype>
#include <limits>
#include <mutex>

#include "runtime/CREFString.h"
#include "runtime/ComponentAccess.h"
#include "runtime/Locks.h"
#include "runtime/ObjectResolve.h"
#include "runtime/Values.h"

namespace {

Mutex gTableMutex;
SmartPtr<IStringTable> gStringTable;

}  // namespace

HRESULT PROPQueryInterface(IUnknown* object, const IID& iid, void** out) { return OBJECTQueryDirect(object, iid, out); }

SmartPtr<IStringTable> PROPStringTable() {
    {
        std::lock_guard<Mutex> lock(gTableMutex);
        if (gStringTable) return gStringTable;
    }
    SmartPtr<IStringTable> found = CreateObject<IStringTable>(L"StringTable");
    std::lock_guard<Mutex> lock(gTableMutex);
    if (!gStringTable) gStringTable = std::move(found);
    return gStringTable;
}

void PROPReleaseStringTable() {
    SmartPtr<IStringTable> released;
    std::lock_guard<Mutex> lock(gTableMutex);
    std::swap(released, gStringTable);
}

SmartPtr<INamedCollection> PROPNameSection(IStringTable* table, IComponentString* path, IUnknown* object) {
    if (!table || !path) return nullptr;
    path->SetFromObject(object);
    SmartPtr<IString> className;
    path->get_Part(1, className.put());
    if (!className) return nullptr;
    SmartPtr<INamedCollection> section;
    if (FAILED(table->GetSection(className.get(), section.put()))) section = nullptr;
    return section;
}

SmartPtr<IString> PROPDisplayName(INamedCollection* section, int32_t id) {
    if (!section) return nullptr;
    SmartPtr<IString> key = ISCreate(id);
    int32_t index = -1;
    section->get_Index(key.get(), &index);
    SmartPtr<IUnknown> item;
    section->get_Item(index, item.put());
    return item.query<IString>();
}

int32_t PROPFindName(INamedCollection* section, IString* name) {
    int32_t count = 0;
    if (!section || FAILED(section->get_Count(&count)) || count < 0) return 0;
    const CREFString wanted(name);
    if (wanted.empty()) return count;
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IUnknown> item;
        section->get_Item(i, item.put());
        SmartPtr<IString> text = item.query<IString>();
        if (!text) continue;
        const CREFString candidate(text.get());
        if (candidate.count != wanted.count) continue;
        int32_t at = 0;
        while (at < wanted.count && std::towlower(static_cast<wint_t>(candidate.text[at])) ==
                                        std::towlower(static_cast<wint_t>(wanted.text[at]))) {
            ++at;
        }
        if (at == wanted.count) return i;
    }
    return count;
}

int32_t PROPParseId(IString* text) {
    // One pass over the text; digits past 32 bits wrap instead of overflowing.
    return _IS2Integer(CREFString(text), 10);
}

int32_t PROPSingleBits(double value) {
    float single = 0.0f;
    if (std::isnan(value)) {
        single = std::numeric_limits<float>::quiet_NaN();
    } else if (value > FLT_MAX) {
        single = std::numeric_limits<float>::infinity();
    } else if (value < -FLT_MAX) {
        single = -std::numeric_limits<float>::infinity();
    } else {
        single = static_cast<float>(value);
    }
    int32_t bits = 0;
    std::memcpy(&bits, &single, sizeof bits);
    return bits;
}

float PROPSingleOfBits(int32_t bits) {
    float single = 0.0f;
    std::memcpy(&single, &bits, sizeof single);
    return single;
}
