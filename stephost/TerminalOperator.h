// The person at the terminal as the operator (stephost --interactive): one
// question at a time, each on lines of its own with the asking step, the
// window's caption, what it is filled with and the answers it takes; the
// next line typed answers it. An answer the window does not take is asked
// for again; a question closed before its answer (its step timed out or was
// stopped) is told so and takes no later line, which goes to the next one.
// What a password keyboard is answered is not echoed.
#pragma once

#include <functional>
#include <mutex>
#include <string>

#include "host/Operator.h"

namespace stephost {

class TerminalOperator final : public host::OperatorAnswerer {
public:
    // Answers are lines read from the file descriptor `in`; prompts go
    // through `say`, whole lines at a time (none when it is null).
    TerminalOperator(int in, std::function<void(const std::string&)> say) : m_In(in), m_Say(std::move(say)) {}

    // False once the terminal has closed, or when the question was closed
    // before its answer.
    bool answer(const host::OperatorQuestion& question, std::wstring& reply) override;

private:
    enum class Read { Line, Closed, Ended };
    Read readLine(const host::OperatorQuestion& question, std::string& line);
    void say(const std::string& text) const {
        if (m_Say) m_Say(text);
    }

    int m_In;
    std::function<void(const std::string&)> m_Say;
    std::mutex m_Asking;   // one question at a time
    std::string m_Buffer;  // read past the last line given
    bool m_Ended = false;
};

}  // namespace stephost
