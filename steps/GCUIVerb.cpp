// The Verb step: runs one of the verbs that another object offers, and offers
// its own verbs "Run" and "Edit".
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

enum { kVerbObject };  // inputs

const InputDeclaration kInputs[] = {
    {L"VerbObject", &IID_IUIVerbCollectionSpecify, 0},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", false},
    {L"UIPropPages.UIParametricObjectPropPage", false},
};

// The verb codes the step acts on itself; any other is the target's own.
constexpr int32_t kEditVerb = 3;
constexpr int32_t kRunVerb = 8;
constexpr int32_t kStopVerb = 9;

constexpr int32_t kActionFlags = kChoiceFlags;

// Parameter collections and verb collections are made by components found
// once and kept for the life of the module.
SmartPtr<IParametersCreatable> BASEObjectCreateParameters() {
    static KeptComponent component(L"ParametersCreatable");
    return component.CreateInstance<IParametersCreatable>();
}

SmartPtr<IUIVerbCollection> UIObjectCreateUIVerbCollection() {
    static KeptComponent component(L"UIVerbCollection");
    return component.CreateInstance<IUIVerbCollection>();
}

}  // namespace

// The parameters of the chosen verb, offered as a collection made on demand.
template <class T>
class IParametricImpl : public IParametricObject {
public:
    HRESULT GetParameters(INamedCollection** out, int32_t) override {
        return static_cast<T*>(this)->getParameters(out);
    }
    HRESULT SetParameters(INamedCollection* parameters) override {
        return static_cast<T*>(this)->setParameters(parameters);
    }
};

