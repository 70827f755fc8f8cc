#include "host/Activation.h"

namespace host {

ActivatableObject::ActivatableObject(std::string label, bool active) : m_Active(active) { setLabel(std::move(label)); }

HRESULT ActivatableObject::Activate(int32_t activate) {
    record("Activate(" + std::to_string(activate) + ")");
    if (activate != 0 && activate != 1) return E_INVALIDARG;
    ++m_Activations;
    m_Active = activate == 1;
    return m_Answer.load();
}

}  // namespace host
