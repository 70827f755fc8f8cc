// Pins the slot order of the interfaces that step objects implement. Calls go
// through the raw table of function pointers, not through the C++
// declarations, so a declaration whose operations are out of order fails here.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/HostTest.h"

namespace {

// Calls slot `slot` of the table that `face` points at, as the host would
// with its own declarations: the object pointer first, then the arguments.
template <class Result, class... Arguments>
Result callSlot(void* face, int slot, Arguments... arguments) {
    void** table = *static_cast<void***>(face);
    auto function = reinterpret_cast<Result (*)(void*, Arguments...)>(table[slot]);
    return function(face, arguments...);
}

// Implements every step-side interface; each operation records its name.
class Probe final : public IObjectInfo,
                    public IStep,
                    public IParametersCreatable,
                    public IDataPersist,
                    public IBindableObject,
                    public IReplicableObject,
                    public IUIPropertyPageSpecify,
                    public IParametricObject,
                    public IUIVerbCollectionSpecify,
                    public _IConfirmationEvent,
                    public _IUIKeyboardEvents,
                    public _IUIFileArchiveEvents,
                    public _IUIPropFrameEvents {
public:
    std::string called;

#define OPERATION(Result, Name, ...)    \
    Result Name(__VA_ARGS__) override { \
        called = #Name;                 \
        return 0;                       \
    }
    OPERATION(HRESULT, QueryInterface, const IID&, void**)
    OPERATION(uint32_t, AddRef)
    OPERATION(uint32_t, Release)
    OPERATION(HRESULT, GetName, int32_t, tagREFString*)
    OPERATION(HRESULT, TurnOn)
    OPERATION(HRESULT, TurnOff)
    OPERATION(int32_t, IsRunning)
    OPERATION(HRESULT, get_ExecutionTime, double*)
    OPERATION(HRESULT, get_Count, int32_t*)
    OPERATION(HRESULT, get_Item, int32_t, IUnknown**)
    OPERATION(HRESULT, get_Index, IUnknown*, int32_t*)
    OPERATION(HRESULT, get_ItemName, int32_t, IString**)
    OPERATION(HRESULT, Rename, int32_t, IString*)
    OPERATION(HRESULT, CollectionLock)
    OPERATION(HRESULT, CollectionUnlock)
    OPERATION(HRESULT, IsCollectionLocked)
    OPERATION(HRESULT, Iterate, int32_t, IString**, IVariant**, IUnknown**, int32_t*)
    OPERATION(HRESULT, get_ItemVariant, int32_t, IVariant**)
    OPERATION(HRESULT, put_Item, int32_t, IUnknown*)
    OPERATION(HRESULT, get_ItemDescriptor, int32_t, IUnknown**)
    OPERATION(HRESULT, put_ItemDescriptor, int32_t, IUnknown*)
    OPERATION(HRESULT, get_ItemFlags, int32_t, int32_t*)
    OPERATION(HRESULT, put_ItemFlags, int32_t, int32_t)
    OPERATION(HRESULT, Add, IString*, IUnknown*, IUnknown*, int32_t)
    OPERATION(HRESULT, Remove, int32_t)
    OPERATION(HRESULT, RemoveAll)
    OPERATION(HRESULT, Copy, IParameters*)
    OPERATION(HRESULT, Sort, int32_t)
    OPERATION(HRESULT, Set, IUnknown*, IUnknown*, IUnknown*, int32_t, int16_t)
    OPERATION(HRESULT, Save, IDataStream*, int32_t)
    OPERATION(HRESULT, Load, IDataStream*, int32_t)
    OPERATION(HRESULT, Bind, INamedCollection*, IUnknown*)
    OPERATION(HRESULT, Replicate, IUnknown**)
    OPERATION(HRESULT, GetPages, int32_t, INamedCollection**, IUnknown**)
    OPERATION(HRESULT, GetParameters, INamedCollection**, int32_t)
    OPERATION(HRESULT, SetParameters, INamedCollection*)
    OPERATION(int32_t, DoAction, int32_t, IUnknown*)
    OPERATION(HRESULT, GetVerbs, int32_t, IUnknown*, IUIVerbCollection**)
    OPERATION(HRESULT, ConfirmationDone, IUnknown*, int32_t)
    OPERATION(HRESULT, KeyboardClose, IUnknown*)
    OPERATION(HRESULT, KeyboardApply, IString*, IUnknown*)
    OPERATION(HRESULT, FileArchiveClose, IUnknown*)
    OPERATION(HRESULT, FileArchiveApply, IString*, IUnknown*)
    OPERATION(HRESULT, EditClosed, IUnknown*)
    OPERATION(HRESULT, EditApply, IUnknown*)
    OPERATION(HRESULT, EditCancel, IUnknown*)
#undef OPERATION
};

using Call = std::function<void(void* face)>;

template <class... Arguments>
Call slotCall(int slot, Arguments... arguments) {
    return [=](void* face) { callSlot<int32_t>(face, slot, arguments...); };
}

struct Slot {
    std::string operation;
    Call call;
};

// The host's slot order, written out from its interface tables.
const std::vector<Slot> kUnknownSlots = {
    {"QueryInterface", slotCall(0, static_cast<const IID*>(&IID_NULL), static_cast<void**>(nullptr))},
    {"AddRef", slotCall(1)},
    {"Release", slotCall(2)},
};

std::vector<Slot> withUnknown(std::vector<Slot> own) {
    std::vector<Slot> slots = kUnknownSlots;
    slots.insert(slots.end(), own.begin(), own.end());
    return slots;
}

const std::vector<Slot> kParametersSlots = withUnknown({
    {"get_Count", slotCall(3, static_cast<int32_t*>(nullptr))},
    {"get_Item", slotCall(4, 0, static_cast<IUnknown**>(nullptr))},
    {"get_Index", slotCall(5, static_cast<IUnknown*>(nullptr), static_cast<int32_t*>(nullptr))},
    {"get_ItemName", slotCall(6, 0, static_cast<IString**>(nullptr))},
    {"Rename", slotCall(7, 0, static_cast<IString*>(nullptr))},
    {"CollectionLock", slotCall(8)},
    {"CollectionUnlock", slotCall(9)},
    {"IsCollectionLocked", slotCall(10)},
    {"Iterate", slotCall(11, 0, static_cast<IString**>(nullptr), static_cast<IVariant**>(nullptr),
                         static_cast<IUnknown**>(nullptr), static_cast<int32_t*>(nullptr))},
    {"get_ItemVariant", slotCall(12, 0, static_cast<IVariant**>(nullptr))},
    {"put_Item", slotCall(13, 0, static_cast<IUnknown*>(nullptr))},
    {"get_ItemDescriptor", slotCall(14, 0, static_cast<IUnknown**>(nullptr))},
    {"put_ItemDescriptor", slotCall(15, 0, static_cast<IUnknown*>(nullptr))},
    {"get_ItemFlags", slotCall(16, 0, static_cast<int32_t*>(nullptr))},
    {"put_ItemFlags", slotCall(17, 0, 0)},
});

std::vector<Slot> creatableSlots() {
    std::vector<Slot> slots = kParametersSlots;
    const std::vector<Slot> own = {
        {"Add", slotCall(18, static_cast<IString*>(nullptr), static_cast<IUnknown*>(nullptr),
                         static_cast<IUnknown*>(nullptr), 0)},
        {"Remove", slotCall(19, 0)},
        {"RemoveAll", slotCall(20)},
        {"Copy", slotCall(21, static_cast<IParameters*>(nullptr))},
        {"Sort", slotCall(22, 0)},
        {"Set", slotCall(23, static_cast<IUnknown*>(nullptr), static_cast<IUnknown*>(nullptr),
                         static_cast<IUnknown*>(nullptr), 0, int16_t{0})},
    };
    slots.insert(slots.end(), own.begin(), own.end());
    return slots;
}

template <class I>
void expectSlots(Probe& probe, const std::vector<Slot>& slots) {
    void* face = static_cast<I*>(&probe);
    for (const Slot& slot : slots) {
        probe.called.clear();
        slot.call(face);
        EXPECT_EQ(probe.called, slot.operation);
    }
}

}  // namespace

