// The Property read step: makes the properties of an object the step's own
// parameters.
#include <algorithm>

#include "module/Registry.h"
#include "runtime/CREFString.h"
#include "runtime/PropertyNames.h"
#include "steps/StepBase.h"

namespace {

enum { kObject };  // inputs

const InputDeclaration kInputs[] = {
    {L"UIParametric", &IID_IUnknown, 0},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", true},
    {L"UIPropPages.UIParametersPropPage", true},
};

// Objects of the host have at most a few thousand properties; a wider range
// is a broken answer, of which only this many ids are read.
constexpr int64_t kMostIds = 0x10000;

}  // namespace

class CGCUIPropRead final : public StepBase<CGCUIPropRead, IParametersCreatable, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIPropRead";
    // The parameters are made by each run from the object read.
    static constexpr StepTables kTables{kInputs, {}, kPages, 1};
    using Interfaces = StepInterfaces<IParametersCreatable>;

    // Every run starts empty, so the parameters are those of the last object
    // read. Nothing that the host answers is a failure of the step; a set
    // that finds no memory is E_OUTOFMEMORY and leaves the last one.
    HRESULT Execute(CStopEvent*) {
        SmartPtr<IUnknown> object = inputObject(kObject);
        auto interrogate = PROPQuery<IUIPropInterrogate>(object.get());
        auto extended = PROPQuery<IUIPropInterrogateEx>(object.get());
        auto parametric = PROPQuery<IParametricObject>(object.get());
        auto parameters = PROPQuery<IParameters>(object.get());

        // The set is read whole, then replaces the last one. A step that
        // reads itself finds its set emptied, as the run begins with that.
        ParameterBatch read;
        HRESULT result = S_OK;
        if (interrogate) {
            result = readProperties(read, interrogate.get(), extended.get());
        } else if (parametric) {
            SmartPtr<INamedCollection> collection;
            parametric->GetParameters(collection.put(), 0);
            result = copyNamed(read, collection.get());
        } else if (parameters && !isSameObject(parameters.get(), m_Parameters.face())) {
            result = copyNamed(read, parameters.get());
        }
        return FAILED(result) ? result : m_Parameters.replaceAll(read);
    }

    // The parameters come from the object read, so only XML keeps them; a
    // folder stream gets the input list alone ("Inputs" in the split layout).
    // Loading is the common one. Always 0.
    HRESULT Save(IDataStream* stream, int32_t mode) override {
        return m_StepInputs.save(m_Parameters, stream, mode, false);
    }

    // The only step whose collection lock is a real mutex.
    void Lock() override { m_ResourceLock.Lock(); }
    void Unlock() override { m_ResourceLock.Unlock(); }

private:
    // One parameter per item, under the item's name, flags 0.
    static HRESULT copyNamed(ParameterBatch& read, INamedCollection* collection) {
        int32_t count = 0;
        if (!collection || FAILED(collection->get_Count(&count))) return S_OK;
        for (int32_t i = 0; i < count; ++i) {
            SmartPtr<IUnknown> item;
            SmartPtr<IString> name;
            collection->get_Item(i, item.put());
            collection->get_ItemName(i, name.put());
            if (read.add(name.get(), item.get(), nullptr, 0) == E_OUTOFMEMORY) return E_OUTOFMEMORY;
        }
        return S_OK;
    }

    static HRESULT readProperties(ParameterBatch& read, IUIPropInterrogate* interrogate,
                                  IUIPropInterrogateEx* extended) {
        SmartPtr<INamedCollection> section = PROPNameSection(
            PROPStringTable().get(), CreateObject<IComponentString>(L"ComponentString").get(), interrogate);
        int32_t unused = 0;
        interrogate->GetProperty(kAllProperties, &unused);
        int32_t first = 0;
        int32_t last = -1;
        if (FAILED(interrogate->GetPropertyRange(kAllProperties, &first, &last))) return S_OK;
        const int64_t end = std::min<int64_t>(last, int64_t{first} + kMostIds - 1);
        for (int64_t id = first; id <= end; ++id) {
            if (readProperty(read, interrogate, extended, section.get(), static_cast<int32_t>(id)) == E_OUTOFMEMORY) {
                return E_OUTOFMEMORY;
            }
        }
        return S_OK;
    }

    static HRESULT readProperty(ParameterBatch& read, IUIPropInterrogate* interrogate, IUIPropInterrogateEx* extended,
                                INamedCollection* section, int32_t id) {
        int32_t bits = 0;
        SmartPtr<IUnknown> object;
        int32_t kind = interrogate->GetProperty(id, &bits);
        if (kind < 0 && extended) kind = extended->GetPropertyObject(id, object.put());
        if (kind < 0) return S_OK;

        const int32_t valueType = kind & kPropertyValueType;
        SmartPtr<IUnknown> value = object;
        if (PROPIsInteger(valueType)) {
            value = IVCreate(bits).query<IUnknown>();
        } else if (PROPIsSingle(valueType)) {
            SmartPtr<IVariant> variant = CREFString::CreateVariant();
            if (variant) variant->put_Double(PROPSingleOfBits(bits));
            value = variant.query<IUnknown>();
        }
        SmartPtr<IString> choices;
        if ((PROPIsInteger(valueType) || valueType == kPropertyText) &&
            (kind & kPropertySubKind) == kPropertyHasChoices) {
            interrogate->GetPropertyChoices(id, choices.put());
        }
        // A kind without a value type keeps its sub-kind as an integer's;
        // the host's bits above the kind are not a parameter's.
        const int32_t flags = valueType == 0 ? (kind & kPropertySubKind) | PARAMETER_KIND_INTEGER
                                             : kind & (kPropertySubKind | kPropertyValueType);
        return read.add(PROPDisplayName(section, id).get(), value.get(), choices.get(), flags);
    }

    CResourceLock m_ResourceLock;
};

extern const ModuleClass gGCUIPropReadClass = moduleClassOf<CGCUIPropRead>();
