#include "stephost/ProgramTrace.h"

#include <cmath>
#include <cstdarg>
#include <random>

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
        startClock();
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
    void hostCall(size_t number, const std::string& label, const std::string& call, bool declared,
                  std::chrono::steady_clock::time_point) override {
        if (declared) line(number, format("%-14s %s", label.c_str(), shown(call).c_str()));
    }
    void parameterWritten(size_t number, const std::string& name, const TraceValue& value) override {
        line(number, "wrote " + name + " = " + valueText(shown(value)));
    }
    void asked(const host::OperatorQuestion& question) override {
        line(question.step, "operator is asked (" + question.kind + "): " + host::narrow(question.caption));
    }
    void replied(const host::OperatorQuestion& question, const std::wstring& answer, bool answered,
                 const std::string& why) override {
        if (answered) {
            line(question.step,
                 "operator answers (" + question.kind + "): " + (answer.empty() ? "(Enter)" : reply(question, answer)));
        } else {
            line(question.step, "operator gives no answer (" + question.kind + ")" + (why.empty() ? "" : ": " + why));
        }
    }
    void stepEnds(size_t number, HRESULT result, double milliseconds, bool turnedOff, const std::string& why) override {
        line(number, format("%s (%s), %.3f ms", SUCCEEDED(result) ? "done" : "failed", resultCode(result).c_str(),
                            milliseconds) +
                         (why.empty() ? "" : ": " + why));
        if (turnedOff) line(number, "turned off");
        setStep(0);
    }
    void programEnds(size_t failures) override {
        write(failures == 0 ? format("finished %zu steps, all succeeded\n", m_Steps)
                            : format("finished %zu steps, %zu failed\n", m_Steps, failures));
    }

private:
    // A line under the step's block; one of another step says whose it is.
    void line(size_t number, const std::string& text) {
        const std::string owner = number != 0 && number != step() ? format("(step %zu) ", number) : "";
        write(std::string(kIndent) + " " + owner + text + "\n");
    }

    size_t m_Steps = 0;
};

// A random name for one run, so that lines of several runs in one file can be told apart.
std::string runIdentifier() {
    std::random_device device;
    const uint64_t value = (static_cast<uint64_t>(device()) << 32) ^ device() ^
                           static_cast<uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
    return format("%016llx", static_cast<unsigned long long>(value));
}

// One JSON object per line and event: "event", "step", "t" and "run" first.
class JsonTrace final : public ProgramTrace {
public:
    using ProgramTrace::ProgramTrace;

