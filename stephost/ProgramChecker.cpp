#include "stephost/ProgramChecker.h"

#include <cwchar>
#include <cwctype>
#include <unordered_map>

#include "host/HostObject.h"
#include "host/Operator.h"

namespace stephost {

namespace {

std::string quoted(const std::wstring& text) { return "\"" + shown(host::narrow(text)) + "\""; }

bool sameLetters(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        const auto fold = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
        if (fold(a[i]) != fold(b[i])) return false;
    }
    return true;
}

bool decimalNumber(const std::wstring& text) {
    wchar_t* end = nullptr;
    std::wcstod(text.c_str(), &end);
    return !text.empty() && *end == L'\0' && !std::iswspace(static_cast<wint_t>(text[0]));
}

// The window kinds of the steps that ask the operator, by what each step
// declares: the Confirmation step's Style buttons, the Input step's Type.
int32_t confirmationStyleWord(int32_t style) {
    return style == 1 ? kConfirmOkCancel : style == 2 ? kConfirmYesNo : kConfirmOk;
}

int32_t keyboardMode(int32_t type) {
    switch (type) {
        case 1:
        case 2:
            return kKeyboardMaskedText;
        case 3:
            return kKeyboardInteger;
        case 4:
            return kKeyboardDecimal;
        default:
            return kKeyboardText;
    }
}

class Checker {
public:
    Checker(ProgramFile& program, StepCatalogue& catalogue, const ObjectFinder& objectNamed,
            std::vector<ProgramProblem>& problems)
        : m_Program(program), m_Catalogue(catalogue), m_ObjectNamed(objectNamed), m_Problems(problems) {
        for (const ProgramObject& object : program.objects) m_Declared.emplace(object.name, &object);
    }

    void run() {
        std::vector<std::vector<host::OperatorQuestion>> asked(4);  // confirm, keyboard, file, editor
        for (size_t i = 0; i < m_Program.steps.size(); ++i) {
            ProgramStep& step = m_Program.steps[i];
            const StepClass* described = m_Catalogue.find(step.className);
            if (!described) {
                error(step.line, "the module has no step class " + quoted(step.className) + "; the nearest are " +
                                     nearestFirst(host::narrow(step.className), stepClassNames(), 3) +
                                     " (stephost describe tells them all)");
                continue;
            }
            for (const ProgramBinding& binding : step.inputs) checkBinding(*described, binding);
            for (ProgramSetting& setting : step.parameters) checkSetting(*described, step, setting);
            checkItems(*described, step);
            questionsOf(*described, step, i + 1, asked);
        }
        checkAnswers(asked);
    }

private:
    void error(int line, const std::string& text) { m_Problems.push_back({line, text, false}); }
    void warning(int line, const std::string& text) { m_Problems.push_back({line, text, true}); }

    const ProgramObject* declared(const std::wstring& name) const {
        const auto found = m_Declared.find(name);
        return found == m_Declared.end() ? nullptr : found->second;
    }

    std::vector<std::string> objectNames() const {
        std::vector<std::string> names;
        for (const ProgramObject& object : m_Program.objects) names.push_back(host::narrow(object.name));
        return names;
    }

    // The declared objects that offer the interface, once per interface.
    const std::string& offering(const IID& iid) {
        const std::string key = interfaceName(iid);
        auto found = m_Offering.find(key);
        if (found != m_Offering.end()) return found->second;
        std::string names;
        size_t count = 0;
        for (const ProgramObject& object : m_Program.objects) {
            if (!offersInterface(m_ObjectNamed(object.name), iid)) continue;
            if (count++ == 8) {
                names += ", ...";
                break;
            }
            names += (names.empty() ? "" : ", ") + host::narrow(object.name);
        }
        return m_Offering.emplace(key, names.empty() ? "none is declared" : "these offer it: " + names).first->second;
    }

