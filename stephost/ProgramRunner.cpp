#include "stephost/ProgramRunner.h"

#include <chrono>
#include <cstdio>
#include <thread>
#include <utility>

#include "host/ClassFactory.h"
#include "host/FolderStream.h"
#include "host/Inputs.h"
#include "host/UserInterface.h"
#include "host/Variants.h"
#include "host/Verbs.h"
#include "host/XmlStream.h"
#include "stephost/ProgramObjects.h"
#include "stephost/ProgramReader.h"

namespace stephost {

namespace {

TraceValue traceValueOf(IVariant* value) {
    TraceValue result;
    if (!value) return result;
    if (value->IsString()) {
        SmartPtr<IString> text;
        value->get_String(text.put());
        result.kind = TraceValue::kText;
        result.text = host::narrow(host::textOf(text.get()));
    } else if (value->get_Type() == 1) {
        result.kind = TraceValue::kInteger;
        result.integer = value->get_Long();
    } else if (value->get_Type() == 2) {
        result.kind = TraceValue::kReal;
        result.real = value->get_Double();
    } else {
        result.kind = value->IsObject() ? TraceValue::kObject : TraceValue::kEmpty;
    }
    return result;
}

std::vector<std::pair<std::string, TraceValue>> parametersOf(IUnknown* step) {
    std::vector<std::pair<std::string, TraceValue>> result;
    SmartPtr<IParameters> parameters = queryInterface<IParameters>(step);
    int32_t count = 0;
    if (!parameters || parameters->get_Count(&count) < 0) return result;
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IString> name;
        parameters->get_ItemName(i, name.put());
        SmartPtr<IVariant> value;
        parameters->get_ItemVariant(i, value.put());
        result.emplace_back(host::narrow(host::textOf(name.get())), traceValueOf(value.get()));
    }
    return result;
}

}  // namespace

ProgramRunner::ProgramRunner(CREATEFUNCTIONFUNCTION create, ProgramTrace* trace, host::ComponentCollection* components)
    : m_Create(create), m_Trace(trace), m_Components(components), m_Objects(host::make<host::SuperCollection>()) {}

ProgramRunner::~ProgramRunner() = default;

bool ProgramRunner::setParameter(IUnknown* step, const ProgramSetting& setting, std::string& error) {
    SmartPtr<IParameters> parameters = queryInterface<IParameters>(step);
    int32_t index = -1;
    if (host::setParametricSetting(step, setting.name, programValue(setting.value).get())) return true;
    // A step whose parameters the user defines takes the ones the file gives.
    SmartPtr<IParametersCreatable> creatable = queryInterface<IParametersCreatable>(step);
    if (creatable && (creatable->get_Index(host::makeString(setting.name).get(), &index) < 0 || index < 0)) {
        return creatable->Add(host::makeString(setting.name).get(), programValue(setting.value).get(), nullptr, 0) >= 0;
    }
    if (!parameters || parameters->get_Index(host::makeString(setting.name).get(), &index) < 0 || index < 0) {
        error = programError(setting.line, "the step has no parameter \"" + shown(host::narrow(setting.name)) + "\"");
        return false;
    }
    parameters->put_Item(index, programValue(setting.value).get());
    return true;
}

bool ProgramRunner::bindInput(IUnknown* step, const ProgramBinding& binding, std::string& error) {
    int32_t objectIndex = -1;
    if (m_Objects->get_Index(host::makeString(binding.object).get(), &objectIndex) < 0 || objectIndex < 0) {
        error = programError(binding.line, "no object is named \"" + shown(host::narrow(binding.object)) + "\"");
        return false;
    }
    // The input list is the host's own object; its inputs are found by name.
    SmartPtr<IInputParameters> inputs = queryInterface<IInputParameters>(step);
    auto* list = dynamic_cast<host::InputParameters*>(inputs.get());
    SmartPtr<host::InputParameter> input = list ? list->input(binding.input) : nullptr;
    if (!input) {
        error = programError(binding.line, "the step has no input \"" + shown(host::narrow(binding.input)) + "\"");
        return false;
    }
    input->put_Object(host::make<host::CollectionMoniker>(binding.object).query<IUnknown>().get());
    if (binding.hasItemName) input->put_ItemName(host::makeString(binding.itemName).get());
    input->put_ItemIndex(binding.itemIndex);
    return true;
}

