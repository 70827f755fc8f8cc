#include "host/UIUtilities.h"

#include "host/Operator.h"
#include "host/OperatorWindows.h"
#include "host/PropertyFrames.h"
#include "host/Variants.h"

namespace host {

namespace {

std::wstring counted(int32_t length, const wchar_t* text) {
    return length > 0 && text ? std::wstring(text, static_cast<size_t>(length)) : std::wstring();
}

}  // namespace

UIUtils::UIUtils(std::string label) { setLabel(std::move(label)); }

HRESULT UIUtils::ShowPopup(IString* caption, IUnknown*, int32_t a, IUnknown* content, IUnknown** window, int32_t b,
                           int32_t c) {
    record("ShowPopup(\"" + narrow(textOf(caption)) + "\", " + std::to_string(a) + ", " + std::to_string(b) + ", " +
           std::to_string(c) + ")");
    if (!window) return E_POINTER;
    *window = nullptr;
    SmartPtr<HostWindow> popup = make<HostWindow>("Popup", content);
    const int32_t area[4] = {100, 100, 400, 300};
    popup->put_Area(area);
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Popups.push_back(popup);
    }
    if (auto* keyboard = dynamic_cast<Keyboard*>(content)) keyboard->shown(textOf(caption));
    if (auto* frame = dynamic_cast<PropertyFrame*>(content)) frame->setCaption(textOf(caption));
    *window = static_cast<IHostWindow*>(popup.get());
    (*window)->AddRef();
    return S_OK;
}

HRESULT UIUtils::ShowFileArchive(int32_t nameLength, const wchar_t* name, int32_t captionLength, const wchar_t* caption,
                                 int32_t filterLength, const wchar_t* filter, int32_t a, int32_t save, int32_t b,
                                 int32_t c, IUnknown** result) {
    const std::wstring proposed = counted(nameLength, name);
    record("ShowFileArchive(\"" + narrow(proposed) + "\", \"" + narrow(counted(captionLength, caption)) + "\", \"" +
           narrow(counted(filterLength, filter)) + "\", " + std::to_string(a) + ", " + std::to_string(save) + ", " +
           std::to_string(b) + ", " + std::to_string(c) + ")");
    if (!result) return E_POINTER;
    *result = nullptr;
    Chooser mode;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        mode = m_Chooser;
    }
    if (mode == Chooser::Fails) return E_FAIL;
    if (mode == Chooser::AtOnce) {
        std::wstring chosen;
        OperatorQuestion question = OperatorQuestion::fileChooser(counted(captionLength, caption), proposed);
        question.step = Recorder::cause();
        if (!Operator::current().answer(question, chosen) || chosen.empty()) chosen = proposed;
        *result = makeString(chosen).detach();
        return S_OK;
    }
    SmartPtr<FileChooser> chooser = make<FileChooser>(counted(captionLength, caption), proposed);
    SmartPtr<HostWindow> window = make<HostWindow>("FileChooser", static_cast<IUIFileArchive*>(chooser.get()));
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Choosers.push_back(window);
    }
    *result = static_cast<IHostWindow*>(window.get());
    (*result)->AddRef();
    return S_OK;
}

void UIUtils::setChooser(Chooser chooser) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Chooser = chooser;
}

std::vector<SmartPtr<HostWindow>> UIUtils::popups() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Popups;
}

SmartPtr<HostWindow> UIUtils::lastPopup() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Popups.empty() ? nullptr : m_Popups.back();
}

std::vector<SmartPtr<HostWindow>> UIUtils::choosers() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Choosers;
}

void UIUtils::forget() {
    std::vector<SmartPtr<HostWindow>> popups, choosers;
    std::lock_guard<std::mutex> lock(m_Mutex);
    popups.swap(m_Popups);
    choosers.swap(m_Choosers);
}

}  // namespace host
