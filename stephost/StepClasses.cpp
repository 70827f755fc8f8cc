#include "stephost/StepClasses.h"

#include <cstdio>
#include <cwchar>

#include "host/ClassFactory.h"
#include "host/Collections.h"
#include "host/Inputs.h"
#include "host/Variants.h"

namespace stephost {

const wchar_t* const kStepClassNames[14] = {
    L"GCUIActivate", L"GCUIButtonSelect", L"GCUIConfirm",  L"GCUIEdit",      L"GCUIInput",
    L"GCUIMessage",  L"GCUIPointer",      L"GCUIPropRead", L"GCUIPropWrite", L"GCUIRefresh",
    L"GCUIScroll",   L"GCTabGetSelected", L"GCTabSelect",  L"GCUIVerb",
};

namespace {

struct NamedInterface {
    const char* name;
    IID iid;
};

// Every interface the module and its host declare (runtime/Interfaces.h).
#define NAMED(Name) \
    NamedInterface { #Name, IID_##Name }
const NamedInterface kInterfaces[] = {
    NAMED(IString),
    NAMED(ICreatableString),
    NAMED(IVariant),
    NAMED(ISimpleCollection),
    NAMED(INamedCollection),
    NAMED(ISuperCollection),
    NAMED(IComponentCollection),
    NAMED(IComponentString),
    NAMED(IStringTable),
    NAMED(IRegistry),
    NAMED(IRegistryEx),
    NAMED(IInputParameters),
    NAMED(IInputParameter),
    NAMED(ICollectionMoniker),
    NAMED(IDataStream),
    NAMED(IDataPersist),
    NAMED(IFolderStream),
    NAMED(IXMLStream),
    NAMED(ICSVStream),
    NAMED(IFileArchive),
    NAMED(IWorkspace),
    NAMED(IActivatableObject),
    NAMED(IButton),
    NAMED(IButtonCollection),
    NAMED(IConfirmationWindow),
    NAMED(IEventSource),
    NAMED(IHostWindow),
    NAMED(IMessageWindow),
    NAMED(IPasswordAccess),
    NAMED(IRecentStringCollection),
    NAMED(IRenderableObject),
    NAMED(IRenderableObjectEntity),
    NAMED(ISmartViewer),
    NAMED(ITabCollection),
    NAMED(IToolbar),
    NAMED(IToolbarHost),
    NAMED(IToolbarItem),
    NAMED(IUIFileArchive),
    NAMED(IUIKeyboard),
    NAMED(IUIKeyboardInput),
    NAMED(IUIMouseInput),
    NAMED(IUINode),
    NAMED(IUIPopupCollection),
    NAMED(IUIPropInterrogate),
    NAMED(IUIPropInterrogateEx),
    NAMED(IUIPropertyPageCollection),
    NAMED(IUIRefreshableObject),
    NAMED(IUIScrollableObject),
    NAMED(IUIUtils),
    NAMED(IUIVerb),
    NAMED(IUIVerbCollection),
    NAMED(IWindow),
    NAMED(IWindowCollection),
    NAMED(IObjectInfo),
    NAMED(IStep),
    NAMED(IParameters),
    NAMED(IParametersCreatable),
    NAMED(IBindableObject),
    NAMED(IReplicableObject),
    NAMED(IUIPropertyPageSpecify),
    NAMED(IParametricObject),
    NAMED(IUIVerbCollectionSpecify),
    NAMED(_IConfirmationEvent),
    NAMED(_IUIKeyboardEvents),
    NAMED(_IUIFileArchiveEvents),
    NAMED(_IUIPropFrameEvents),
};
#undef NAMED

// The interfaces a host asks a step for, in the order `describe` lists them.
const char* const kStepFaces[] = {
    "IObjectInfo",
    "IStep",
    "IParameters",
    "IParametersCreatable",
    "IDataPersist",
    "IBindableObject",
    "IReplicableObject",
    "IInputParameters",
    "IUIPropertyPageSpecify",
    "IParametricObject",
    "IUIVerbCollectionSpecify",
    "_IConfirmationEvent",
    "_IUIKeyboardEvents",
    "_IUIFileArchiveEvents",
    "_IUIPropFrameEvents",
};

const IID* iidNamed(const char* name) {
    for (const NamedInterface& entry : kInterfaces) {
        if (std::string(entry.name) == name) return &entry.iid;
    }
    return nullptr;
}

bool sameName(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        const auto fold = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
        if (fold(a[i]) != fold(b[i])) return false;
    }
    return true;
}

std::string text(IString* string) { return host::narrow(host::textOf(string)); }

// "A|B|C" as its entries; the entries of a collection by their names.
std::vector<std::string> choicesOf(IUnknown* descriptor) {
    std::vector<std::string> choices;
    if (SmartPtr<IString> list = queryInterface<IString>(descriptor)) {
        const std::string all = text(list.get());
        for (size_t at = 0;;) {
            const size_t bar = all.find('|', at);
            choices.push_back(all.substr(at, bar == std::string::npos ? std::string::npos : bar - at));
            if (bar == std::string::npos) break;
            at = bar + 1;
        }
    } else if (SmartPtr<INamedCollection> named = queryInterface<INamedCollection>(descriptor)) {
        int32_t count = 0;
        named->get_Count(&count);
        for (int32_t i = 0; i < count; ++i) {
            SmartPtr<IString> name;
            named->get_ItemName(i, name.put());
            choices.push_back(text(name.get()));
        }
    }
    return choices;
}

void readParameters(IParameters* parameters, bool parametric, std::vector<DeclaredParameter>& into) {
    int32_t count = 0;
    if (!parameters || FAILED(parameters->get_Count(&count))) return;
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IString> name;
        SmartPtr<IVariant> value;
        SmartPtr<IUnknown> descriptor;
        DeclaredParameter parameter;
        if (FAILED(parameters->Iterate(i, name.put(), value.put(), descriptor.put(), &parameter.flags))) continue;
        parameter.name = text(name.get());
        parameter.value = traceValueOf(value.get());
        if (parameter.flags & 0x40) parameter.choices = choicesOf(descriptor.get());
        parameter.parametric = parametric;
        into.push_back(std::move(parameter));
    }
}

}  // namespace