    void programStarts(const Program& program) override {
        startClock();
        m_Steps = program.steps;
        emit(event("program-start", 0)
                 .text("name", program.name)
                 .text("file", program.file)
                 .integer("steps", static_cast<int64_t>(program.steps))
                 .integer("objects", static_cast<int64_t>(program.objects))
                 .text("operator", program.terminal ? "terminal" : "script")
                 .integer("answers", static_cast<int64_t>(program.answers)));
    }
    void stepStarts(size_t number, const std::string& className, const std::string& title) override {
        emit(event("step-start", number).text("class", className).text("title", title));
    }
    void hostCall(size_t number, const std::string& label, const std::string& call, bool declared,
                  std::chrono::steady_clock::time_point at) override {
        emit(event("call", number, elapsed(at))
                 .text("object", label)
                 .text("call", shown(call))
                 .boolean("declared", declared));
    }
    void parameterWritten(size_t number, const std::string& name, const TraceValue& written) override {
        const TraceValue value = shown(written);
        JsonObject line = event("parameter", number).text("name", name);
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
    void asked(const host::OperatorQuestion& question) override {
        emit(event("question", static_cast<size_t>(question.step))
                 .text("kind", question.kind)
                 .text("prompt", host::narrow(question.caption))
                 .text("value", question.secret ? std::string() : host::narrow(question.value))
                 .text("accepts", question.accepted())
                 .boolean("secret", question.secret));
    }
    void replied(const host::OperatorQuestion& question, const std::wstring& answer, bool answered,
                 const std::string& why) override {
        JsonObject line = event("answer", static_cast<size_t>(question.step)).text("kind", question.kind);
        if (answered) {
            line.text("reply", reply(question, answer));
        } else {
            line.null("reply");
        }
        line.boolean("answered", answered);
        why.empty() ? line.null("why") : line.text("why", why);
        emit(line);
    }
    void stepEnds(size_t number, HRESULT result, double milliseconds, bool turnedOff, const std::string& why) override {
        JsonObject line = event("step-end", number).text("result", resultCode(result));
        const std::string name = resultName(result);
        name.empty() ? line.null("name") : line.text("name", name);
        line.boolean("succeeded", SUCCEEDED(result)).number("ms", milliseconds).boolean("turned-off", turnedOff);
        why.empty() ? line.null("why") : line.text("why", why);
        emit(line);
    }
    void programEnds(size_t failures) override {
        emit(event("program-end", 0)
                 .integer("steps", static_cast<int64_t>(m_Steps))
                 .integer("failures", static_cast<int64_t>(failures))
                 .boolean("succeeded", failures == 0));
    }

private:
    // An event of that step; "step" is null for none.
    JsonObject event(const char* name, size_t number, double t = -1) const {
        JsonObject line;
        line.text("event", name);
        number == 0 ? line.null("step") : line.integer("step", static_cast<int64_t>(number));
        return line.number("t", std::round((t < 0 ? elapsed() : t) * 1000.0) / 1000.0).text("run", m_Run);
    }
    void emit(const JsonObject& line) { write(line.line() + "\n"); }

    size_t m_Steps = 0;
    const std::string m_Run = runIdentifier();
};

}  // namespace

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

std::string valueText(const TraceValue& value) {
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

double ProgramTrace::elapsed() const { return elapsed(std::chrono::steady_clock::now()); }

double ProgramTrace::elapsed(std::chrono::steady_clock::time_point at) const {
    return std::chrono::duration<double, std::milli>(at - m_Start).count();
}

void ProgramTrace::startClock() { m_Start = std::chrono::steady_clock::now(); }

void ProgramTrace::hide(const std::string& secret) {
    if (secret.empty()) return;
    std::lock_guard<std::mutex> lock(m_SecretsMutex);
    m_Secrets.push_back(secret);
}

TraceValue ProgramTrace::shown(const TraceValue& value) {
    if (value.kind != TraceValue::kText) return value;
    std::lock_guard<std::mutex> lock(m_SecretsMutex);
    for (const std::string& secret : m_Secrets) {
        if (value.text == secret) {
            TraceValue hidden = value;
            hidden.text = kHidden;
            return hidden;
        }
    }
    return value;
}

std::string ProgramTrace::shown(const std::string& text) {
    std::lock_guard<std::mutex> lock(m_SecretsMutex);
    std::string result = text;
    for (const std::string& secret : m_Secrets) {
        const std::string quoted = "\"" + secret + "\"";
        for (size_t at = result.find(quoted); at != std::string::npos; at = result.find(quoted, at + 1)) {
            result.replace(at, quoted.size(), std::string("\"") + kHidden + "\"");
        }
    }
    return result;
}

std::string ProgramTrace::reply(const host::OperatorQuestion& question, const std::wstring& answer) {
    if (!question.secret) return host::narrow(answer);
    hide(host::narrow(answer));
    return kHidden;
}

void ProgramTrace::write(const std::string& text) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    std::fwrite(text.data(), 1, text.size(), m_Out);
    std::fflush(m_Out);
}

std::unique_ptr<ProgramTrace> makeHumanTrace(std::FILE* out) { return std::make_unique<HumanTrace>(out); }
std::unique_ptr<ProgramTrace> makeJsonTrace(std::FILE* out) { return std::make_unique<JsonTrace>(out); }

}  // namespace stephost
