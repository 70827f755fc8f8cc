// The parameter collection as property pages use it on every repaint:
// reading a value, writing one, finding one by name, sorting; against the
// same work on a plain vector of records holding the same host objects.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/Scenario.h"
#include "module/Flukokzad.h"
#include "parameters/IParametersImpl.h"
#include "runtime/CREFString.h"
#include "runtime/Interfaces.h"
#include "runtime/SmartPtr.h"
#include "runtime/Values.h"

namespace bench {
namespace {

// A collection of n integer parameters "P0", "P1", ... on a property write
// step, the creatable collection whose lock costs nothing of its own.
struct Collection {
    SmartPtr<IParametersCreatable> step;
    std::vector<SmartPtr<IString>> names;
    SmartPtr<IVariant> value;
    int32_t size = 0;
    int32_t next = 0;

    explicit Collection(int32_t n) : size(n) {
        CREATEFUNCTION creator = nullptr;
        const wchar_t kName[] = L"GCUIPropWrite";
        CreateFunction({static_cast<int32_t>(std::wcslen(kName)), kName}, &creator);
        if (creator) creator(nullptr, &IID_IParametersCreatable, step.put_void());
        step->RemoveAll();
        for (int32_t i = 0; i < n; ++i) {
            names.push_back(ISCreate((L"P" + std::to_wstring(i)).c_str()));
            step->Add(names.back().get(), IVCreate(i).get(), nullptr, 0x3);
        }
        value = IVCreate(7);
    }
    int32_t advance() {
        const int32_t index = next;
        next = next + 1 == size ? 0 : next + 1;
        return index;
    }
};

// What a hand-written host-side table would hold: the same host objects,
// without the collection's lock, bindings or records.
struct Record {
    SmartPtr<IString> name;
    SmartPtr<IUnknown> value;
    SmartPtr<IUnknown> descriptor;
    int32_t flags = 0;
};

struct PlainCollection {
    std::vector<Record> records;
    std::vector<SmartPtr<IString>> names;
    SmartPtr<IVariant> value;
    int32_t next = 0;