    void checkBinding(const StepClass& step, const ProgramBinding& binding) {
        const std::string inputName = host::narrow(binding.input);
        const DeclaredInput* input = step.input(inputName);
        if (!input) {
            std::vector<std::string> names;
            for (const DeclaredInput& declared : step.inputs) names.push_back(declared.name);
            error(binding.line,
                  step.name + " has no input " + quoted(binding.input) + "; " +
                      (names.empty() ? "it has no inputs" : "its inputs are " + nearestFirst(inputName, names)));
            return;
        }
        IUnknown* object = m_ObjectNamed(binding.object);
        if (!object) {
            error(binding.line, "no object is named " + quoted(binding.object) + "; the objects are " +
                                    nearestFirst(host::narrow(binding.object), objectNames()));
            return;
        }
        if (!offersInterface(object, input->iid)) {
            const ProgramObject* what = declared(binding.object);
            error(binding.line, "input " + inputName + " wants " + interfaceName(input->iid) + ", which " +
                                    quoted(binding.object) + (what ? " (<" + what->kind + ">)" : "") +
                                    " does not offer; " + offering(input->iid));
        }
        const ProgramObject* collection = declared(binding.object);
        if (binding.hasItemName && collection && !collection->children.empty() &&
            !child(*collection, binding.itemName)) {
            warning(binding.line, quoted(binding.itemName) + " is no item of " + quoted(binding.object) +
                                      "; its items are " +
                                      nearestFirst(host::narrow(binding.itemName), childNames(*collection)));
        }
        if (binding.itemIndex >= 0 && collection && !collection->children.empty() &&
            static_cast<size_t>(binding.itemIndex) >= collection->children.size()) {
            warning(binding.line, "index " + std::to_string(binding.itemIndex) + " is beyond the " +
                                      std::to_string(collection->children.size()) + " items of " +
                                      quoted(binding.object) + " (0 to " +
                                      std::to_string(collection->children.size() - 1) + ")");
        }
    }

    static const ProgramObject* child(const ProgramObject& object, const std::wstring& name) {
        for (const ProgramObject& inner : object.children) {
            if (inner.name == name) return &inner;
        }
        return nullptr;
    }
    static std::vector<std::string> childNames(const ProgramObject& object) {
        std::vector<std::string> names;
        for (const ProgramObject& inner : object.children) names.push_back(host::narrow(inner.name));
        return names;
    }

    void checkSetting(const StepClass& step, const ProgramStep& program, ProgramSetting& setting) {
        const std::string name = host::narrow(setting.name);
        const DeclaredParameter* parameter = step.parameter(name);
        if (!parameter) {
            if (step.definedByProgram) return;  // the program defines them
            std::vector<std::string> names;
            for (const DeclaredParameter& declared : step.parameters) names.push_back(declared.name);
            error(setting.line,
                  step.name + " has no parameter " + quoted(setting.name) + "; " +
                      (names.empty() ? std::string("it has none") : "its parameters are " + nearestFirst(name, names)));
            return;
        }
        const int32_t flags = parameter->flags;
        const int32_t kind = flags & 0x0F;
        const std::string kindText = parameter->name + " takes ";
        int32_t number = 0;
        if (parameter->parametric && (flags & 0x40) && parameter->choices.empty()) {
            checkVerb(program, setting, *parameter);
            return;
        }
        if ((flags & 0x40) && !parameter->choices.empty()) {
            if (wholeNumber(setting.value, number)) {
                if (number < 0 || static_cast<size_t>(number) >= parameter->choices.size()) {
                    warning(setting.line, parameter->name + " " + std::to_string(number) + " is none of its choices " +
                                              choiceList(*parameter) + "; the step takes it as it is");
                }
                return;
            }
            for (size_t i = 0; i < parameter->choices.size(); ++i) {
                if (sameLetters(parameter->choices[i], host::narrow(setting.value))) {
                    setting.as = ProgramSetting::As::Index;
                    setting.index = static_cast<int32_t>(i);
                    return;
                }
            }
            error(setting.line, quoted(setting.value) + " is no choice of " + parameter->name + "; its choices are " +
                                    choiceList(*parameter) + ", by name or index");
            return;
        }
        if (kind >= 1 && kind <= 3 && !wholeNumber(setting.value, number)) {
            error(setting.line, quoted(setting.value) + " is not a value of " + parameter->name + "; " + kindText +
                                    "a whole number (stephost describe " + step.name + " says what it means)");
        } else if ((kind == 4 || kind == 5) && !decimalNumber(setting.value)) {
            error(setting.line, quoted(setting.value) + " is not a value of " + parameter->name + "; " + kindText +
                                    "a number, such as 12 or 0.5");
        } else if (kind == 6) {
            setting.as = ProgramSetting::As::Text;
        } else if (kind == 7) {
            error(setting.line, parameter->name + " holds an object, which a program file cannot give; " +
                                    "leave it to the step, which writes it");
        }
    }

    static std::string choiceList(const DeclaredParameter& parameter) {
        std::string list;
        for (size_t i = 0; i < parameter.choices.size(); ++i) {
            list += (i ? ", " : "") + std::to_string(i) + " " + parameter.choices[i];
        }
        return list;
    }

    // The bound object's declaration, for the step's first input.
    const ProgramObject* boundTo(const ProgramStep& step, const std::string& input) const {
        for (const ProgramBinding& binding : step.inputs) {
            if (host::narrow(binding.input) == input) return declared(binding.object);
        }
        return nullptr;
    }

