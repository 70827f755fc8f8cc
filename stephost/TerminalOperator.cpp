#include "stephost/TerminalOperator.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>

#include "host/HostObject.h"

namespace stephost {

namespace {

// Keeps what is typed off the screen while it lives, when `in` is a terminal.
class HiddenTyping {
public:
    HiddenTyping(int in, bool hide) : m_In(in) {
        if (!hide || !isatty(in) || tcgetattr(in, &m_Saved) != 0) return;
        termios quiet = m_Saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        m_Hidden = tcsetattr(in, TCSANOW, &quiet) == 0;
    }
    ~HiddenTyping() {
        if (m_Hidden) tcsetattr(m_In, TCSANOW, &m_Saved);
    }
    HiddenTyping(const HiddenTyping&) = delete;
    HiddenTyping& operator=(const HiddenTyping&) = delete;
    bool hidden() const { return m_Hidden; }

private:
    int m_In;
    termios m_Saved{};
    bool m_Hidden = false;
};

std::string quoted(const std::wstring& text) { return "\"" + host::narrow(text) + "\""; }

}  // namespace

TerminalOperator::Read TerminalOperator::readLine(const host::OperatorQuestion& question, std::string& line) {
    for (;;) {
        const size_t end = m_Buffer.find('\n');
        if (end != std::string::npos || (m_Ended && !m_Buffer.empty())) {
            line = m_Buffer.substr(0, end);
            m_Buffer.erase(0, end == std::string::npos ? std::string::npos : end + 1);
            if (!line.empty() && line.back() == '\r') line.pop_back();
            return Read::Line;
        }
        if (m_Ended) return Read::Ended;
        if (question.isClosed()) return Read::Closed;
        pollfd waiting = {m_In, POLLIN, 0};
        const int ready = poll(&waiting, 1, 20);
        if (ready < 0 && errno != EINTR) {
            m_Ended = true;
        } else if (ready > 0) {
            char chunk[4096];
            const ssize_t got = read(m_In, chunk, sizeof chunk);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) {
                m_Ended = true;
            } else {
                m_Buffer.append(chunk, static_cast<size_t>(got));
            }
        }
    }
}

bool TerminalOperator::answer(const host::OperatorQuestion& question, std::wstring& reply) {
    std::lock_guard<std::mutex> lock(m_Asking);
    std::string why;
    if (question.isClosed(&why) || m_Ended) return false;  // closed while another was asked: never shown
    const std::string asker = question.step > 0 ? "step " + std::to_string(question.step) : "the host";
    std::string filled;
    if (question.secret) {
        filled = " [a password: it is not shown]";
    } else if (question.kind == "file" && !question.value.empty()) {
        filled = " [proposed " + quoted(question.value) + "]";
    } else if (question.kind == "keyboard") {
        filled = " [now " + quoted(question.value) + "]";
    }
    say("? " + asker + " asks (" + question.kind + "): " + host::narrow(question.caption) + filled + "\n  answer " +
        question.accepted() + "; Enter: " + question.enter() + "\n");
    HiddenTyping typing(m_In, question.secret);
    for (;;) {
        std::string line;
        const Read read = readLine(question, line);
        if (typing.hidden() && read == Read::Line) say("\n");
        if (read == Read::Closed) {
            question.isClosed(&why);
            say("? " + asker + "'s question (" + question.kind + ") is closed: " + why + "\n");
            return false;
        }
        if (read == Read::Ended) return false;
        const std::wstring typed = host::widen(line);
        if (question.accepts(typed)) {
            reply = typed;
            return true;
        }
        say("  " + (question.secret ? std::string("that") : "\"" + line + "\"") +
            " is not an answer here: " + question.accepted() + ", please\n");
    }
}

}  // namespace stephost
