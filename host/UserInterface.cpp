#include "host/UserInterface.h"

namespace host {

HRESULT RefreshableObject::Refresh(int32_t mode) {
    ++m_Refreshes;
    m_LastMode = mode;
    record("Refresh(" + std::to_string(mode) + ")");
    return S_OK;
}

}  // namespace host
