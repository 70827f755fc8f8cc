// The person at the terminal as the operator (stephost --interactive): each
// question is written as a prompt, and its answer is the next line typed.
#pragma once

#include <cstdio>
#include <string>

#include "host/Operator.h"

namespace stephost {

class TerminalOperator final : public host::OperatorAnswerer {
public:
    // Prompts go to `out` (none when null); answers come from `in`.
    TerminalOperator(std::FILE* in, std::FILE* out) : m_In(in), m_Out(out) {}

    // False once the terminal has closed.
    bool answer(const std::string& kind, const std::wstring& prompt, std::wstring& reply) override;

private:
    std::FILE* m_In;
    std::FILE* m_Out;
};

}  // namespace stephost