std::vector<std::string> stepClassNames() {
    std::vector<std::string> names;
    for (const wchar_t* name : kStepClassNames) names.push_back(host::narrow(name));
    return names;
}

std::string interfaceName(const IID& iid) {
    if (iid == IID_NULL || iid == IID_IUnknown) return "any interface";
    for (const NamedInterface& entry : kInterfaces) {
        if (entry.iid == iid) return entry.name;
    }
    std::string hex;
    char byte[3];
    for (uint32_t word : iid.words) {
        for (int shift = 0; shift < 32; shift += 8) {
            std::snprintf(byte, sizeof byte, "%02X", (word >> shift) & 0xFF);
            hex += byte;
        }
    }
    return "interface " + hex;
}

const DeclaredParameter* StepClass::parameter(const std::string& wanted) const {
    for (const DeclaredParameter& declared : parameters) {
        if (sameName(declared.name, wanted)) return &declared;
    }
    return nullptr;
}

const DeclaredInput* StepClass::input(const std::string& wanted) const {
    for (const DeclaredInput& declared : inputs) {
        if (declared.name == wanted) return &declared;
    }
    return nullptr;
}

bool describeStepClass(CREATEFUNCTIONFUNCTION create, const std::wstring& className, StepClass& described,
                       std::string& error) {
    SmartPtr<IUnknown> step = host::createModuleObject(create, className);
    if (!step) {
        error = "the module has no step class \"" + host::narrow(className) + "\"";
        return false;
    }
    described = StepClass();
    tagREFString name = {0, nullptr};
    SmartPtr<IObjectInfo> info = queryInterface<IObjectInfo>(step.get());
    described.name =
        info && SUCCEEDED(info->GetName(0, &name)) ? host::narrow(host::textOf(name)) : host::narrow(className);
    for (const char* face : kStepFaces) {
        SmartPtr<IUnknown> answer;
        if (step->QueryInterface(*iidNamed(face), answer.put_void()) == S_OK) described.interfaces.push_back(face);
    }
    // A synchronous step cannot be stopped from outside and says so; an
    // asynchronous one that is not running stops at once with success.
    if (SmartPtr<IStep> runnable = queryInterface<IStep>(step.get())) {
        described.asynchronous = runnable->TurnOff() != E_NOTIMPL;
    }
    described.definedByProgram = static_cast<bool>(queryInterface<IParametersCreatable>(step.get()));
    // The input list is the host's own object, which knows what the step declared on it.
    SmartPtr<IInputParameters> list = queryInterface<IInputParameters>(step.get());
    if (auto* inputs = dynamic_cast<host::InputParameters*>(list.get())) {
        for (const SmartPtr<host::InputParameter>& input : inputs->inputs()) {
            described.inputs.push_back({host::narrow(input->name()), input->iid(), input->flags()});
        }
    }
    SmartPtr<IParameters> parameters = queryInterface<IParameters>(step.get());
    readParameters(parameters.get(), false, described.parameters);
    if (SmartPtr<IParametricObject> parametric = queryInterface<IParametricObject>(step.get())) {
        SmartPtr<INamedCollection> offered;
        if (SUCCEEDED(parametric->GetParameters(offered.put(), 0))) {
            readParameters(offered.query<IParameters>().get(), true, described.parameters);
        }
    }
    SmartPtr<IUIPropertyPageSpecify> specify = queryInterface<IUIPropertyPageSpecify>(step.get());
    SmartPtr<INamedCollection> pages;
    if (specify && SUCCEEDED(specify->GetPages(0, pages.put(), nullptr))) {
        if (auto* list = dynamic_cast<host::SuperCollection*>(pages.get())) {
            for (const host::SuperCollection::Entry& entry : list->entries()) {
                described.pages.push_back({text(queryInterface<IString>(entry.item.get()).get()), entry.hasName,
                                           text(queryInterface<IString>(entry.descriptor.get()).get())});
            }
        }
    }
    return true;
}