void ProgramRunner::bindToObjects(IUnknown* step) const {
    if (SmartPtr<IBindableObject> bindable = queryInterface<IBindableObject>(step)) {
        bindable->Bind(static_cast<INamedCollection*>(m_Objects.get()), nullptr);
    }
}

// Reloaded steps keep the titles of the steps they replace, which no stream holds.
void ProgramRunner::replaceSteps(std::vector<Step> loaded) {
    for (size_t i = 0; i < loaded.size() && i < m_Steps.size(); ++i) loaded[i].title = m_Steps[i].title;
    m_Steps.swap(loaded);
}

bool ProgramRunner::build(const ProgramFile& program, std::string& error) {
    for (const ProgramObject& object : program.objects) {
        SmartPtr<IUnknown> made = makeProgramObject(object, m_Objects.get(), error);
        if (!made) return false;
        m_Objects->Add(host::makeString(object.name).get(), made.get(), nullptr, 0);
        m_Labels.push_back(host::narrow(object.name));
        const ObjectKind* kind = findObjectKind(object.kind);
        if (kind && kind->component && m_Components) m_Components->addObject(kind->component, made.get());
    }
    for (const ProgramStep& description : program.steps) {
        SmartPtr<IUnknown> step = host::createModuleObject(m_Create, description.className);
        if (!step) {
            error = programError(description.line,
                                 "the module has no step class \"" + shown(host::narrow(description.className)) + "\"");
            return false;
        }
        for (const ProgramSetting& setting : description.parameters) {
            if (!setParameter(step.get(), setting, error)) return false;
        }
        for (const ProgramBinding& binding : description.inputs) {
            if (!bindInput(step.get(), binding, error)) return false;
        }
        bindToObjects(step.get());
        m_Steps.push_back({description.className, description.title, step});
    }
    return true;
}

void ProgramRunner::traceCalls(const std::vector<std::string>& calls) const {
    for (const std::string& call : calls) {
        const std::string* declared = nullptr;
        for (const std::string& label : m_Labels) {
            if (call.size() > label.size() && call.compare(0, label.size(), label) == 0 && call[label.size()] == '.') {
                declared = &label;
                break;
            }
        }
        const size_t dot = declared ? declared->size() : call.find('.');
        if (dot == std::string::npos) {
            m_Trace->hostCall("", call, false);
        } else {
            m_Trace->hostCall(call.substr(0, dot), call.substr(dot + 1), declared != nullptr);
        }
    }
}

