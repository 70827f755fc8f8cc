// The Property write step: writes the step's parameters into another object's properties.
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

}  // namespace

class CGCUIPropWrite final : public StepBase<CGCUIPropWrite, IParametersCreatable, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIPropWrite";
    // The user's parameter set is stored and rebuilt.
    static constexpr StepTables kTables{kInputs, {}, kPages, 1};
    using Interfaces = StepInterfaces<IParametersCreatable>;

    // Property by property when the object's class has names in the string
    // table, else through the object's parameters. Only a failure of
    // SetParameters is a failure of the step.
    HRESULT Execute(CStopEvent*) {
        SmartPtr<IUnknown> object = inputObject(kObject);
        if (auto entity = queryInterface<IRenderableObjectEntity>(object.get())) {
            SmartPtr<IUnknown> rendered;
            entity->get_RenderableObject(rendered.put());
            object = rendered;
        }
        auto interrogate = PROPQuery<IUIPropInterrogate>(object.get());
        auto extended = PROPQuery<IUIPropInterrogateEx>(object.get());
        auto parametric = PROPQuery<IParametricObject>(object.get());
        auto parameters = queryInterface<IParameters>(object.get());

        if (interrogate) {
            SmartPtr<INamedCollection> section =
                PROPNameSection(CreateObject<IStringTable>(L"StringTable").get(),
                                CreateObject<IComponentString>(L"ComponentString").get(), interrogate.get());
            if (section) {
                writeProperties(section.get(), interrogate.get(), extended.get());
                return S_OK;
            }
        }
        if (parametric) return parametric->SetParameters(m_Parameters.face());
        if (parameters) writeNamesakes(parameters.get());
        return S_OK;
    }

private:
    void writeProperties(INamedCollection* section, IUIPropInterrogate* interrogate, IUIPropInterrogateEx* extended) {
        SmartPtr<IString> name;
        SmartPtr<IVariant> value;
        for (int32_t i = 0; SUCCEEDED(m_Parameters.Iterate(i, name.put(), value.put(), nullptr, nullptr)); ++i) {
            SmartPtr<IString> idText;
            section->get_ItemName(PROPFindName(section, name.get()), idText.put());
            if (!idText || !value) continue;
            writeProperty(PROPParseId(idText.get()), value.get(), interrogate, extended);
        }
    }

    static void writeProperty(int32_t id, IVariant* value, IUIPropInterrogate* interrogate,
                              IUIPropInterrogateEx* extended) {
        int32_t bits = 0;
        SmartPtr<IUnknown> current;
        int32_t kind = interrogate->GetProperty(id, &bits);
        if (kind < 0 && extended) kind = extended->GetPropertyObject(id, current.put());
        if (kind < 0) return;
        const int32_t valueType = kind & kPropertyValueType;
        if (PROPIsSingle(valueType)) {
            interrogate->SetProperty(id, PROPSingleBits(value->get_Double()));
        } else if (valueType == kPropertyText) {
            if (extended) extended->PutPropertyObject(id, ISCreate(value).get());
        } else if (valueType == kPropertyObject) {
            // Only a renderable object replaces a renderable object.
            SmartPtr<IUnknown> replacement;
            value->get_Object(replacement.put());
            if (extended && current.query<IRenderableObject>() && replacement.query<IRenderableObject>()) {
                extended->PutPropertyObject(id, replacement.get());
            }
        } else {
            interrogate->SetProperty(id, value->get_Long());
        }
    }

    // Each parameter whose name the object's parameters also have, as a new
    // variant; the others are passed over.
    void writeNamesakes(IParameters* target) {
        int32_t count = 0;
        m_Parameters.get_Count(&count);
        for (int32_t i = 0; i < count; ++i) {
            SmartPtr<IString> name;
            SmartPtr<IVariant> value;
            m_Parameters.get_ItemName(i, name.put());
            m_Parameters.get_ItemVariant(i, value.put());
            int32_t index = -1;
            if (!name || FAILED(target->get_Index(name.get(), &index)) || index < 0) continue;
            SmartPtr<IVariant> copy = CREFString::CreateVariant();
            if (!copy) continue;
            copy->put_Value(value.get());
            target->put_Item(index, copy.get());
        }
    }
};

extern const ModuleClass gGCUIPropWriteClass = moduleClassOf<CGCUIPropWrite>();
