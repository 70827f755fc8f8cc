#include "stephost/TerminalOperator.h"

#include "host/HostObject.h"

namespace stephost {

bool TerminalOperator::answer(const std::string& kind, const std::wstring& prompt, std::wstring& reply) {
    if (m_Out) {
        std::fprintf(m_Out, "[%s] %s > ", kind.c_str(), host::narrow(prompt).c_str());
        std::fflush(m_Out);
    }
    std::string line;
    for (int c; (c = std::fgetc(m_In)) != EOF && c != '\n';) line += static_cast<char>(c);
    if (line.empty() && std::feof(m_In)) return false;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    reply = host::widen(line);
    return true;
}

}  // namespace stephost