TEST(SlotOrder, StepSideInterfacesHaveTheHostsSlotOrder) {
    Probe probe;
    expectSlots<IObjectInfo>(probe, withUnknown({{"GetName", slotCall(3, 0, static_cast<tagREFString*>(nullptr))}}));
    expectSlots<IStep>(probe, withUnknown({
                                  {"TurnOn", slotCall(3)},
                                  {"TurnOff", slotCall(4)},
                                  {"IsRunning", slotCall(5)},
                                  {"get_ExecutionTime", slotCall(6, static_cast<double*>(nullptr))},
                              }));
    expectSlots<IParameters>(probe, kParametersSlots);
    expectSlots<IParametersCreatable>(probe, creatableSlots());
    expectSlots<IDataPersist>(probe, withUnknown({
                                         {"Save", slotCall(3, static_cast<IDataStream*>(nullptr), 0)},
                                         {"Load", slotCall(4, static_cast<IDataStream*>(nullptr), 0)},
                                     }));
    expectSlots<IBindableObject>(
        probe,
        withUnknown({{"Bind", slotCall(3, static_cast<INamedCollection*>(nullptr), static_cast<IUnknown*>(nullptr))}}));
    expectSlots<IReplicableObject>(probe, withUnknown({{"Replicate", slotCall(3, static_cast<IUnknown**>(nullptr))}}));
    expectSlots<IUIPropertyPageSpecify>(
        probe, withUnknown({{"GetPages", slotCall(3, 0, static_cast<INamedCollection**>(nullptr),
                                                  static_cast<IUnknown**>(nullptr))}}));
    expectSlots<IParametricObject>(probe,
                                   withUnknown({
                                       {"GetParameters", slotCall(3, static_cast<INamedCollection**>(nullptr), 0)},
                                       {"SetParameters", slotCall(4, static_cast<INamedCollection*>(nullptr))},
                                   }));
    expectSlots<IUIVerbCollectionSpecify>(
        probe,
        withUnknown({
            {"DoAction", slotCall(3, 0, static_cast<IUnknown*>(nullptr))},
            {"GetVerbs", slotCall(4, 0, static_cast<IUnknown*>(nullptr), static_cast<IUIVerbCollection**>(nullptr))},
        }));
    expectSlots<_IConfirmationEvent>(
        probe, withUnknown({{"ConfirmationDone", slotCall(3, static_cast<IUnknown*>(nullptr), 0)}}));
    expectSlots<_IUIKeyboardEvents>(
        probe, withUnknown({
                   {"KeyboardClose", slotCall(3, static_cast<IUnknown*>(nullptr))},
                   {"KeyboardApply", slotCall(4, static_cast<IString*>(nullptr), static_cast<IUnknown*>(nullptr))},
               }));
    expectSlots<_IUIFileArchiveEvents>(
        probe, withUnknown({
                   {"FileArchiveClose", slotCall(3, static_cast<IUnknown*>(nullptr))},
                   {"FileArchiveApply", slotCall(4, static_cast<IString*>(nullptr), static_cast<IUnknown*>(nullptr))},
               }));
    expectSlots<_IUIPropFrameEvents>(probe, withUnknown({
                                                {"EditClosed", slotCall(3, static_cast<IUnknown*>(nullptr))},
                                                {"EditApply", slotCall(4, static_cast<IUnknown*>(nullptr))},
                                                {"EditCancel", slotCall(5, static_cast<IUnknown*>(nullptr))},
                                            }));
}

