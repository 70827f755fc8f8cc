// The host's property frame (the editor a step fills with objects and pages
// and shows), the collection of pop-up windows that fits a window's area to
// the screen, and a viewer that shows an object in place. The frame raises
// apply, cancel and close to its registered sink from the operator's thread.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "host/HostObject.h"
#include "host/Operator.h"

namespace host {

class PropertyFrame final : public Object<PropertyFrame, IUIPropertyPageCollection, IEventSource> {
public:
    static constexpr char kLedgerName[] = "PropertyFrame";
    using Answered = Answers<IUIPropertyPageCollection, IEventSource>;

    explicit PropertyFrame(std::string label = "Frame");

    // "Name:Class:Argument:Flags" per page.
    HRESULT SetPages(ISuperCollection* pages, int32_t reserved) override;
    HRESULT AddObject(IUnknown* object, int32_t flags) override;
    // Closes the editor: the sink hears EditClosed at once, then no more.
    HRESULT Close(int32_t code) override;
    HRESULT put_HelpFile(IString* helpFile, int32_t reserved) override;
    HRESULT put_Options(int32_t options) override;
    HRESULT SetItemSize(int32_t a, int32_t b, int32_t size) override;
    // Registers the sink and asks the operator, on a thread of its own, what
    // to do with the editor ("apply", "cancel", "close", in order); an
    // answer that neither cancels nor closes is followed by a close.
    HRESULT Advise(IUnknown* sink, int32_t kind) override;

    // Raises the operator's words to the sink on the caller's thread; after
    // a cancel or a close the sink is let go.
    void raise(const std::wstring& words);

    struct Added {
        SmartPtr<IUnknown> object;
        int32_t flags;
    };
    std::vector<Added> objects() const;
    std::vector<std::wstring> pages() const;
    std::wstring helpFile() const;
    int32_t options() const;
    int32_t itemSize() const;  // -1 until SetItemSize
    bool hasSink() const;
    // The caption of the pop-up it is shown in, which its question shows.
    void setCaption(const std::wstring& caption);

private:
    mutable std::mutex m_Mutex;
    std::wstring m_Caption = L"Edit the properties";
    OperatorQuestion m_Question;
    std::vector<Added> m_Objects;
    std::vector<std::wstring> m_Pages;
    std::wstring m_HelpFile;
    int32_t m_Options = 0;
    int32_t m_ItemSize = -1;
    SmartPtr<_IUIPropFrameEvents> m_Sink;
};

// An object with property pages of its own, as a property frame edits it:
// GetPages names the parameter grid.
class EditableObject final : public Object<EditableObject, IUIPropertyPageSpecify> {
public:
    static constexpr char kLedgerName[] = "EditableObject";
    using Answered = Answers<IUIPropertyPageSpecify>;

    explicit EditableObject(std::string label = "Editable") { setLabel(std::move(label)); }

    HRESULT GetPages(int32_t reserved, INamedCollection** pages, IUnknown** unused) override;
};

class PopupCollection final : public Object<PopupCollection, IUIPopupCollection> {
public:
    static constexpr char kLedgerName[] = "PopupCollection";
    using Answered = Answers<IUIPopupCollection>;
    explicit PopupCollection(std::string label = "Popups") { setLabel(std::move(label)); }
    // The area stays as it is: the stand-in's screen has room for any.
    HRESULT AdjustArea(int32_t rect[4], int32_t a, int32_t b) override;
};

class SmartViewer final : public Object<SmartViewer, ISmartViewer, IUIRefreshableObject> {
public:
    static constexpr char kLedgerName[] = "SmartViewer";
    using Answered = Answers<ISmartViewer, IUIRefreshableObject>;
    explicit SmartViewer(std::string label = "Viewer") { setLabel(std::move(label)); }
    HRESULT ShowObject(int32_t reserved1, IUnknown* object, int32_t reserved2) override;
    HRESULT Refresh(int32_t mode) override;
    SmartPtr<IUnknown> shown() const;

private:
    mutable std::mutex m_Mutex;
    SmartPtr<IUnknown> m_Shown;
};

// The label an object of the stand-in shows in the trace, or "object".
std::string traceLabel(IUnknown* object);

}  // namespace host
