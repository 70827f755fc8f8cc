// The Property read and Property write steps: each step's TurnOn against a
// hand-written function making the same host calls on the same objects; the
// read also over an object with 1000 properties.
#include <cstring>
#include <cwchar>
#include <string>

#include "bench/Scenario.h"
#include "execution/StepExecution.h"
#include "host/Properties.h"
#include "host/Variants.h"
#include "module/Flukokzad.h"
#include "runtime/ComponentAccess.h"
#include "runtime/PropertyNames.h"
#include "runtime/Values.h"

namespace bench {
namespace {

int32_t bitsOf(float value) {
    int32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// A step bound to a camera of `count` properties from 100, every third a
// float, each named in the host's string table.
struct PropertySetup {
    SmartPtr<IStep> step;
    SmartPtr<IInputParameters> inputs;
    SmartPtr<IParametersCreatable> parameters;
    SmartPtr<host::PropertyObject> camera = host::make<host::PropertyObject>(
        "Camera", L"Camera", host::PropertyObject::kInterrogate | host::PropertyObject::kExtended);
    SmartPtr<IStringTable> table = PROPStringTable();
    double executionTime = 0;

    PropertySetup(const wchar_t* name, int32_t count) {
        CREATEFUNCTION creator = nullptr;
        CreateFunction({static_cast<int32_t>(std::wcslen(name)), name}, &creator);
        if (creator) creator(nullptr, &IID_IStep, step.put_void());
        inputs = step.query<IInputParameters>();
        parameters = step.query<IParametersCreatable>();
        auto* names = dynamic_cast<host::StringTable*>(table.get());
        camera->setRange(100, 100 + count - 1);
        for (int32_t id = 100; id < 100 + count; ++id) {
            host::PropertyObject::Property property;
            property.kind = id % 3 == 2 ? 4 : 3;
            property.bits = id % 3 == 2 ? bitsOf(0.5f * static_cast<float>(id)) : id;
            camera->setProperty(id, property);
            if (names) names->addName(L"Camera", std::to_wstring(id), L"Property" + std::to_wstring(id));
        }
        SmartPtr<IUnknown> record;
        inputs->get_Item(0, record.put());
        record.query<IInputParameter>()->put_Object(static_cast<IUIPropInterrogate*>(camera.get()));
    }
    SmartPtr<INamedCollection> section(IUnknown* object) {
        return PROPNameSection(table.get(), CreateObject<IComponentString>(L"ComponentString").get(), object);
    }
};

struct ReadSetup : PropertySetup {
    ReadSetup() : PropertySetup(L"GCUIPropRead", 3) {}
};
struct ReadManySetup : PropertySetup {
    ReadManySetup() : PropertySetup(L"GCUIPropRead", 1000) {}
};

// The bound object's interfaces, asked for as both steps ask for them.
struct Probed {
    SmartPtr<IUIPropInterrogate> interrogate;
    SmartPtr<IUIPropInterrogateEx> extended;
    SmartPtr<IParametricObject> parametric;
    SmartPtr<IParameters> own;

    explicit Probed(IInputParameters* inputs) {
        SmartPtr<IUnknown> bound;
        inputs->get_InputObject(0, bound.put());
        interrogate = PROPQuery<IUIPropInterrogate>(bound.get());
        extended = PROPQuery<IUIPropInterrogateEx>(bound.get());
        parametric = PROPQuery<IParametricObject>(bound.get());
        own = PROPQuery<IParameters>(bound.get());
    }
};

template <class Setup>
HRESULT readByHand(Setup& setup) {
    const timeval start = CTimer::now();
    const Probed probed(setup.inputs.get());
    IUIPropInterrogate* interrogate = probed.interrogate.get();
    setup.parameters->RemoveAll();
    if (interrogate) {
        SmartPtr<INamedCollection> section = setup.section(interrogate);
        int32_t bits = 0, first = 0, last = -1;
        interrogate->GetProperty(0x2000000, &bits);
        interrogate->GetPropertyRange(0x2000000, &first, &last);
        for (int32_t id = first; id <= last; ++id) {
            const int32_t kind = interrogate->GetProperty(id, &bits);
            if (kind < 0) continue;
            SmartPtr<IVariant> value = CREFString::CreateVariant();
            if ((kind & 0x0F) == 4) {
                float single = 0.0f;
                std::memcpy(&single, &bits, sizeof single);
                value->put_Double(single);
            } else {
                value->put_Long(bits);
            }
            setup.parameters->Add(PROPDisplayName(section.get(), id).get(), value.get(), nullptr, kind & 0xFF);
        }
    }
    setup.executionTime = CTimer::millisecondsBetween(start, CTimer::now());
    return S_OK;
}

// Exposure (100), Gain (101, a float) and Level (102) written by name.
struct WriteSetup : PropertySetup {
    WriteSetup() : PropertySetup(L"GCUIPropWrite", 3) {
        parameters->Add(host::makeString(L"property100").get(), IVCreate(35).get(), nullptr, 0);
        parameters->Add(host::makeString(L"property101").get(), host::makeVariant(0.1).get(), nullptr, 0);
        parameters->Add(host::makeString(L"PROPERTY102").get(), IVCreate(7).get(), nullptr, 0);
    }
};

HRESULT writeByHand(WriteSetup& setup) {
    const timeval start = CTimer::now();
    const Probed probed(setup.inputs.get());
    IUIPropInterrogate* interrogate = probed.interrogate.get();
    SmartPtr<INamedCollection> section =
        PROPNameSection(CreateObject<IStringTable>(L"StringTable").get(),
                        CreateObject<IComponentString>(L"ComponentString").get(), interrogate);
    SmartPtr<IString> name;
    SmartPtr<IVariant> value;
    for (int32_t i = 0; setup.parameters->Iterate(i, name.put(), value.put(), nullptr, nullptr) >= 0; ++i) {
        SmartPtr<IString> idText;
        section->get_ItemName(PROPFindName(section.get(), name.get()), idText.put());
        if (!idText) continue;
        const int32_t id = PROPParseId(idText.get());
        int32_t bits = 0;
        const int32_t kind = interrogate->GetProperty(id, &bits);
        if ((kind & 0x0F) == 4) {
            interrogate->SetProperty(id, bitsOf(static_cast<float>(value->get_Double())));
        } else {
            interrogate->SetProperty(id, value->get_Long());
        }
    }
    setup.executionTime = CTimer::millisecondsBetween(start, CTimer::now());
    return S_OK;
}

const Registration kRegistrations[] = {
    stepPair<ReadSetup, readByHand<ReadSetup>>("property-read", false),
    stepPair<ReadSetup, readByHand<ReadSetup>>("property-read", true),
    stepPair<ReadManySetup, readByHand<ReadManySetup>>("property-read-1000", false),
    stepPair<ReadManySetup, readByHand<ReadManySetup>>("property-read-1000", true),
    stepPair<WriteSetup, writeByHand>("property-write", false),
    stepPair<WriteSetup, writeByHand>("property-write", true),
};

}  // namespace
}  // namespace bench
