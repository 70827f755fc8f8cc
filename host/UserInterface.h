// Stand-ins for the objects of the host's user interface that steps drive.
// Each records what is done to it, under its label, for tests and the trace.
#pragma once

#include <atomic>
#include <string>

#include "host/HostObject.h"

namespace host {

// A displayed object that redraws itself on request.
class RefreshableObject final : public Object<RefreshableObject, IUIRefreshableObject> {
public:
    static constexpr char kLedgerName[] = "RefreshableObject";
    using Answered = Answers<IUIRefreshableObject>;

    explicit RefreshableObject(std::string label = "Refreshable") { setLabel(std::move(label)); }

    HRESULT Refresh(int32_t mode) override;

    int32_t refreshes() const { return m_Refreshes.load(); }
    int32_t lastMode() const { return m_LastMode.load(); }

private:
    std::atomic<int32_t> m_Refreshes{0};
    std::atomic<int32_t> m_LastMode{-1};
};

}  // namespace host
