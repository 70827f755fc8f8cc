#include "stephost/ProgramTrace.h"

#include <cstdarg>

#include "host/HostObject.h"
#include "stephost/JsonLines.h"

namespace stephost {

namespace {

std::string format(const char* pattern, ...) __attribute__((format(printf, 1, 2)));

std::string format(const char* pattern, ...) {
    va_list arguments;
    va_start(arguments, pattern);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, pattern, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    if (length > 0) std::vsnprintf(&text[0], text.size() + 1, pattern, again);
    va_end(again);
    return text;
}

const char* const kIndent = "                       ";  // under the step's class

// A block of lines per step, for the person who runs the program.
class HumanTrace final : public ProgramTrace {
public:
    using ProgramTrace::ProgramTrace;

    void programStarts(const Program& program) override {
        m_Steps = program.steps;
        const std::string answering =
            program.terminal ? "the terminal" : std::to_string(program.answers) + " scripted answers";
        write(format("program  %s: %zu steps, %zu objects, operator: %s\n", program.name.c_str(), program.steps,
                     program.objects, answering.c_str()));
    }
    void stepStarts(size_t number, const std::string& className, const std::string& title) override {
        setStep(number);
        write(format("%3zu  %-18s %s\n", number, className.c_str(), title.c_str()));
    }
    // The host's own objects stay out of the story.
    void hostCall(const std::string& label, const std::string& call, bool declared) override {
        if (declared) write(format("%s %-14s %s\n", kIndent, label.c_str(), call.c_str()));
    }
    void parameterWritten(const std::string& name, const TraceValue& value) override {
        write(format("%s wrote %s = %s\n", kIndent, name.c_str(), shown(value).c_str()));
    }
    void asked(const std::string& kind, const std::wstring& prompt) override {
        write(format("%s operator is asked (%s): %s\n", kIndent, kind.c_str(), host::narrow(prompt).c_str()));
    }
    void replied(const std::string& kind, const std::wstring& reply, bool answered) override {
        write(answered ? format("%s operator answers (%s): %s\n", kIndent, kind.c_str(), host::narrow(reply).c_str())
                       : format("%s operator gives no answer (%s)\n", kIndent, kind.c_str()));
    }
    void stepEnds(HRESULT result, double milliseconds, bool turnedOff) override {
        write(format("%s %s (%s), %.3f ms\n", kIndent, result >= 0 ? "done" : "failed", resultCode(result).c_str(),
                     milliseconds));
        if (turnedOff) write(format("%s turned off\n", kIndent));
        setStep(0);
    }
    void programEnds(size_t failures) override {
        write(failures == 0 ? format("finished %zu steps, all succeeded\n", m_Steps)
                            : format("finished %zu steps, %zu failed\n", m_Steps, failures));
    }

private:
    static std::string shown(const TraceValue& value) {
        switch (value.kind) {
            case TraceValue::kInteger:
                return std::to_string(value.integer);
            case TraceValue::kReal:
                return format("%g", value.real);
            case TraceValue::kText:
                return "\"" + value.text + "\"";
            case TraceValue::kObject:
                return "(object)";
            case TraceValue::kEmpty:
                return "(empty)";
            case TraceValue::kNone:
                break;
        }
        return "(none)";
    }

    size_t m_Steps = 0;
};

// One JSON object per line and event, "event" first.
class JsonTrace final : public ProgramTrace {
public:
    using ProgramTrace::ProgramTrace;