    // The Verb step's action: a verb of the bound object, by code or name.
    void checkVerb(const ProgramStep& step, ProgramSetting& setting, const DeclaredParameter& parameter) {
        const ProgramObject* verbs = boundTo(step, "VerbObject");
        std::vector<std::pair<std::wstring, int32_t>> known;
        if (verbs && verbs->kind == "verbs") {
            for (const ProgramObject& verb : verbs->children) {
                int32_t code = 0;
                const std::wstring* text = verb.attribute("code");
                if (text && wholeNumber(*text, code) && !verb.name.empty()) known.emplace_back(verb.name, code);
            }
        }
        std::wstring value = setting.value;
        while (!value.empty() && std::iswspace(static_cast<wint_t>(value.front()))) value.erase(0, 1);
        int32_t code = 0;
        std::string list;
        std::vector<std::string> names;
        for (const auto& [name, verbCode] : known) {
            list += (list.empty() ? "" : ", ") + host::narrow(name) + " " + std::to_string(verbCode);
            names.push_back(host::narrow(name));
        }
        if (wholeNumber(value, code)) {
            bool found = !verbs || verbs->kind != "verbs";
            for (const auto& entry : known) found |= entry.second == code;
            if (!found) {
                warning(setting.line, "the verbs of " + quoted(verbs->name) + " have no code " + std::to_string(code) +
                                          "; they are " + (list.empty() ? "none" : list));
            }
            return;
        }
        for (const auto& [name, verbCode] : known) {
            if (sameLetters(host::narrow(name), host::narrow(value))) {
                setting.as = ProgramSetting::As::Index;
                setting.index = verbCode;
                return;
            }
        }
        error(setting.line, quoted(setting.value) + " is no verb of " +
                                (verbs ? quoted(verbs->name) : std::string("the bound object")) + "; " +
                                parameter.name + " takes a verb's code or name" + (list.empty() ? "" : ": " + list));
    }

    // A setting's whole number as the checker settled it, or `fallback`.
    static int32_t integerSetting(const ProgramStep& step, const char* name, int32_t fallback) {
        int32_t value = fallback;
        for (const ProgramSetting& setting : step.parameters) {
            if (!sameLetters(host::narrow(setting.name), name)) continue;
            if (setting.as == ProgramSetting::As::Index) {
                value = setting.index;
            } else if (!wholeNumber(setting.value, value)) {
                value = fallback;
            }
        }
        return value;
    }

    static const ProgramSetting* setting(const ProgramStep& step, const char* name) {
        const ProgramSetting* found = nullptr;
        for (const ProgramSetting& candidate : step.parameters) {
            if (sameLetters(host::narrow(candidate.name), name)) found = &candidate;
        }
        return found;
    }

    // Buttons, tabs and window names that the bound or active objects lack.
    void checkItems(const StepClass& step, const ProgramStep& program) {
        if (step.name == "GCUIButtonSelect") {
            const ProgramObject* buttons = boundTo(program, "Buttons");
            const ProgramSetting* button = setting(program, "Button");
            if (!buttons || buttons->kind != "buttons" || !button) return;
            int32_t index = 0;
            if (wholeNumber(button->value, index)) {
                if (index >= 0 && static_cast<size_t>(index) >= buttons->children.size()) {
                    warning(button->line, "button " + std::to_string(index) + " is beyond the " +
                                              std::to_string(buttons->children.size()) + " buttons of " +
                                              quoted(buttons->name));
                }
            } else if (!child(*buttons, button->value)) {
                warning(button->line, quoted(buttons->name) + " has no button " + quoted(button->value) +
                                          "; its buttons are " +
                                          nearestFirst(host::narrow(button->value), childNames(*buttons)));
            }
        } else if (step.name == "GCTabSelect") {
            const ProgramObject* tabs = boundTo(program, "TabbedWindows");
            const ProgramSetting* subTab = setting(program, "SubTab");
            if (!tabs || !subTab || program.inputs.empty()) return;
            const ProgramBinding& binding = program.inputs.front();
            const ProgramObject* chosen = binding.hasItemName ? child(*tabs, binding.itemName) : nullptr;
            if (!chosen && binding.itemIndex >= 0 && static_cast<size_t>(binding.itemIndex) < tabs->children.size()) {
                chosen = &tabs->children[static_cast<size_t>(binding.itemIndex)];
            }
            int32_t index = 0;
            if (chosen && chosen->kind == "tabs" && wholeNumber(subTab->value, index) &&
                (index < 0 || static_cast<size_t>(index) >= chosen->children.size())) {
                warning(subTab->line, "SubTab " + std::to_string(index) + " is none of the " +
                                          std::to_string(chosen->children.size()) + " tabs inside " +
                                          quoted(chosen->name));
            }
        } else if (step.name == "GCUIPointer") {
            const ProgramSetting* window = setting(program, "Window Name");
            if (!window || window->value.size() < 2) return;
            const ProgramObject* workspace = nullptr;
            for (const ProgramObject& object : m_Program.objects)
                workspace = object.kind == "workspace" ? &object : workspace;
            if (!workspace) {
                warning(window->line, "no <workspace> is declared, so no window is named " + quoted(window->value) +
                                          "; the event goes to the host's own workspace");
            } else if (!child(*workspace, window->value)) {
                warning(window->line, quoted(workspace->name) + " has no window " + quoted(window->value) +
                                          "; its windows are " +
                                          nearestFirst(host::narrow(window->value), childNames(*workspace)));
            }
        }
    }

