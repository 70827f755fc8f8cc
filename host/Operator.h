// The operator at the simulated host: the person who answers confirmations,
// types into keyboard prompts, picks files and closes editors. Either the
// program file's script, answer by answer, or the person at the terminal.
// The stand-in's windows ask it when a step puts a question on screen.
#pragma once

#include <cstdint>
#include <cstdio>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace host {

// One scripted answer of the operator, consumed by the question it answers.
struct OperatorAction {
    std::string kind;  // "confirm", "keyboard", "file" or "editor"
    std::wstring value;
    int32_t delayMs = 0;
    int line = 0;  // where a program file wrote it
};

// Told of every question put to the operator and of every answer, on the
// thread that asks, as they happen.
class OperatorListener {
public:
    virtual void asked(const std::string& kind, const std::wstring& prompt) = 0;
    // answered is false when the script held no answer of that kind or the
    // terminal closed.
    virtual void replied(const std::string& kind, const std::wstring& reply, bool answered) = 0;

protected:
    ~OperatorListener() = default;
};

class Operator {
public:
    // The one operator of this process, as a host has one screen.
    static Operator& current();

    // Scripted answers, consumed in order within each kind.
    void script(const std::vector<OperatorAction>& actions);
    // Questions go to the terminal: the prompt is written to out, the answer
    // is the next line of in. Null streams return to the script.
    void setTerminal(std::FILE* in, std::FILE* out);

    // The answer to a question of that kind ("confirm", "keyboard", "file",
    // "editor"), given after its delay. False when the script holds no
    // answer of that kind left, or the terminal closed.
    bool answer(const std::string& kind, const std::wstring& prompt, std::wstring& reply);

    size_t pending() const;

    // When set, a window whose question finds no answer (no scripted answer
    // of its kind left, or the terminal closed) is closed as an operator who
    // walks away would: the keyboard and the file chooser without a value,
    // the editor cancelled. Without it such a window stays open, and a step
    // that waits for it without a time-out waits until it is stopped; a
    // reference host run in CI must end. The confirmation window keeps
    // waiting: its step has a time-out of its own.
    void setDismissUnanswered(bool dismiss);
    bool dismissesUnanswered() const;

    // The listener told of questions and answers from now on; null for none.
    // Once this returns, the previous listener is told nothing more.
    void listen(OperatorListener* listener);

private:
    void tellAsked(const std::string& kind, const std::wstring& prompt);
    bool tellReplied(const std::string& kind, const std::wstring& reply, bool answered);

    // Held while the listener is told, apart from the script's lock so that
    // a listener may ask what is pending.
    std::mutex m_Listening;
    OperatorListener* m_Listener = nullptr;
    mutable std::mutex m_Mutex;
    std::deque<OperatorAction> m_Script;
    std::FILE* m_In = nullptr;
    std::FILE* m_Out = nullptr;
    bool m_DismissUnanswered = false;
};

}  // namespace host
