// Objects of the simulated host that a program activates and deactivates: a
// panel, a window, anything with an active state. Each records what is done
// to it, under its label.
#pragma once

#include <atomic>
#include <string>

#include "host/HostObject.h"

namespace host {

class ActivatableObject final : public Object<ActivatableObject, IActivatableObject> {
public:
    static constexpr char kLedgerName[] = "ActivatableObject";
    using Answered = Answers<IActivatableObject>;

    explicit ActivatableObject(std::string label = "Activatable", bool active = false);

    // Any value other than 0 or 1 is refused with E_INVALIDARG and changes
    // nothing; otherwise the answer set with setAnswer (0 unless told).
    HRESULT Activate(int32_t activate) override;

    bool active() const { return m_Active.load(); }
    int32_t activations() const { return m_Activations.load(); }
    // What Activate answers from now on; a failure still changes the state,
    // as a host that activates and then reports a fault.
    void setAnswer(HRESULT answer) { m_Answer = answer; }

private:
    std::atomic<bool> m_Active;
    std::atomic<int32_t> m_Activations{0};
    std::atomic<HRESULT> m_Answer{S_OK};
};

}  // namespace host