    void programStarts(const Program& program) override {
        m_Steps = program.steps;
        emit(JsonObject()
                 .text("event", "program-start")
                 .text("name", program.name)
                 .text("file", program.file)
                 .integer("steps", static_cast<int64_t>(program.steps))
                 .integer("objects", static_cast<int64_t>(program.objects))
                 .text("operator", program.terminal ? "terminal" : "script")
                 .integer("answers", static_cast<int64_t>(program.answers)));
    }
    void stepStarts(size_t number, const std::string& className, const std::string& title) override {
        setStep(number);
        emit(event("step-start").text("class", className).text("title", title));
    }
    void hostCall(const std::string& label, const std::string& call, bool declared) override {
        emit(event("call").text("object", label).text("call", call).boolean("declared", declared));
    }
    void parameterWritten(const std::string& name, const TraceValue& value) override {
        JsonObject line = event("parameter").text("name", name);
        switch (value.kind) {
            case TraceValue::kInteger:
                line.integer("value", value.integer).text("kind", "integer");
                break;
            case TraceValue::kReal:
                line.number("value", value.real).text("kind", "real");
                break;
            case TraceValue::kText:
                line.text("value", value.text).text("kind", "text");
                break;
            case TraceValue::kObject:
                line.null("value").text("kind", "object");
                break;
            case TraceValue::kEmpty:
                line.null("value").text("kind", "empty");
                break;
            case TraceValue::kNone:
                line.null("value").text("kind", "none");
                break;
        }
        emit(line);
    }
    void asked(const std::string& kind, const std::wstring& prompt) override {
        emit(event("question").text("kind", kind).text("prompt", host::narrow(prompt)));
    }
    void replied(const std::string& kind, const std::wstring& reply, bool answered) override {
        JsonObject line = event("answer").text("kind", kind);
        if (answered) {
            line.text("reply", host::narrow(reply));
        } else {
            line.null("reply");
        }
        emit(line.boolean("answered", answered));
    }
    void stepEnds(HRESULT result, double milliseconds, bool turnedOff) override {
        JsonObject line = event("step-end").text("result", resultCode(result));
        const std::string name = resultName(result);
        name.empty() ? line.null("name") : line.text("name", name);
        emit(line.boolean("succeeded", result >= 0).number("ms", milliseconds).boolean("turned-off", turnedOff));
        setStep(0);
    }
    void programEnds(size_t failures) override {
        emit(JsonObject()
                 .text("event", "program-end")
                 .integer("steps", static_cast<int64_t>(m_Steps))
                 .integer("failures", static_cast<int64_t>(failures))
                 .boolean("succeeded", failures == 0));
    }

private:
    // An event of the step that runs now; "step" is null between steps.
    JsonObject event(const char* name) const {
        JsonObject line;
        line.text("event", name);
        const size_t number = step();
        return number == 0 ? line.null("step") : line.integer("step", static_cast<int64_t>(number));
    }
    void emit(const JsonObject& line) { write(line.line() + "\n"); }

    size_t m_Steps = 0;
};

}  // namespace

std::string resultCode(HRESULT result) { return format("0x%08X", static_cast<uint32_t>(result)); }

std::string resultName(HRESULT result) {
    struct Named {
        HRESULT code;
        const char* name;
    };
    static const Named kNames[] = {{S_OK, "S_OK"},
                                   {S_FALSE, "S_FALSE"},
                                   {E_NOTIMPL, "E_NOTIMPL"},
                                   {E_NOINTERFACE, "E_NOINTERFACE"},
                                   {E_POINTER, "E_POINTER"},
                                   {E_FAIL, "E_FAIL"},
                                   {E_OUTOFMEMORY, "E_OUTOFMEMORY"},
                                   {E_INVALIDARG, "E_INVALIDARG"}};
    for (const Named& named : kNames) {
        if (named.code == result) return named.name;
    }
    return "";
}

void ProgramTrace::write(const std::string& text) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    std::fwrite(text.data(), 1, text.size(), m_Out);
    std::fflush(m_Out);
}

std::unique_ptr<ProgramTrace> makeHumanTrace(std::FILE* out) { return std::make_unique<HumanTrace>(out); }
std::unique_ptr<ProgramTrace> makeJsonTrace(std::FILE* out) { return std::make_unique<JsonTrace>(out); }

}  // namespace stephost
