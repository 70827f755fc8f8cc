#include "host/PopupUtils.h"

#include "host/PropertyFrames.h"

namespace host {

HRESULT UIUtils::ShowPopup(IString* caption, IUnknown* owner, int32_t a, IUnknown* content, IUnknown** window,
                           int32_t b, int32_t c) {
    if (!window) return E_POINTER;
    *window = nullptr;
    record("ShowPopup(" + narrow(textOf(caption)) + ", " + (owner ? "owner" : "null") + ", " + std::to_string(a) +
           ", " + traceLabel(content) + ", " + std::to_string(b) + ", " + std::to_string(c) + ")");
    SmartPtr<HostWindow> popup = make<HostWindow>("Popup", content);
    const int32_t area[4] = {100, 100, 400, 300};
    popup->put_Area(area);
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Last = popup;
    }
    *window = popup.query<IHostWindow>().detach();
    return S_OK;
}

HRESULT UIUtils::ShowFileArchive(int32_t, const wchar_t*, int32_t, const wchar_t*, int32_t, const wchar_t*, int32_t,
                                 int32_t, int32_t, int32_t, IUnknown** result) {
    if (result) *result = nullptr;
    return E_NOTIMPL;
}

SmartPtr<HostWindow> UIUtils::lastPopup() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Last;
}

void UIUtils::forget() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Last = nullptr;
}

}  // namespace host
