#include "host/Operator.h"

#include <chrono>
#include <thread>

namespace host {

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

bool Operator::answer(const std::string& kind, const std::wstring& prompt, std::wstring& reply) {
    tellAsked(kind, prompt);
    OperatorAnswerer* answerer = nullptr;
    OperatorAction action;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        answerer = m_Answerer;
        if (!answerer) {
            auto found = m_Script.begin();
            while (found != m_Script.end() && found->kind != kind) ++found;
            if (found == m_Script.end()) return tellReplied(kind, L"", false);
            action = *found;
            m_Script.erase(found);
        }
    }
    if (answerer) {
        if (!answerer->answer(kind, prompt, reply)) return tellReplied(kind, L"", false);
        return tellReplied(kind, reply, true);
    }
    if (action.delayMs > 0) std::this_thread::sleep_for(std::chrono::milliseconds(action.delayMs));
    reply = action.value;
    return tellReplied(kind, reply, true);
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

void Operator::tellAsked(const std::string& kind, const std::wstring& prompt) {
    std::lock_guard<std::mutex> lock(m_Listening);
    if (m_Listener) m_Listener->asked(kind, prompt);
}

bool Operator::tellReplied(const std::string& kind, const std::wstring& reply, bool answered) {
    std::lock_guard<std::mutex> lock(m_Listening);
    if (m_Listener) m_Listener->replied(kind, reply, answered);
    return answered;
}

}  // namespace host
