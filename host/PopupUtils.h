// The host's user-interface utilities, as far as the module uses them: a
// pop-up window that shows an object.
#pragma once

#include <mutex>
#include <string>

#include "host/HostObject.h"
#include "host/Windows.h"

namespace host {

class UIUtils final : public Object<UIUtils, IUIUtils> {
public:
    static constexpr char kLedgerName[] = "UIUtils";
    using Answered = Answers<IUIUtils>;

    explicit UIUtils(std::string label = "UIUtils") { setLabel(std::move(label)); }

    // A new host window "Popup" showing `content`, at (100, 100, 400, 300).
    HRESULT ShowPopup(IString* caption, IUnknown* owner, int32_t a, IUnknown* content, IUnknown** window, int32_t b,
                      int32_t c) override;
    HRESULT ShowFileArchive(int32_t, const wchar_t*, int32_t, const wchar_t*, int32_t, const wchar_t*, int32_t, int32_t,
                            int32_t, int32_t, IUnknown** result) override;

    // The window of the latest ShowPopup, or null.
    SmartPtr<HostWindow> lastPopup() const;
    // Forgets the latest window (a test lets go of it before the ledger check).
    void forget();

private:
    mutable std::mutex m_Mutex;
    SmartPtr<HostWindow> m_Last;
};

}  // namespace host
