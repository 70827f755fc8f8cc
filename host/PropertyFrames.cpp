#include "host/PropertyFrames.h"

#include "host/ClassFactory.h"
#include "host/Collections.h"
#include "host/Hostility.h"
#include "host/OperatorWindows.h"
#include "host/UserInterface.h"
#include "host/Variants.h"
#include "host/Windows.h"

namespace host {

std::string traceLabel(IUnknown* object) {
    if (!object) return "null";
    SmartPtr<IUnknown> identity;
    object->QueryInterface(IID_IUnknown, identity.put_void());
    IUnknown* found = identity.get();
    if (auto* plain = dynamic_cast<SuperCollection*>(found)) return plain->label();
    if (auto* refreshable = dynamic_cast<RefreshableObject*>(found)) return refreshable->label();
    if (auto* window = dynamic_cast<HostWindow*>(found)) return window->label();
    if (auto* frame = dynamic_cast<PropertyFrame*>(found)) return frame->label();
    if (auto* viewer = dynamic_cast<SmartViewer*>(found)) return viewer->label();
    if (auto* editable = dynamic_cast<EditableObject*>(found)) return editable->label();
    const std::wstring className = classNameOf(object);
    if (!className.empty()) return narrow(className);
    return "object";
}

PropertyFrame::PropertyFrame(std::string label) { setLabel(std::move(label)); }

HRESULT PropertyFrame::SetPages(ISuperCollection* pages, int32_t reserved) {
    std::vector<std::wstring> listed;
    if (auto* collection = dynamic_cast<SuperCollection*>(pages)) {
        for (const SuperCollection::Entry& entry : collection->entries()) {
            listed.push_back(entry.name + L":" + textOf(queryInterface<IString>(entry.item.get()).get()) + L":" +
                             textOf(queryInterface<IString>(entry.descriptor.get()).get()) + L":" +
                             std::to_wstring(entry.flags));
        }
    }
    std::string text;
    for (const std::wstring& page : listed) text += (text.empty() ? "" : ", ") + narrow(page);
    record("SetPages([" + text + "], " + std::to_string(reserved) + ")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Pages = listed;
    return S_OK;
}

HRESULT PropertyFrame::AddObject(IUnknown* object, int32_t flags) {
    record("AddObject(" + traceLabel(object) + ", " + hex(flags) + ")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Objects.push_back({SmartPtr<IUnknown>(object), flags});
    return S_OK;
}

HRESULT PropertyFrame::Close(int32_t code) {
    record("Close(" + std::to_string(code) + ")");
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Question.close("the editor was closed (its step was stopped)");
    }
    raise(L"close");
    return S_OK;
}

HRESULT PropertyFrame::put_HelpFile(IString* helpFile, int32_t reserved) {
    record("put_HelpFile(" + narrow(textOf(helpFile)) + ", " + std::to_string(reserved) + ")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_HelpFile = textOf(helpFile);
    return S_OK;
}

HRESULT PropertyFrame::put_Options(int32_t options) {
    record("put_Options(" + hex(options) + ")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Options = options;
    return S_OK;
}

HRESULT PropertyFrame::SetItemSize(int32_t a, int32_t b, int32_t size) {
    record("SetItemSize(" + std::to_string(a) + ", " + std::to_string(b) + ", " + std::to_string(size) + ")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_ItemSize = size;
    return S_OK;
}

HRESULT PropertyFrame::Advise(IUnknown* sink, int32_t kind) {
    record("Advise(" + std::to_string(kind) + ")");
    SmartPtr<_IUIPropFrameEvents> events = queryInterface<_IUIPropFrameEvents>(sink);
    if (!events) return E_NOINTERFACE;
    OperatorQuestion question;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Sink = events;
        m_Question = OperatorQuestion::editor(m_Caption);
        question = m_Question;
    }
    // The answer is the operator's whole session with the editor, which
    // ends with the window closed when no cancel or close ended it.
    SmartPtr<PropertyFrame> self(this);
    OperatorThreads::ask(
        question, [self](const std::wstring& words) { self->raise(words + L" close"); },
        [self] { self->raise(L"cancel close"); });
    return S_OK;
}

void PropertyFrame::raise(const std::wstring& words) {
    size_t at = 0;
    while (at < words.size()) {
        const size_t end = words.find_first_of(L" ,", at);
        const std::wstring word = words.substr(at, end == std::wstring::npos ? std::wstring::npos : end - at);
        at = end == std::wstring::npos ? words.size() : end + 1;
        if (word.empty()) continue;
        SmartPtr<_IUIPropFrameEvents> sink;
        {
            std::lock_guard<std::mutex> lock(m_Mutex);
            sink = m_Sink;
            if (word != L"apply") m_Sink = nullptr;  // the editor is gone after a cancel or a close
        }
        if (!sink) return;
        const SmartPtr<PropertyFrame> self(this);
        const auto event = [self, sink, word] {
            if (word == L"apply") {
                sink->EditApply(static_cast<IUIPropertyPageCollection*>(self.get()));
            } else if (word == L"cancel") {
                sink->EditCancel(static_cast<IUIPropertyPageCollection*>(self.get()));
            } else {
                sink->EditClosed(static_cast<IUIPropertyPageCollection*>(self.get()));
            }
        };
        event();
        Hostility::replay(event);
    }
}

std::vector<PropertyFrame::Added> PropertyFrame::objects() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Objects;
}

std::vector<std::wstring> PropertyFrame::pages() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Pages;
}

std::wstring PropertyFrame::helpFile() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_HelpFile;
}

int32_t PropertyFrame::options() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Options;
}

int32_t PropertyFrame::itemSize() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_ItemSize;
}

void PropertyFrame::setCaption(const std::wstring& caption) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Caption = caption;
}

bool PropertyFrame::hasSink() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Sink != nullptr;
}

HRESULT EditableObject::GetPages(int32_t, INamedCollection** pages, IUnknown**) {
    record("GetPages");
    if (!pages) return E_POINTER;
    SmartPtr<SuperCollection> list = make<SuperCollection>();
    list->Add(makeString(L"").get(), makeString(L"UIPropPages.UIParametersPropPage").get(), nullptr, 0);
    *pages = static_cast<INamedCollection*>(list.detach());
    return S_OK;
}

HRESULT PopupCollection::AdjustArea(int32_t rect[4], int32_t a, int32_t b) {
    if (!rect) return E_POINTER;
    record("AdjustArea(" + areaText(rect) + ", " + std::to_string(a) + ", " + std::to_string(b) + ")");
    return S_OK;
}

HRESULT SmartViewer::ShowObject(int32_t reserved1, IUnknown* object, int32_t reserved2) {
    record("ShowObject(" + std::to_string(reserved1) + ", " + traceLabel(object) + ", " + std::to_string(reserved2) +
           ")");
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Shown = object;
    return S_OK;
}

HRESULT SmartViewer::Refresh(int32_t mode) {
    record("Refresh(" + std::to_string(mode) + ")");
    return S_OK;
}

SmartPtr<IUnknown> SmartViewer::shown() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Shown;
}

}  // namespace host
