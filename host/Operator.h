// The operator at the simulated host: the person who answers confirmations,
// types into keyboard prompts, picks files and closes editors. Either the
// program file's script, answer by answer, or the person at the terminal.
// The stand-in's windows ask it when a step puts a question on screen.
#pragma once

#include <cstdio>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "host/Program.h"

namespace host {

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

private:
    mutable std::mutex m_Mutex;
    std::deque<OperatorAction> m_Script;
    std::FILE* m_In = nullptr;
    std::FILE* m_Out = nullptr;
};

}  // namespace host