    explicit PlainCollection(int32_t n) {
        for (int32_t i = 0; i < n; ++i) {
            names.push_back(ISCreate((L"P" + std::to_wstring(i)).c_str()));
            records.push_back({names.back(), IVCreate(i), nullptr, 0x3});
        }
        value = IVCreate(7);
    }
    int32_t advance() {
        const int32_t index = next;
        next = next + 1 == static_cast<int32_t>(records.size()) ? 0 : next + 1;
        return index;
    }
    HRESULT getVariant(int32_t index, IVariant** out) {
        if (index < 0 || index >= static_cast<int32_t>(records.size())) return E_INVALIDARG;
        return records[static_cast<size_t>(index)].value->QueryInterface(IID_IVariant, reinterpret_cast<void**>(out));
    }
    HRESULT put(int32_t index, IUnknown* newValue) {
        if (index < 0 || index >= static_cast<int32_t>(records.size())) return E_INVALIDARG;
        records[static_cast<size_t>(index)].value = SmartPtr<IUnknown>(newValue);
        return S_OK;
    }
    HRESULT indexOf(IUnknown* key, int32_t* index) {
        SmartPtr<IString> name = queryInterface<IString>(key);
        const wchar_t* text = nullptr;
        int32_t length = 0;
        if (!name || name->get_Text(&text, &length) < 0) return E_FAIL;
        for (size_t i = 0; i < records.size(); ++i) {
            const wchar_t* other = nullptr;
            int32_t otherLength = 0;
            records[i].name->get_Text(&other, &otherLength);
            if (PARAMETERSNamesMatch(text, length, other, otherLength)) {
                *index = static_cast<int32_t>(i);
                return S_OK;
            }
        }
        return E_FAIL;
    }
};

int compareRecords(const void* a, const void* b) {
    const wchar_t* left = nullptr;
    const wchar_t* right = nullptr;
    int32_t leftLength = 0, rightLength = 0;
    static_cast<const Record*>(a)->name->get_Text(&left, &leftLength);
    static_cast<const Record*>(b)->name->get_Text(&right, &rightLength);
    const int32_t common = std::min(leftLength, rightLength);
    for (int32_t i = 0; i < common; ++i) {
        if (left[i] != right[i]) return left[i] < right[i] ? -1 : 1;
    }
    return leftLength == rightLength ? 0 : (leftLength < rightLength ? -1 : 1);
}

void registerSize(int32_t n) {
    const std::string size = std::to_string(n);
    const std::string module = "parameters/module/";
    const std::string plain = "parameters/plain-vector/";
    // The 2x target is set where the property pages live: 100 parameters.
    const double target = n == 100 ? 2.0 : 0;
    const int64_t findRuns = n >= 1000 ? 200 : 2000;

    Registration({plain + "get_ItemVariant/" + size, "", 0, 0, 64, 1, 2000, [n] {
                      return loopWith(std::make_unique<PlainCollection>(n), [](PlainCollection& c) {
                          IVariant* out = nullptr;
                          c.getVariant(c.advance(), &out);
                          benchmark::DoNotOptimize(out);
                          if (out) out->Release();
                      });
                  }});
    Registration({module + "get_ItemVariant/" + size, plain + "get_ItemVariant/" + size, target, 0, 64, 1, 2000, [n] {
                      return loopWith(std::make_unique<Collection>(n), [](Collection& c) {
                          IVariant* out = nullptr;
                          c.step->get_ItemVariant(c.advance(), &out);
                          benchmark::DoNotOptimize(out);
                          if (out) out->Release();
                      });
                  }});
    Registration({plain + "put_Item/" + size, "", 0, 0, 64, 1, 2000, [n] {
                      return loopWith(std::make_unique<PlainCollection>(n), [](PlainCollection& c) {
                          benchmark::DoNotOptimize(c.put(c.advance(), c.value.get()));
                      });
                  }});
    Registration({module + "put_Item/" + size, plain + "put_Item/" + size, target, 0, 64, 1, 2000, [n] {
                      return loopWith(std::make_unique<Collection>(n), [](Collection& c) {
                          benchmark::DoNotOptimize(c.step->put_Item(c.advance(), c.value.get()));
                      });
                  }});
    Registration({plain + "get_Index/" + size, "", 0, 0, 16, 1, findRuns, [n] {
                      return loopWith(std::make_unique<PlainCollection>(n), [](PlainCollection& c) {
                          int32_t index = -1;
                          c.indexOf(c.names[static_cast<size_t>(c.advance())].get(), &index);
                          benchmark::DoNotOptimize(index);
                      });
                  }});
    Registration({module + "get_Index/" + size, plain + "get_Index/" + size, target, 0, 16, 1, findRuns, [n] {
                      return loopWith(std::make_unique<Collection>(n), [](Collection& c) {
                          int32_t index = -1;
                          c.step->get_Index(c.names[static_cast<size_t>(c.advance())].get(), &index);
                          benchmark::DoNotOptimize(index);
                      });
                  }});
}

// Sorting alternately forwards and backwards, so that every sort has work.
void registerSort() {
    Registration({"parameters/plain-vector/Sort/1000", "", 0, 0, 2, 1, 20, [] {
                      return loopWith(std::make_unique<PlainCollection>(1000), [](PlainCollection& c) {
                          std::qsort(c.records.data(), c.records.size(), sizeof(Record), &compareRecords);
                          std::reverse(c.records.begin(), c.records.end());
                      });
                  }});
    Registration({"parameters/module/Sort/1000", "parameters/plain-vector/Sort/1000", 0, 0, 2, 1, 20, [] {
                      return loopWith(std::make_unique<Collection>(1000),
                                      [](Collection& c) { c.step->Sort(c.next ^= 2); });
                  }});
}

const bool kRegistered = [] {
    for (int32_t n : {10, 100, 1000}) registerSize(n);
    registerSort();
    return true;
}();

}  // namespace
}  // namespace bench