size_t ProgramRunner::run(const std::atomic<bool>& interrupted) {
    size_t failures = 0;
    const bool recording = host::Recorder::enabled();
    host::Recorder::setEnabled(true);
    for (size_t i = 0; i < m_Steps.size(); ++i) {
        const Step& step = m_Steps[i];
        SmartPtr<IStep> runnable = queryInterface<IStep>(step.object.get());
        if (!runnable) continue;
        const auto before = parametersOf(step.object.get());
        host::Recorder::clear();
        if (m_Trace) m_Trace->stepStarts(i + 1, host::narrow(step.className), host::narrow(step.title));
        HRESULT result = runnable->TurnOn();
        bool stopped = false;
        while (runnable->IsRunning()) {
            if (interrupted.load() && !stopped) {
                runnable->TurnOff();
                stopped = true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        double milliseconds = 0;
        runnable->get_ExecutionTime(&milliseconds);
        failures += result < 0;
        if (m_Trace) {
            traceCalls(host::Recorder::take());
            const auto after = parametersOf(step.object.get());
            for (size_t p = 0; p < after.size(); ++p) {
                if (p >= before.size() || before[p] != after[p])
                    m_Trace->parameterWritten(after[p].first, after[p].second);
            }
            m_Trace->stepEnds(result, milliseconds, stopped);
        }
        if (interrupted.load()) break;
    }
    host::Recorder::setEnabled(recording);
    return failures;
}

// A step's own XML holds its parameters only; the host keeps its input
// bindings beside it: <Step><GCUIRefresh>...</GCUIRefresh><Inputs>...</Inputs></Step>.
std::string ProgramRunner::saveXml() const {
    SmartPtr<host::XmlStream> document = host::XmlStream::create(L"Program");
    const SmartPtr<IString> stepElement = host::makeString(L"Step");
    const SmartPtr<IString> inputsElement = host::makeString(L"Inputs");
    for (const Step& step : m_Steps) {
        SmartPtr<IDataPersist> persist = queryInterface<IDataPersist>(step.object.get());
        if (!persist) continue;
        document->BeginElement(stepElement.get(), 0, 0);
        if (document->BeginObject(step.object.get(), 0, 0) >= 0) {
            persist->Save(document.get(), 0);
            document->EndElement();
        }
        if (SmartPtr<IDataPersist> inputs =
                queryInterface<IDataPersist>(queryInterface<IInputParameters>(step.object.get()).get())) {
            document->BeginElement(inputsElement.get(), 0, 0);
            inputs->Save(document.get(), 0);
            document->EndElement();
        }
        document->EndElement();
    }
    return document->save();
}

std::string ProgramRunner::saveFolder() const {
    SmartPtr<host::FolderStream> root = host::make<host::FolderStream>();
    for (size_t i = 0; i < m_Steps.size(); ++i) {
        root->WriteObject(host::makeString(L"Step" + std::to_wstring(i + 1)).get(), m_Steps[i].object.get(), 0);
    }
    return root->save();
}

bool ProgramRunner::loadXml(const std::string& text, std::string& error) {
    SmartPtr<host::XmlStream> document = host::XmlStream::parse(text, &error);
    if (!document) return false;
    std::vector<Step> loaded;
    tagREFString name = {0, nullptr};
    while (document->NextElement(&name) >= 0) {
        SmartPtr<IXMLStream> holder;
        if (document->OpenElement(name.count, name.text, nullptr, holder.put(), 1) < 0 || !holder) continue;
        // The first child is the step, named after its class; "Inputs" follows.
        tagREFString className = {0, nullptr};
        SmartPtr<IXMLStream> element;
        SmartPtr<IUnknown> step;
        if (holder->NextElement(&className) < 0 ||
            holder->OpenElement(className.count, className.text, nullptr, element.put(), 1) < 0 ||
            element->CreateElementObject(className.count, className.text, step.put()) < 0 || !step) {
            error =
                "cannot re-create a step of class " +
                host::narrow(std::wstring(className.text ? className.text : L"", static_cast<size_t>(className.count)));
            return false;
        }
        const std::wstring stepClass(className.text, static_cast<size_t>(className.count));
        SmartPtr<IXMLStream> inputs;
        if (holder->OpenElement(6, L"Inputs", nullptr, inputs.put(), 0) >= 0 && inputs) {
            if (SmartPtr<IDataPersist> list =
                    queryInterface<IDataPersist>(queryInterface<IInputParameters>(step.get()).get())) {
                list->Load(inputs.get(), 0);
            }
        }
        bindToObjects(step.get());
        loaded.push_back({stepClass, std::wstring(), step});
    }
    replaceSteps(std::move(loaded));
    return true;
}

bool ProgramRunner::loadFolder(const std::string& text, std::string& error) {
    SmartPtr<host::FolderStream> root = host::make<host::FolderStream>();
    if (!root->load(text, &error)) return false;
    std::vector<Step> loaded;
    for (const std::wstring& name : root->names()) {
        SmartPtr<IUnknown> step;
        if (root->ReadObject(host::makeString(name).get(), step.put(), 0) < 0 || !step) {
            error = "cannot re-create the step stored as " + host::narrow(name) + " (" +
                    host::narrow(root->classOf(name)) + ")";
            return false;
        }
        bindToObjects(step.get());
        loaded.push_back({root->classOf(name), std::wstring(), step});
    }
    replaceSteps(std::move(loaded));
    return true;
}

}  // namespace stephost
