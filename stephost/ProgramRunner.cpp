#include "stephost/ProgramRunner.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <utility>

#include "host/ClassFactory.h"
#include "host/FolderStream.h"
#include "host/Inputs.h"
#include "host/UserInterface.h"
#include "host/Variants.h"
#include "host/Verbs.h"
#include "host/XmlStream.h"
#include "stephost/ProgramChecker.h"
#include "stephost/ProgramObjects.h"
#include "stephost/ProgramReader.h"

namespace stephost {

namespace {

std::vector<std::pair<std::string, TraceValue>> parametersOf(IUnknown* step) {
    std::vector<std::pair<std::string, TraceValue>> result;
    SmartPtr<IParameters> parameters = queryInterface<IParameters>(step);
    int32_t count = 0;
    if (!parameters || FAILED(parameters->get_Count(&count))) return result;
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IString> name;
        parameters->get_ItemName(i, name.put());
        SmartPtr<IVariant> value;
        parameters->get_ItemVariant(i, value.put());
        result.emplace_back(host::narrow(host::textOf(name.get())), traceValueOf(value.get()));
    }
    return result;
}

// --- The program file writer ---------------------------------------------------

// Text as XML carries it back exactly: markup characters, carriage returns
// and control characters as references; in an attribute, line ends and tabs
// too, which a reader would otherwise turn into blanks.
std::string escaped(const std::string& text, bool attribute) {
    std::string out;
    for (char c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (c == '&') {
            out += "&amp;";
        } else if (c == '<') {
            out += "&lt;";
        } else if (c == '>') {
            out += "&gt;";
        } else if (c == '"' && attribute) {
            out += "&quot;";
        } else if (byte < 0x20 && (attribute || (c != '\n' && c != '\t'))) {
            out += "&#" + std::to_string(byte) + ";";
        } else {
            out += c;
        }
    }
    // A text of blanks alone would be dropped by a reader as mere layout.
    if (!attribute && !out.empty() && out.find_first_not_of(' ') == std::string::npos) {
        std::string blanks;
        for (size_t i = 0; i < out.size(); ++i) blanks += "&#32;";
        return blanks;
    }
    return out;
}

std::string attributeText(const char* name, const std::wstring& value) {
    return std::string(" ") + name + "=\"" + escaped(host::narrow(value), true) + "\"";
}

// The shortest decimal text that reads back as the same double, with a point
// so that it reads back as a decimal number, not a whole one.
std::string realText(double value) {
    char text[40];
    for (int precision = 1; precision <= 17; ++precision) {
        std::snprintf(text, sizeof text, "%.*g", precision, value);
        if (std::strtod(text, nullptr) == value) break;
    }
    std::string result = text;
    if (result.find_first_of(".en") == std::string::npos) result += ".0";
    return result;
}

void writeObject(std::string& out, const ProgramObject& object, int depth) {
    const std::string indent(static_cast<size_t>(2 * depth), ' ');
    out += indent + "<" + object.kind;
    if (!object.name.empty()) out += attributeText("name", object.name);
    for (const auto& [name, value] : object.attributes) out += attributeText(name.c_str(), value);
    if (object.children.empty()) {
        out += "/>\n";
        return;
    }
    out += ">\n";
    for (const ProgramObject& child : object.children) writeObject(out, child, depth + 1);
    out += indent + "</" + object.kind + ">\n";
}

// A parameter as a program file gives it: a choice by its name, a number,
// or text; an object or nothing cannot be given and is left out.
bool parameterText(const TraceValue& value, int32_t flags, IUnknown* descriptor, std::string& text) {
    if (flags & 0x4000000) return false;    // never stored
    if ((flags & 0x0F) == 7) return false;  // an object, which only a step writes
    switch (value.kind) {
        case TraceValue::kInteger:
            text = std::to_string(value.integer);
            if (SmartPtr<IString> choices = (flags & 0x40) ? queryInterface<IString>(descriptor) : nullptr) {
                const std::string list = "|" + host::narrow(host::textOf(choices.get())) + "|";
                size_t at = 0;
                for (int64_t i = 0; i < value.integer && at != std::string::npos; ++i) at = list.find('|', at + 1);
                const size_t end = at == std::string::npos ? at : list.find('|', at + 1);
                if (value.integer >= 0 && end != std::string::npos && end > at + 1)
                    text = list.substr(at + 1, end - at - 1);
            }
            return true;
        case TraceValue::kReal:
            text = realText(value.real);
            return true;
        case TraceValue::kText:
            text = value.text;
            return true;
        default:
            return false;
    }
}

void writeParameters(std::string& out, IParameters* parameters) {
    int32_t count = 0;
    if (!parameters || FAILED(parameters->get_Count(&count))) return;
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IString> name;
        SmartPtr<IVariant> value;
        SmartPtr<IUnknown> descriptor;
        int32_t flags = 0;
        if (FAILED(parameters->Iterate(i, name.put(), value.put(), descriptor.put(), &flags))) continue;
        std::string text;
        if (!parameterText(traceValueOf(value.get()), flags, descriptor.get(), text)) continue;
        out += "      <parameter" + attributeText("name", host::textOf(name.get())) + ">" + escaped(text, false) +
               "</parameter>\n";
    }
}

}  // namespace

