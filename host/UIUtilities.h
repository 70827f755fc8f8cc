// The host's user-interface utilities ("UIUtils"): popups and the file
// chooser. Every popup is a host window that shows its content; the windows
// shown are kept, in order, for whoever asks what is on screen.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "host/HostObject.h"
#include "host/Windows.h"

namespace host {

class UIUtils final : public Object<UIUtils, IUIUtils> {
public:
    static constexpr char kLedgerName[] = "UIUtils";
    using Answered = Answers<IUIUtils>;

    // How the file chooser answers: through a host window hosting a chooser
    // (the step registers with it), at once with the chosen name (the
    // operator's "file" answer, else the proposed name), or not at all.
    enum class Chooser { Window, AtOnce, Fails };

    explicit UIUtils(std::string label = "UIUtils");

    HRESULT ShowPopup(IString* caption, IUnknown* owner, int32_t a, IUnknown* content, IUnknown** window, int32_t b,
                      int32_t c) override;
    HRESULT ShowFileArchive(int32_t nameLength, const wchar_t* name, int32_t captionLength, const wchar_t* caption,
                            int32_t filterLength, const wchar_t* filter, int32_t a, int32_t save, int32_t b, int32_t c,
                            IUnknown** result) override;

    void setChooser(Chooser chooser);
    // The popups shown so far, oldest first.
    std::vector<SmartPtr<HostWindow>> popups() const;
    // The window of the latest ShowPopup, or null.
    SmartPtr<HostWindow> lastPopup() const;
    // The windows hosting file choosers shown so far, oldest first.
    std::vector<SmartPtr<HostWindow>> choosers() const;
    // Lets go of every window shown.
    void forget();

private:
    mutable std::mutex m_Mutex;
    Chooser m_Chooser = Chooser::Window;
    std::vector<SmartPtr<HostWindow>> m_Popups;
    std::vector<SmartPtr<HostWindow>> m_Choosers;
};

}  // namespace host