    // The question the step's window will put to the operator, by kind:
    // confirm, keyboard, file, editor.
    void questionsOf(const StepClass& step, const ProgramStep& program, size_t number,
                     std::vector<std::vector<host::OperatorQuestion>>& asked) {
        host::OperatorQuestion question;
        size_t kind = 0;
        if (step.name == "GCUIConfirm") {
            question =
                host::OperatorQuestion::confirmation(L"", confirmationStyleWord(integerSetting(program, "Style", 0)));
        } else if (step.name == "GCUIInput") {
            const int32_t type = integerSetting(program, "Type", 0);
            if (type == 7) return;
            kind = type > 4 ? 2 : 1;
            question = type > 4 ? host::OperatorQuestion::fileChooser(L"", L"")
                                : host::OperatorQuestion::keyboard(L"", L"", keyboardMode(type));
        } else if (step.name == "GCUIEdit" && !boundTo(program, "OptionalViewer")) {
            kind = 3;
            question = host::OperatorQuestion::editor(L"");
        } else {
            return;
        }
        question.step = static_cast<int>(number);
        asked[kind].push_back(question);
    }

    void checkAnswers(const std::vector<std::vector<host::OperatorQuestion>>& asked) {
        const char* const kinds[] = {"confirm", "keyboard", "file", "editor"};
        size_t used[4] = {0, 0, 0, 0};
        for (const host::OperatorAction& action : m_Program.operatorScript) {
            size_t k = 0;
            while (k < 4 && action.kind != kinds[k]) ++k;
            if (k == 4) continue;
            const size_t n = used[k]++;
            host::OperatorQuestion question;
            std::string asker = k == 3 ? "an " : "a ";
            if (n < asked[k].size()) {
                question = asked[k][n];
                asker = "step " + std::to_string(question.step) + "'s ";
            } else if (k == 0) {
                question = host::OperatorQuestion::confirmation(L"", 0);
                question.buttons = {L"ok", L"cancel", L"yes", L"no"};
            } else if (k == 3) {
                question = host::OperatorQuestion::editor(L"");
            } else {
                continue;
            }
            if (question.accepts(action.value)) continue;
            const std::string window = k == 0 ? "confirmation" : k == 1 ? "keyboard" : "editor";
            error(action.line, "<" + action.kind + "> " + quoted(action.value) + " is no answer " + asker + window +
                                   " takes; it takes " + question.accepted());
        }
    }

    ProgramFile& m_Program;
    StepCatalogue& m_Catalogue;
    const ObjectFinder& m_ObjectNamed;
    std::vector<ProgramProblem>& m_Problems;
    std::unordered_map<std::wstring, const ProgramObject*> m_Declared;
    std::unordered_map<std::string, std::string> m_Offering;
};

}  // namespace

bool offersInterface(IUnknown* object, const IID& iid) {
    if (!object) return false;
    if (iid == IID_NULL || iid == IID_IUnknown) return true;
    SmartPtr<IUnknown> answer;
    if (object->QueryInterface(iid, answer.put_void()) == S_OK && answer) return true;
    SmartPtr<IHostWindow> window = queryInterface<IHostWindow>(object);
    SmartPtr<IUnknown> hosted;
    if (!window || FAILED(window->get_HostedObject(hosted.put())) || !hosted) return false;
    return hosted->QueryInterface(iid, answer.put_void()) == S_OK && answer;
}

void checkProgram(ProgramFile& program, StepCatalogue& catalogue, const ObjectFinder& objectNamed,
                  std::vector<ProgramProblem>& problems) {
    Checker(program, catalogue, objectNamed, problems).run();
}

}  // namespace stephost