std::string kindWord(int32_t flags, bool choices) {
    const int32_t kind = flags & 0x0F;
    if ((flags & 0x40) && choices) return "choice";
    if (kind >= 1 && kind <= 3) return "integer";
    if (kind == 4 || kind == 5) return "number";
    if (kind == 6) return "text";
    if (kind == 7) return "object";
    return "any value";
}

std::string flagWords(int32_t flags, bool choices) {
    std::string words;
    const auto add = [&](const char* word) { words += (words.empty() ? "" : ", ") + std::string(word); };
    const int32_t kind = flags & 0x0F;
    if ((flags & 0x30) && kind == 6) add("a path");
    if ((flags & 0x30) && kind != 6 && (flags & 0xFF) != 0x23) add("a path when it holds text");
    if ((flags & 0xFF) == 0x23) add("a colour");
    if ((flags & 0x40) && !choices) add("a choice, with no list of its own");
    if (flags & 0x100) add("relative to the installation");
    if (flags & 0x400) add("marked 0x400");
    if (flags & 0x40000) add("written by the step");
    if (flags & 0x4000000) add("never stored");
    return words;
}

const StepClass* StepCatalogue::find(const std::wstring& className) {
    const auto known = m_Classes.find(className);
    if (known != m_Classes.end()) return &known->second;
    if (m_Missing.count(className)) return nullptr;
    StepClass described;
    std::string error;
    if (!describeStepClass(m_Create, className, described, error)) {
        m_Missing.emplace(className, true);
        return nullptr;
    }
    return &m_Classes.emplace(className, std::move(described)).first->second;
}

}  // namespace stephost