ProgramRunner::ProgramRunner(CREATEFUNCTIONFUNCTION create, ProgramTrace* trace, host::ComponentCollection* components)
    : m_Create(create),
      m_Trace(trace),
      m_Components(components),
      m_Objects(host::make<host::SuperCollection>()),
      m_Catalogue(create) {}

ProgramRunner::~ProgramRunner() = default;

IUnknown* ProgramRunner::object(const std::wstring& name) const {
    const auto found = m_Named.find(name);
    return found == m_Named.end() ? nullptr : found->second.get();
}

void ProgramRunner::setParameter(IUnknown* step, const ProgramSetting& setting) {
    SmartPtr<IVariant> value = setting.as == ProgramSetting::As::Index  ? host::makeVariant(setting.index)
                               : setting.as == ProgramSetting::As::Text ? host::makeVariant(setting.value)
                                                                        : programValue(setting.value);
    if (host::setParametricSetting(step, setting.name, value.get())) return;
    int32_t index = -1;
    SmartPtr<IParameters> parameters = queryInterface<IParameters>(step);
    // A step whose parameters the user defines takes the ones the file gives.
    SmartPtr<IParametersCreatable> creatable = queryInterface<IParametersCreatable>(step);
    if (creatable && (FAILED(creatable->get_Index(host::makeString(setting.name).get(), &index)) || index < 0)) {
        creatable->Add(host::makeString(setting.name).get(), value.get(), nullptr, 0);
    } else if (parameters && SUCCEEDED(parameters->get_Index(host::makeString(setting.name).get(), &index)) &&
               index >= 0) {
        parameters->put_Item(index, value.get());
    }
}

