#include "host/Operator.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cwchar>
#include <cwctype>
#include <thread>

#include "host/HostObject.h"

namespace host {

namespace {

std::wstring lowered(const std::wstring& text) {
    std::wstring low = text;
    for (wchar_t& c : low) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
    return low;
}

bool wholeNumberText(const std::wstring& text) {
    wchar_t* end = nullptr;
    errno = 0;
    std::wcstoll(text.c_str(), &end, 10);
    return !text.empty() && *end == L'\0' && errno == 0;
}

bool numberText(const std::wstring& text) {
    wchar_t* end = nullptr;
    std::wcstod(text.c_str(), &end);
    return !text.empty() && *end == L'\0' && !std::iswspace(static_cast<wint_t>(text[0]));
}

}  // namespace

OperatorQuestion OperatorQuestion::confirmation(const std::wstring& message, int32_t styleWord) {
    OperatorQuestion question;
    question.kind = "confirm";
    question.caption = message;
    question.takes = Takes::Buttons;
    if (styleWord == kConfirmOkCancel) {
        question.buttons = {L"ok", L"cancel"};
    } else if (styleWord == kConfirmYesNo) {
        question.buttons = {L"yes", L"no"};
    } else {
        question.buttons = {L"ok"};
    }
    return question;
}

OperatorQuestion OperatorQuestion::keyboard(const std::wstring& caption, const std::wstring& text, int32_t mode) {
    OperatorQuestion question;
    question.kind = "keyboard";
    question.caption = caption;
    question.value = text;
    question.secret = (mode & 0x80000) != 0;
    if (!question.secret && (mode & 0x0F) == 3) question.takes = Takes::WholeNumber;
    if (!question.secret && (mode & 0x0F) == 5) question.takes = Takes::Number;
    return question;
}

OperatorQuestion OperatorQuestion::fileChooser(const std::wstring& caption, const std::wstring& proposed) {
    OperatorQuestion question;
    question.kind = "file";
    question.caption = caption;
    question.value = proposed;
    return question;
}

OperatorQuestion OperatorQuestion::editor(const std::wstring& caption) {
    OperatorQuestion question;
    question.kind = "editor";
    question.caption = caption;
    question.takes = Takes::EditorWords;
    return question;
}

bool OperatorQuestion::accepts(const std::wstring& reply) const {
    if (reply.empty()) return true;
    switch (takes) {
        case Takes::Text:
            return true;
        case Takes::WholeNumber:
            return wholeNumberText(reply);
        case Takes::Number:
            return numberText(reply);
        case Takes::Buttons:
            return wholeNumberText(reply) || std::find(buttons.begin(), buttons.end(), lowered(reply)) != buttons.end();
        case Takes::EditorWords: {
            size_t at = 0;
            while (at < reply.size()) {
                const size_t end = std::min(reply.find_first_of(L" ,", at), reply.size());
                const std::wstring word = reply.substr(at, end - at);
                if (!word.empty() && word != L"apply" && word != L"cancel" && word != L"close") return false;
                at = end + 1;
            }
            return true;
        }
    }
    return true;
}

std::string OperatorQuestion::accepted() const {
    switch (takes) {
        case Takes::Text:
            return kind == "file" ? "a file name" : "any text";
        case Takes::WholeNumber:
            return "a whole number";
        case Takes::Number:
            return "a number";
        case Takes::Buttons: {
            std::string words;
            for (size_t i = 0; i < buttons.size(); ++i) {
                words += (i == 0 ? "" : i + 1 == buttons.size() ? " or " : ", ") + narrow(buttons[i]);
            }
            return words + " (or a response code)";
        }
        case Takes::EditorWords:
            return "apply, cancel and close, in the order the operator uses them";
    }
    return "any text";
}

std::string OperatorQuestion::enter() const {
    if (takes == Takes::Buttons) return buttons.empty() ? "" : narrow(buttons.front());
    if (kind == "editor") return "closes it";
    if (kind == "file") return value.empty() ? "closes it without a name" : "takes \"" + narrow(value) + "\"";
    if (secret) return "an empty password";
    return "keeps \"" + narrow(value) + "\"";
}

bool OperatorQuestion::close(const std::string& why) const {
    std::lock_guard<std::mutex> lock(state->mutex);
    if (state->closed || state->done) return false;
    state->closed = true;
    state->why = why;
    return true;
}

bool OperatorQuestion::isClosed(std::string* why) const {
    std::lock_guard<std::mutex> lock(state->mutex);
    if (why) *why = state->why;
    return state->closed;
}

Operator& Operator::current() {
    static Operator instance;
    return instance;
}

void Operator::script(const std::vector<OperatorAction>& actions) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Script.assign(actions.begin(), actions.end());
}

void Operator::setAnswerer(OperatorAnswerer* answerer) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Answerer = answerer;
}

bool Operator::answer(const std::string& kind, const std::wstring& caption, std::wstring& reply) {
    OperatorQuestion question;
    question.kind = kind;
    question.caption = caption;
    return answer(question, reply);
}

bool Operator::answer(const OperatorQuestion& question, std::wstring& reply) {
    tellAsked(question);
    OperatorAnswerer* answerer = nullptr;
    OperatorAction action;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        answerer = m_Answerer;
        if (!answerer) {
            auto found = m_Script.begin();
            while (found != m_Script.end() && found->kind != question.kind) ++found;
            if (found == m_Script.end()) return tellReplied(question, L"", false);
            action = *found;
            m_Script.erase(found);
        }
        m_Open.push_back(question);
    }
    bool answered = false;
    if (answerer) {
        answered = answerer->answer(question, reply);
    } else {
        // A question closed while its answer is on the way takes none.
        const auto due = std::chrono::steady_clock::now() + std::chrono::milliseconds(action.delayMs);
        while (!question.isClosed() && std::chrono::steady_clock::now() < due) {
            std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(
                std::chrono::milliseconds(5), due - std::chrono::steady_clock::now()));
        }
        reply = action.value;
        answered = true;
    }
    std::string why;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Open.erase(std::remove_if(m_Open.begin(), m_Open.end(),
                                    [&](const OperatorQuestion& open) { return open.state == question.state; }),
                     m_Open.end());
        std::lock_guard<std::mutex> questionLock(question.state->mutex);
        if (question.state->closed) {
            answered = false;
            why = question.state->why;
        } else {
            question.state->done = answered;
        }
    }
    return tellReplied(question, answered ? reply : L"", answered, why);
}

void Operator::closeQuestions(int step, const std::string& kind, const std::string& why) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    for (const OperatorQuestion& open : m_Open) {
        if (open.step == step && open.kind == kind) open.close(why);
    }
}

void Operator::setDismissUnanswered(bool dismiss) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_DismissUnanswered = dismiss;
}

bool Operator::dismissesUnanswered() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_DismissUnanswered;
}

size_t Operator::pending() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Script.size();
}

void Operator::listen(OperatorListener* listener) {
    std::lock_guard<std::mutex> lock(m_Listening);
    m_Listener = listener;
}

void Operator::tellAsked(const OperatorQuestion& question) {
    std::lock_guard<std::mutex> lock(m_Listening);
    if (m_Listener) m_Listener->asked(question);
}

bool Operator::tellReplied(const OperatorQuestion& question, const std::wstring& reply, bool answered,
                           const std::string& why) {
    std::lock_guard<std::mutex> lock(m_Listening);
    if (m_Listener) m_Listener->replied(question, reply, answered, why);
    return answered;
}

}  // namespace host