using StepSlots = HostTest;

// The module's objects answer through the same slots.
TEST_F(StepSlots, StepObjectsAnswerThroughTheHostsSlots) {
    SmartPtr<IUnknown> step = createStep(L"GCUIRefresh");
    ASSERT_TRUE(step);

    SmartPtr<IObjectInfo> info = step.query<IObjectInfo>();
    tagREFString name = {0, nullptr};
    EXPECT_EQ(callSlot<HRESULT>(info.get(), 3, 0, &name), S_OK);
    EXPECT_EQ(std::wstring(name.text, static_cast<size_t>(name.count)), L"GCUIRefresh");

    SmartPtr<IStep> run = step.query<IStep>();
    EXPECT_EQ(callSlot<HRESULT>(run.get(), 4), E_NOTIMPL) << "TurnOff of a synchronous step";
    EXPECT_EQ(callSlot<int32_t>(run.get(), 5), 0) << "IsRunning";
    double time = -1.0;
    EXPECT_EQ(callSlot<HRESULT>(run.get(), 6, &time), S_OK) << "get_ExecutionTime";
    EXPECT_EQ(time, 0.0);

    // AddRef and Release through slots 1 and 2 of any face share one count.
    SmartPtr<IDataPersist> persist = step.query<IDataPersist>();
    const uint32_t count = callSlot<uint32_t>(persist.get(), 1);
    EXPECT_EQ(callSlot<uint32_t>(info.get(), 2), count - 1);

    // QueryInterface through slot 0 of a face other than the first.
    void* out = nullptr;
    EXPECT_EQ(callSlot<HRESULT>(persist.get(), 0, &IID_IStep, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(run.get()));
    static_cast<IUnknown*>(out)->Release();
}