void ProgramRunner::bindInput(IUnknown* step, const ProgramBinding& binding) {
    // The input list is the host's own object; its inputs are found by name.
    SmartPtr<IInputParameters> inputs = queryInterface<IInputParameters>(step);
    auto* list = dynamic_cast<host::InputParameters*>(inputs.get());
    SmartPtr<host::InputParameter> input = list ? list->input(binding.input) : nullptr;
    if (!input) return;
    input->put_Object(host::make<host::CollectionMoniker>(binding.object).query<IUnknown>().get());
    if (binding.hasItemName) input->put_ItemName(host::makeString(binding.itemName).get());
    input->put_ItemIndex(binding.itemIndex);
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

bool ProgramRunner::buildObjects(const ProgramFile& program, std::string& error) {
    for (const ProgramObject& object : program.objects) {
        SmartPtr<IUnknown> made = makeProgramObject(object, m_Objects.get(), error);
        if (!made) return false;
        m_Objects->Add(host::makeString(object.name).get(), made.get(), nullptr, 0);
        m_Named.emplace(object.name, made);
        m_Order.push_back(object.name);
        m_Labels.insert(host::narrow(object.name));
        const ObjectKind* kind = findObjectKind(object.kind);
        if (kind && kind->component && m_Components) m_Components->addObject(kind->component, made.get());
    }
    return true;
}

bool ProgramRunner::buildSteps(ProgramFile& program, std::vector<ProgramProblem>& problems, bool strict) {
    problems = program.problems;
    checkProgram(
        program, m_Catalogue, [this](const std::wstring& name) { return object(name); }, problems);
    for (const ProgramProblem& problem : problems) {
        if (!problem.warning || strict) return false;
    }
    for (const ProgramStep& description : program.steps) {
        SmartPtr<IUnknown> step = host::createModuleObject(m_Create, description.className);
        if (!step) {
            problems.push_back({description.line, "the module cannot make a step of class \"" +
                                                      shown(host::narrow(description.className)) + "\""});
            return false;
        }
        for (const ProgramSetting& setting : description.parameters) setParameter(step.get(), setting);
        for (const ProgramBinding& binding : description.inputs) bindInput(step.get(), binding);
        bindToObjects(step.get());
        m_Steps.push_back({description.className, description.title, step});
    }
    return true;
}

bool ProgramRunner::build(ProgramFile& program, std::string& error) {
    if (!buildObjects(program, error)) return false;
    std::vector<ProgramProblem> problems;
    if (buildSteps(program, problems)) return true;
    for (const ProgramProblem& problem : problems) {
        if (!problem.warning) {
            error = programError(problem.line, problem.text);
            break;
        }
    }
    return false;
}

void ProgramRunner::asked(const host::OperatorQuestion& question) {
    if (question.step > 0) {
        std::lock_guard<std::mutex> lock(m_AskedMutex);
        m_Asked.insert(static_cast<size_t>(question.step));
    }
    if (m_Trace) m_Trace->asked(question);
}

void ProgramRunner::replied(const host::OperatorQuestion& question, const std::wstring& reply, bool answered,
                            const std::string& why) {
    if (m_Trace) m_Trace->replied(question, reply, answered, why);
}

void ProgramRunner::traceCalls() {
    for (host::Recorder::Entry& entry : host::Recorder::takeEntries()) {
        if (!m_Trace) continue;
        const std::string& call = entry.call;
        const size_t number = entry.cause > 0 ? static_cast<size_t>(entry.cause) : 0;
        // The label of a declared object the call starts with ("Desk" of
        // "Desk.Plot.SendMouse(...)", a window of the workspace Desk).
        size_t dot = std::string::npos;
        bool declared = false;
        for (size_t at = call.find('.'); at != std::string::npos && !declared; at = call.find('.', at + 1)) {
            declared = m_Labels.count(call.substr(0, at)) != 0;
            dot = at;
        }
        if (!declared) dot = call.find('.');
        if (dot == std::string::npos) {
            m_Trace->hostCall(number, "", call, false, entry.at);
        } else {
            m_Trace->hostCall(number, call.substr(0, dot), call.substr(dot + 1), declared, entry.at);
        }
    }
}

void ProgramRunner::traceWrites(size_t number, Parameters& before) {
    const Parameters after = parametersOf(m_Steps[number - 1].object.get());
    for (size_t p = 0; p < after.size(); ++p) {
        if (p >= before.size() || before[p] != after[p]) {
            if (m_Trace) m_Trace->parameterWritten(number, after[p].first, after[p].second);
        }
    }
    before = after;
}

void ProgramRunner::traceLateWrites(size_t running) {
    std::set<size_t> asked;
    {
        std::lock_guard<std::mutex> lock(m_AskedMutex);
        asked = m_Asked;
    }
    for (size_t number : asked) {
        if (number == running || number > m_Steps.size()) continue;
        auto seen = m_Seen.find(number);
        if (seen != m_Seen.end()) traceWrites(number, seen->second);
    }
}

std::string ProgramRunner::whyFailed(const Step& step) const {
    SmartPtr<IInputParameters> list = queryInterface<IInputParameters>(step.object.get());
    auto* inputs = dynamic_cast<host::InputParameters*>(list.get());
    if (!inputs) return "";
    for (const SmartPtr<host::InputParameter>& input : inputs->inputs()) {
        const IID wanted = input->iid();
        if (wanted == IID_NULL || wanted == IID_IUnknown) continue;
        const std::string name = "input " + host::narrow(input->name());
        SmartPtr<IUnknown> bound;
        input->get_Object(bound.put());
        SmartPtr<ICollectionMoniker> moniker = queryInterface<ICollectionMoniker>(bound.get());
        auto* named = dynamic_cast<host::CollectionMoniker*>(moniker.get());
        if (!bound) return name + " is bound to nothing";
        const std::wstring objectName = named ? named->name() : std::wstring();
        IUnknown* target = named ? object(objectName) : bound.get();
        if (!target) return name + " names \"" + host::narrow(objectName) + "\", which the program does not declare";
        if (!offersInterface(target, wanted)) {
            return name + " is bound to \"" + host::narrow(objectName) + "\", which offers no " + interfaceName(wanted);
        }
    }
    return "";
}

size_t ProgramRunner::run(const std::atomic<bool>& interrupted) {
    size_t failures = 0;
    m_WasRecording = host::Recorder::enabled();
    // Recording goes on until finish(): the operator's threads may still act.
    host::Recorder::setEnabled(true);
    host::Recorder::clear();
    if (m_Trace && m_Trace->wantsScreens()) m_Trace->screenAfter(0, screenState());
    for (size_t i = 0; i < m_Steps.size(); ++i) {
        const size_t number = i + 1;
        const Step& step = m_Steps[i];
        SmartPtr<IStep> runnable = queryInterface<IStep>(step.object.get());
        if (!runnable) continue;
        Parameters before = parametersOf(step.object.get());
        host::Recorder::setCause(static_cast<int>(number));
        if (m_Trace) {
            m_Trace->stepStarts(number, host::narrow(step.className), host::narrow(step.title));
            m_Trace->stepReads(number, before);
        }
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
        failures += FAILED(result);
        // A confirmation whose step has ended is not recorded any more: nobody
        // is to answer it.
        host::Operator::current().closeQuestions(static_cast<int>(number), "confirm",
                                                 "its step has ended, so a later answer would not be recorded");
        if (m_Trace) {
            traceCalls();
            traceWrites(number, before);
            traceLateWrites(number);
            m_Trace->stepEnds(number, result, milliseconds, stopped, FAILED(result) ? whyFailed(step) : "");
            if (m_Trace->wantsScreens()) m_Trace->screenAfter(number, screenState());
        }
        host::Recorder::setCause(0);
        // An asynchronous step's window may be answered after it ended, and
        // the answer written then.
        const StepClass* described = m_Catalogue.find(step.className);
        if (described && described->asynchronous) m_Seen[number] = std::move(before);
        if (interrupted.load()) break;
    }
    return failures;
}

host::ScreenState ProgramRunner::screenState() const {
    std::vector<std::pair<std::string, IUnknown*>> objects;
    std::vector<SmartPtr<IUnknown>> held;
    held.reserve(2);
    for (const std::wstring& name : m_Order) objects.emplace_back(host::narrow(name), object(name));
    // The host's own screen and workspace, unless the program declares its own.
    for (const wchar_t* component : {L"GlobalWindowCollection", L"ActiveWorkspace"}) {
        held.push_back(m_Components ? m_Components->object(component) : nullptr);
        objects.emplace_back(host::narrow(component), held.back().get());
    }
    return host::screenStateOf(objects);
}

void ProgramRunner::finish() {
    traceCalls();
    traceLateWrites(0);
    host::Recorder::setEnabled(m_WasRecording);
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
        if (SUCCEEDED(document->BeginObject(step.object.get(), 0, 0))) {
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

// Each step is written into a stream of its own, whose text (without its
// first line) is the step's entry in the text of the whole: a program of many
// steps never stands whole in memory as a stream.
std::string ProgramRunner::saveFolder() const {
    std::string text = host::make<host::FolderStream>()->save();
    for (size_t i = 0; i < m_Steps.size(); ++i) {
        SmartPtr<host::FolderStream> root = host::make<host::FolderStream>();
        root->WriteObject(host::makeString(L"Step" + std::to_wstring(i + 1)).get(), m_Steps[i].object.get(), 0);
        const std::string entry = root->save();
        text.append(entry, entry.find('\n') + 1, std::string::npos);
    }
    return text;
}

std::string ProgramRunner::saveProgram(const ProgramFile& program) const {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<program" + attributeText("name", program.name) +
                      ">\n  <objects>\n";
    for (const ProgramObject& object : program.objects) writeObject(out, object, 2);
    out += "  </objects>\n  <steps>\n";
    for (const Step& step : m_Steps) {
        out += "    <step" + attributeText("class", step.className);
        if (!step.title.empty()) out += attributeText("title", step.title);
        out += ">\n";
        writeParameters(out, queryInterface<IParameters>(step.object.get()).get());
        if (SmartPtr<IParametricObject> parametric = queryInterface<IParametricObject>(step.object.get())) {
            SmartPtr<INamedCollection> offered;
            if (SUCCEEDED(parametric->GetParameters(offered.put(), 0))) {
                writeParameters(out, offered.query<IParameters>().get());
            }
        }
        SmartPtr<IInputParameters> list = queryInterface<IInputParameters>(step.object.get());
        if (auto* inputs = dynamic_cast<host::InputParameters*>(list.get())) {
            for (const SmartPtr<host::InputParameter>& input : inputs->inputs()) {
                SmartPtr<IUnknown> bound;
                input->get_Object(bound.put());
                SmartPtr<ICollectionMoniker> moniker = queryInterface<ICollectionMoniker>(bound.get());
                auto* named = dynamic_cast<host::CollectionMoniker*>(moniker.get());
                if (!named) continue;
                out += "      <input" + attributeText("name", input->name()) + attributeText("object", named->name());
                SmartPtr<IString> item;
                if (SUCCEEDED(input->get_ItemName(item.put())) && item) {
                    out += attributeText("item", host::textOf(item.get()));
                }
                int32_t index = -1;
                input->get_ItemIndex(&index);
                if (index != -1) out += " index=\"" + std::to_string(index) + "\"";
                out += "/>\n";
            }
        }
        out += "    </step>\n";
    }
    out += "  </steps>\n  <operator>\n";
    for (const host::OperatorAction& action : program.operatorScript) {
        out += "    <" + action.kind;
        if (action.delayMs != 0) out += " delay=\"" + std::to_string(action.delayMs) + "\"";
        out += ">" + escaped(host::narrow(action.value), false) + "</" + action.kind + ">\n";
    }
    return out + "  </operator>\n</program>\n";
}

bool ProgramRunner::loadXml(const std::string& text, std::string& error) {
    SmartPtr<host::XmlStream> document = host::XmlStream::parse(text, &error);
    if (!document) return false;
    std::vector<Step> loaded;
    tagREFString name = {0, nullptr};
    while (SUCCEEDED(document->NextElement(&name))) {
        SmartPtr<IXMLStream> holder;
        if (FAILED(document->OpenElement(name.count, name.text, nullptr, holder.put(), 1)) || !holder) continue;
        // The first child is the step, named after its class; "Inputs" follows.
        tagREFString className = {0, nullptr};
        SmartPtr<IXMLStream> element;
        SmartPtr<IUnknown> step;
        if (FAILED(holder->NextElement(&className)) ||
            FAILED(holder->OpenElement(className.count, className.text, nullptr, element.put(), 1)) ||
            FAILED(element->CreateElementObject(className.count, className.text, step.put())) || !step) {
            error =
                "cannot re-create a step of class " +
                host::narrow(std::wstring(className.text ? className.text : L"", static_cast<size_t>(className.count)));
            return false;
        }
        const std::wstring stepClass(className.text, static_cast<size_t>(className.count));
        SmartPtr<IXMLStream> inputs;
        if (SUCCEEDED(holder->OpenElement(6, L"Inputs", nullptr, inputs.put(), 0)) && inputs) {
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

// Each step's entry (its lines from one at the left margin to the next) is
// read as a stream of its own and let go once the step is made from it, so
// that a stream of many steps never stands whole in memory.
bool ProgramRunner::forEachStoredStep(const std::string& text, std::string& error,
                                      const std::function<void(Step step)>& made) const {
    const std::string header = host::make<host::FolderStream>()->save();
    if (text.compare(0, header.size(), header) != 0) {
        host::make<host::FolderStream>()->load(text, &error);
        if (error.empty()) error = "line 1: not a folder stream";
        return false;
    }
    std::unordered_set<std::wstring> names;
    int line = 2;  // of the entry's first line
    for (size_t at = header.size(); at < text.size();) {
        size_t end = text.find('\n', at);
        // An entry that holds others ends with the "}" at the margin.
        if (end != std::string::npos && end > at && text[end - 1] == '{') end = text.find("\n}\n", end - 1) + 2;
        end = end == std::string::npos || end < at ? text.size() : end + 1;
        SmartPtr<host::FolderStream> root = host::make<host::FolderStream>();
        if (!root->load(header + text.substr(at, end - at), &error)) {
            // "line N: why" of the entry's own text, told as the whole text's line.
            const int within = std::atoi(error.c_str() + error.find(' ') + 1);
            error = "line " + std::to_string(within + line - 2) + error.substr(error.find(':'));
            return false;
        }
        line += static_cast<int>(std::count(text.begin() + static_cast<std::ptrdiff_t>(at),
                                            text.begin() + static_cast<std::ptrdiff_t>(end), '\n'));
        at = end;
        for (const std::wstring& name : root->names()) {
            SmartPtr<IUnknown> step;
            if (!names.insert(name).second) {
                error = "the name \"" + host::narrow(name) + "\" appears twice";
                return false;
            }
            if (FAILED(root->ReadObject(host::makeString(name).get(), step.put(), 0)) || !step) {
                error = "cannot re-create the step stored as " + host::narrow(name) + " (" +
                        host::narrow(root->classOf(name)) + ")";
                return false;
            }
            bindToObjects(step.get());
            made({root->classOf(name), std::wstring(), step});
        }
    }
    return true;
}

bool ProgramRunner::loadFolder(const std::string& text, std::string& error) {
    std::vector<Step> loaded;
    if (!forEachStoredStep(text, error, [&](Step step) { loaded.push_back(std::move(step)); })) return false;
    replaceSteps(std::move(loaded));
    return true;
}

bool ProgramRunner::resaveFolder(const std::string& text, std::string& saved, size_t& steps, std::string& error) const {
    saved = host::make<host::FolderStream>()->save();
    steps = 0;
    return forEachStoredStep(text, error, [&](Step step) {
        SmartPtr<host::FolderStream> root = host::make<host::FolderStream>();
        root->WriteObject(host::makeString(L"Step" + std::to_wstring(++steps)).get(), step.object.get(), 0);
        const std::string entry = root->save();
        saved.append(entry, entry.find('\n') + 1, std::string::npos);
    });
}

}  // namespace stephost