class CGCUIVerb final : public StepBase<CGCUIVerb, IParameters, IStepImplSynchronous, IParametricImpl<CGCUIVerb>,
                                        IUIVerbCollectionSpecify> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIVerb";
    // Both pages name the step's registered name as their descriptor.
    static constexpr StepTables kTables{kInputs, {}, kPages, 0, true};
    using Interfaces = StepInterfaces<IParametricObject, IUIVerbCollectionSpecify>;

    // The chosen verb is offered through IParametricObject, not declared as a
    // parameter of the step's own collection.
    HRESULT FinalConstruct() override {
        m_Action = 0;
        return StepBase::FinalConstruct();
    }

    // The target decides what the chosen verb means: the step acts on its
    // answer. A step that reaches itself again while it runs (bound to
    // itself, or through a ring of Verb steps) does nothing the second time
    // instead of running itself until the stack is gone.
    HRESULT Execute(CStopEvent*) {
        if (m_Running) return S_OK;
        m_Running = true;
        const SmartPtr<IUnknown> target = inputObject(kVerbObject);
        if (auto verbs = target.query<IUIVerbCollectionSpecify>()) {
            switch (verbs->DoAction(m_Action, nullptr)) {
                case kRunVerb:
                    if (auto step = target.query<IStep>()) step->TurnOn();
                    break;
                case kStopVerb:
                    if (auto step = target.query<IStep>()) step->TurnOff();
                    break;
                case kEditVerb:
                    openPages(target);
                    break;
                default:
                    break;
            }
        }
        m_Running = false;
        return S_OK;
    }

    // The verb comes back unchanged, so that a Verb step aimed at this one
    // acts on the code itself.
    int32_t DoAction(int32_t verb, IUnknown*) override { return verb; }

    HRESULT GetVerbs(int32_t, IUnknown*, IUIVerbCollection** out) override {
        if (!out) return E_INVALIDARG;
        *out = nullptr;
        SmartPtr<IUIVerbCollection> verbs = UIObjectCreateUIVerbCollection();
        if (!verbs) return E_FAIL;
        verbs->AddVerb(-1, ISCreate(L"Run").get(), 0, 0, kRunVerb, 0);
        verbs->AddVerb(-1, ISCreate(L"Edit").get(), 0, 0, kEditVerb, 0);
        *out = verbs.detach();
        return S_OK;
    }

    // "Action", chosen from the target's verbs. An action the target does not
    // offer becomes its last verb (0 without verbs): the stored setting
    // follows what the page shows.
    HRESULT getParameters(INamedCollection** out) {
        if (!out) return E_POINTER;
        *out = nullptr;
        SmartPtr<IParametersCreatable> parameters = BASEObjectCreateParameters();
        if (!parameters) return E_FAIL;
        const auto target = inputObject(kVerbObject).query<IUIVerbCollectionSpecify>();
        SmartPtr<ISuperCollection> choices = CREFString::CreateCollection();
        SmartPtr<IUIVerbCollection> verbs;
        int32_t count = 0;
        if (target && SUCCEEDED(target->GetVerbs(0, nullptr, verbs.put())) && verbs) verbs->get_Count(&count);
        bool found = false;
        int32_t last = 0;
        for (int32_t index = 0; index < count; ++index) {
            SmartPtr<IUnknown> item;
            verbs->get_Item(index, item.put());
            const auto verb = item.query<IUIVerb>();
            if (!verb) continue;
            SmartPtr<IString> name;
            verb->get_Name(name.put());
            if (CREFString(name.get()).empty()) name = ISCreate(L"------");  // a separator line
            int32_t identifier = 0;
            verb->get_Property(kVerbIdentifierProperty, &identifier);
            found = found || identifier == m_Action;
            last = identifier;
            if (choices) choices->Add(name.get(), IVCreate(identifier).get(), nullptr, 0);
        }
        if (!found) m_Action = last;
        parameters->Add(ISCreate(L"Action").get(), IVCreate(m_Action).get(), choices.get(), kActionFlags);
        *out = parameters.detach();
        return S_OK;
    }

    // "Action" as a number, or as decimal text after leading blanks; an
    // all-blank text and a collection without "Action" change nothing.
    HRESULT setParameters(INamedCollection* parameters) {
        int32_t index = -1;
        if (!parameters || FAILED(parameters->get_Index(ISCreate(L"Action").get(), &index)) || index < 0) return S_OK;
        SmartPtr<IUnknown> entry;
        parameters->get_Item(index, entry.put());
        if (auto number = entry.query<IVariant>()) {
            m_Action = number->get_Long();
        } else if (auto text = entry.query<IString>()) {
            CREFString digits(text.get());
            ISSkipLeadingJunk(digits);
            if (!digits.empty()) m_Action = _IS2Integer(digits, 10);
        }
        return S_OK;
    }

    // The step's own layout: the input list as one object, then the action.
    HRESULT Save(IDataStream* stream, int32_t) override {
        auto folder = queryInterface<IFolderStream>(stream);
        if (!folder) return E_NOTIMPL;
        folder->WriteObject(ISCreate(L"Inputs").get(), m_StepInputs.list(), 0);
        folder->WriteScalar(ISCreate(L"STEPUIVerbRunAction").get(), &m_Action, kScalarInteger);
        return S_OK;
    }

    // A stored "Parameters" collection is applied last and wins over the
    // stored action.
    HRESULT Load(IDataStream* stream, int32_t) override {
        auto folder = queryInterface<IFolderStream>(stream);
        if (!folder) return E_NOTIMPL;
        loadInputList(folder.get());
        folder->ReadScalar(ISCreate(L"STEPUIVerbRunAction").get(), &m_Action, kScalarInteger);
        SmartPtr<IUnknown> stored;
        if (SUCCEEDED(folder->ReadObject(ISCreate(L"Parameters").get(), stored.put(), 0))) {
            if (auto parameters = stored.query<IParameters>()) setParameters(parameters.get());
        }
        return S_OK;
    }

private:
    // The host loads "Inputs" into the step's input list, or puts a new list
    // in its place. The pointer handed over carries a reference of its own,
    // so a host that releases what it replaces takes that one, and the list
    // the pointer holds afterwards becomes the step's.
    void loadInputList(IFolderStream* folder) {
        IUnknown* list = m_StepInputs.list();
        if (list) list->AddRef();
        folder->ReadObject(ISCreate(L"Inputs").get(), &list, 0);
        const SmartPtr<IUnknown> loaded = SmartPtr<IUnknown>::adopt(list);
        m_StepInputs.replaceList(loaded.get());
    }

    // The target's pages in a property frame, shown as a pop-up.
    static void openPages(const SmartPtr<IUnknown>& target) {
        if (!target.query<IUIPropertyPageSpecify>()) return;
        auto frame = CreateObject<IUIPropertyPageCollection>(L"UIPropertyPageCollection");
        if (!frame) return;  // no frame, nothing to show
        frame->AddObject(target.get(), kFrameObjectStep);
        if (auto utils = CreateObject<IUIUtils>(L"UIUtils")) {
            utils->ShowPopup(nullptr, frame.get(), kPopupKind, frame.get(), nullptr, kPopupVerbEditorPlacement,
                             kPopupVerbEditorOptions);
        }
    }

    int32_t m_Action = 0;  // the chosen verb's identifier
    bool m_Running = false;
};

extern const ModuleClass gGCUIVerbClass = moduleClassOf<CGCUIVerb>();
