// The Edit step: lets the operator edit the properties of bound objects in
// the host's property frame.
#include <atomic>
#include <cwctype>
#include <mutex>

#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

enum { kEdit1, kEdit8 = 7, kOptionalViewer };  // inputs
enum {                                         // parameters, in declaration order
    kAccessLevel,
    kCaption,
    kSetPages,
    kItemSize,
    kSaveLocation,
    kShowClose,
    kShowHelp,
    kShowSaveLoad,
    kWindowLess,
    kWait,
    kReturnCode,
    kHelpFile,
    kPageName1,  // then "Page1", "Arg1", "Flags1", and so on for five pages
};
enum { kShowCloseOff, kShowCloseShow, kShowCloseAndCloseOnApply };  // "ShowClose" choices
enum { kPageName, kPageClass, kPageArgument, kPageFlags, kPageFields, kPageCount = 5 };

constexpr int32_t kReturnOpen = 0, kReturnApplied = 1, kReturnCancelled = -1;

// A class name's leading filler: white space, control characters and the
// stray bytes of a mangled byte-order mark.
bool isFiller(wchar_t c) {
    return std::iswspace(static_cast<wint_t>(c)) || std::iswcntrl(static_cast<wint_t>(c)) || c == 0xFE || c == 0xEF;
}

// What the frame edits for a bound object: the object a moniker names, the
// object a host window shows, the object a tree node stands for.
SmartPtr<IUnknown> editedObject(SmartPtr<IUnknown> object) {
    if (auto moniker = object.query<ICollectionMoniker>()) {
        SmartPtr<IUnknown> named;
        moniker->GetObject(IID_IUnknown, named.put_void());
        object = named;
    }
    if (auto window = object.query<IHostWindow>()) {
        SmartPtr<IUnknown> hosted;
        window->get_HostedObject(hosted.put());
        object = hosted;
    }
    if (auto node = object.query<IUINode>()) {
        SmartPtr<IUnknown> nodeObject;
        node->get_NodeObject(nodeObject.put());
        object = nodeObject;
    }
    return object;
}

const InputDeclaration kInputs[] = {
    {L"Edit1", &IID_IUIPropertyPageSpecify, 0}, {L"Edit2", &IID_IUIPropertyPageSpecify, 0},
    {L"Edit3", &IID_IUIPropertyPageSpecify, 0}, {L"Edit4", &IID_IUIPropertyPageSpecify, 0},
    {L"Edit5", &IID_IUIPropertyPageSpecify, 0}, {L"Edit6", &IID_IUIPropertyPageSpecify, 0},
    {L"Edit7", &IID_IUIPropertyPageSpecify, 0}, {L"Edit8", &IID_IUIPropertyPageSpecify, 0},
    {L"OptionalViewer", &IID_NULL, 1},
};

const ParameterDeclaration PARAMETER_[] = {
    {L"AccessLevel", Integer(0), kIntegerFlags},
    {L"Caption", Text(L"Edit..."), kTextFlags},
    {L"SetPages", Integer(0), kSwitchFlags},
    {L"ItemSize", Integer(18), kIntegerFlags},
    {L"SaveLocation", Integer(0), kSwitchFlags},
    {L"ShowClose", Integer(1), kChoiceFlags, L"Off|Show|ShowAndCloseOnApply"},
    {L"ShowHelp", Integer(1), kSwitchFlags},
    {L"ShowSaveLoad", Integer(3), kChoiceFlags, L"Off|Save|Load|Both"},
    {L"WindowLess", Integer(1), kSwitchFlags},
    {L"Wait", Integer(0), kSwitchFlags},
    {L"ReturnCode", Integer(0), kIntegerResultFlags},
    {L"HelpFile", Text(L""), kTextFlags | PARAMETER_PATH | PARAMETER_CARRIED},
    {L"PageName1", Text(L"Parameters"), kTextFlags},
    {L"Page1", Text(L"UIParametersPropPage"), kTextFlags},
    {L"Arg1", Text(L""), kTextFlags},
    {L"Flags1", Integer(1), kIntegerFlags},
    {L"PageName2", Text(L"Preferences"), kTextFlags},
    {L"Page2", Text(L"UIParametricObjectPropPage"), kTextFlags},
    {L"Arg2", Text(L""), kTextFlags},
    {L"Flags2", Integer(0), kIntegerFlags},
    {L"PageName3", Text(L""), kTextFlags},
    {L"Page3", Text(L"UIPropInterrogatePropPage"), kTextFlags},
    {L"Arg3", Text(L""), kTextFlags},
    {L"Flags3", Integer(0), kIntegerFlags},
    {L"PageName4", Text(L""), kTextFlags},
    {L"Page4", Text(L""), kTextFlags},
    {L"Arg4", Text(L""), kTextFlags},
    {L"Flags4", Integer(0), kIntegerFlags},
    {L"PageName5", Text(L""), kTextFlags},
    {L"Page5", Text(L""), kTextFlags},
    {L"Arg5", Text(L""), kTextFlags},
    {L"Flags5", Integer(0), kIntegerFlags},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", true},
    {L"UIPropPages.UIParametersPropPage", true},
};

}  // namespace

class CGCUIEdit final : public StepBase<CGCUIEdit, IParameters, IStepImplAsynchronous, _IUIPropFrameEvents> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIEdit";
    static constexpr StepTables kTables{kInputs, PARAMETER_, kPages};
    using Interfaces = StepInterfaces<_IUIPropFrameEvents>;

    // "Wait" decides where the run happens. A step that waits for the
    // operator opens the editor on the worker, so that the host's thread
    // goes on; a step that only opens the editor does it at once on the
    // caller's thread. ("WindowLess" and "ShowSaveLoad" have nothing to do
    // with where the step runs.) A run on the caller's thread is refused
    // while a worker still opens an editor: two runs would share the window.
    HRESULT TurnOn() override { return readInteger(kWait) != 0 ? startWorker() : runHere(); }

    // Closes an open editor (its rectangle is not remembered), then stops
    // the worker. The wait ends when the frame reports the close.
    HRESULT TurnOff() override {
        closeEditor();
        return stopWorker();
    }

    // A worker exists, or the operator's answer is awaited.
    int32_t IsRunning() override { return m_Worker.isRunning() != 0 || m_EditDone.load() == 0 ? 1 : 0; }

    // Fills the frame and shows it in the bound viewer or in a pop-up
    // window, then returns: the wait for the operator is IsRunning's, and
    // the stop event is not looked at. The host's results are not checked:
    // every run returns 0.
    HRESULT Execute(CStopEvent*) {
        takeWindow();  // the previous run's window, if the operator never closed it
        auto frame = CreateObject<IUIPropertyPageCollection>(L"UIPropertyPageCollection");
        if (!frame) return S_OK;  // nothing to fill or show

        const bool setPages = readInteger(kSetPages) != 0;
        addEditedObjects(frame.get(), setPages ? kFrameObjectListedPages : kFrameObjectOwnPages);
        if (setPages) addPages(frame.get());
        frame->put_HelpFile(readText(kHelpFile).get(), 0);
        const SmartPtr<IString> caption = readText(kCaption, L"Edit...");
        const int32_t itemSize = readInteger(kItemSize);
        if (itemSize > 0) frame->SetItemSize(0, 0, itemSize);
        frame->AddObject(nullptr, 0);
        frame->put_Options(options());

        if (auto viewer = inputObject(kOptionalViewer).query<ISmartViewer>()) {
            viewer->ShowObject(0, frame.get(), 0);
            if (auto refreshable = viewer.query<IUIRefreshableObject>()) refreshable->Refresh(kRefreshOrdinary);
            return S_OK;
        }

        // A pop-up that did not open is not noticed: the frame may still
        // report a close.
        SmartPtr<IHostWindow> window = showPopup(caption.get(), frame.get());
        {
            std::lock_guard<Mutex> lock(m_EditMutex);
            m_Window = window;
            m_Registering = true;
            m_ClosedBeforeRegistering = false;
        }
        // The wait is marked and the opening's code written before the frame
        // can raise events: an operator who answers before this run has
        // registered must still end the wait, and an early apply must not be
        // undone by the opening's code.
        writeInteger(kReturnCode, kReturnCancelled);
        m_EditDone = readInteger(kWait) != 0 ? 0 : 1;
        writeInteger(kReturnCode, kReturnOpen);
        adviseEvents(frame.get(), kEventsOfWindow);
        // A stop that closed the frame while the step was registering: the
        // frame may have told its close to nobody, and no later stop finds
        // a window to close. The stop ends the wait as the close would.
        std::lock_guard<Mutex> lock(m_EditMutex);
        m_Registering = false;
        if (m_ClosedBeforeRegistering) m_EditDone = 1;
        return S_OK;
    }

    // Editing the step forgets where its pop-up window stood.
    HRESULT GetPages(int32_t, INamedCollection** pages, IUnknown**) override {
        const HRESULT result = StepBase::GetPages(0, pages, nullptr);
        std::lock_guard<Mutex> lock(m_EditMutex);
        for (int32_t& value : m_Rect) value = 0;
        return result;
    }

    // Folder streams only: the parameters in compact form, the input list
    // beside them, then the remembered window area as 16 raw bytes "Rect".
    HRESULT Save(IDataStream* stream, int32_t mode) override {
        SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
        if (!folder) return E_NOTIMPL;
        m_StepInputs.savePlain(m_Parameters, stream, mode);
        int32_t area[4];
        rememberedArea(area);
        folder->WriteBinary(ISCreate(L"Rect").get(), area, sizeof area, 0);
        return S_OK;
    }

    // A stream without "Rect" (or with a block of another size) keeps the
    // area the step has.
    HRESULT Load(IDataStream* stream, int32_t mode) override {
        SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
        if (!folder) return E_NOTIMPL;
        const HRESULT loaded = m_StepInputs.loadPlain(m_Parameters, stream, mode);
        if (FAILED(loaded)) return loaded;
        int32_t area[4] = {0, 0, 0, 0};
        if (SUCCEEDED(folder->ReadBinary(ISCreate(L"Rect").get(), area, sizeof area, 0))) {
            std::lock_guard<Mutex> lock(m_EditMutex);
            for (int side = 0; side < 4; ++side) m_Rect[side] = area[side];
        }
        return S_OK;
    }

    // The frame's events, on whatever thread the host raises them. They may
    // come twice, late, or after the host has let go of the step: each only
    // writes the outcome and ends a wait. The outcome is written before the
    // wait ends, so a host that sees the step finished reads the final code.
    HRESULT EditClosed(IUnknown*) override {
        endEdit();
        return S_OK;
    }
    // The editor stays open and the wait goes on.
    HRESULT EditApply(IUnknown*) override {
        writeInteger(kReturnCode, kReturnApplied);
        return S_OK;
    }
    HRESULT EditCancel(IUnknown*) override {
        writeInteger(kReturnCode, kReturnCancelled);
        endEdit();
        return S_OK;
    }

private:
    // Inputs 1 to 8 in order, up to the first that the input list refuses;
    // an unbound input adds no object.
    void addEditedObjects(IUIPropertyPageCollection* frame, int32_t flags) {
        SmartPtr<IInputParameters> inputs = queryInterface<IInputParameters>(inputList());
        for (int32_t input = kEdit1; inputs && input <= kEdit8; ++input) {
            SmartPtr<IUnknown> bound;
            if (FAILED(inputs->get_InputObject(input, bound.put()))) break;
            frame->AddObject(editedObject(bound).get(), flags);
        }
    }

    // The listed pages up to the first without a class name (or whose texts
    // cannot be read).
    void addPages(IUIPropertyPageCollection* frame) {
        SmartPtr<ISuperCollection> pages = CREFString::CreateCollection();
        if (!pages) return;
        for (int32_t page = 0; page < kPageCount; ++page) {
            const int32_t first = kPageName1 + page * kPageFields;
            const SmartPtr<IString> name = readString(first + kPageName);
            const SmartPtr<IString> className = readString(first + kPageClass);
            const SmartPtr<IString> argument = readString(first + kPageArgument);
            if (!name || !className || !argument) break;
            CREFString text(className.get());
            while (!text.empty() && isFiller(*text.text)) {
                ++text.text;
                --text.count;
            }
            if (text.empty()) break;
            pages->Add(name.get(), ISCreate(text).get(), argument.get(), readInteger(first + kPageFlags));
        }
        frame->SetPages(pages.get(), 0);
    }

    int32_t options() {
        int32_t options = kFrameCloseOff;  // also for a value that cannot be read or is out of the list
        switch (readInteger(kShowClose)) {
            case kShowCloseShow:
                options = kFrameCloseShown;
                break;
            case kShowCloseAndCloseOnApply:
                options = kFrameCloseOnApply;
                break;
            default:
                break;
        }
        if (readInteger(kShowHelp) != 0) options |= kFrameHelp;
        if (readInteger(kShowSaveLoad) != 0) options |= kFrameSaveLoad;
        return options;
    }

    // The frame in a new pop-up window, where the last one stood when asked.
    SmartPtr<IHostWindow> showPopup(IString* caption, IUIPropertyPageCollection* frame) {
        auto utils = CreateObject<IUIUtils>(L"UIUtils");
        if (!utils) return nullptr;
        SmartPtr<IUnknown> shown;
        utils->ShowPopup(caption, identity(), kPopupKind, frame, shown.put(), kPopupEditorPlacement,
                         kPopupEditorOptions);
        SmartPtr<IHostWindow> window = shown.query<IHostWindow>();
        int32_t area[4];
        rememberedArea(area);
        if (window && readInteger(kSaveLocation) != 0 && area[2] > 0) {
            if (auto popups = CreateObject<IUIPopupCollection>(L"UIPopupCollection"))
                popups->AdjustArea(area, kAdjustAreaA, kAdjustAreaB);
            window->put_Area(area);
        }
        return window;
    }

    // The open editor's window, no longer held by the step.
    SmartPtr<IHostWindow> takeWindow() {
        std::lock_guard<Mutex> lock(m_EditMutex);
        return std::move(m_Window);
    }

    void rememberedArea(int32_t area[4]) {
        std::lock_guard<Mutex> lock(m_EditMutex);
        for (int side = 0; side < 4; ++side) area[side] = m_Rect[side];
    }

    // The operator has closed the editor: where its window stood is kept
    // for the next run.
    void endEdit() {
        if (SmartPtr<IHostWindow> window = takeWindow()) {
            int32_t area[4] = {0, 0, 0, 0};
            if (SUCCEEDED(window->get_Area(area))) {
                std::lock_guard<Mutex> lock(m_EditMutex);
                for (int side = 0; side < 4; ++side) m_Rect[side] = area[side];
            }
        }
        m_EditDone = 1;
    }

    // A stop closes the frame. Its close event then finds no window, so a
    // stopped editor's place is not remembered.
    void closeEditor() {
        SmartPtr<IHostWindow> window;
        {
            std::lock_guard<Mutex> lock(m_EditMutex);
            window = std::move(m_Window);
            if (window && m_Registering) m_ClosedBeforeRegistering = true;
        }
        if (window) {
            SmartPtr<IUnknown> hosted;
            window->get_HostedObject(hosted.put());
            if (auto frame = hosted.query<IUIPropertyPageCollection>()) frame->Close(kFrameCloseStopped);
        }
    }

    Mutex m_EditMutex;           // m_Window, m_Rect and the two flags below, shared with the frame's event thread
    bool m_Registering = false;  // the window is shown, the step's registration with the frame not yet done
    bool m_ClosedBeforeRegistering = false;  // a stop closed the frame in that time
    SmartPtr<IHostWindow> m_Window;          // the pop-up window of the open editor
    int32_t m_Rect[4] = {0, 0, 0, 0};        // the pop-up window's last area; width > 0 marks it valid
    std::atomic<int32_t> m_EditDone{1};      // 1 when no answer of the editor is awaited
};

extern const ModuleClass gGCUIEditClass = moduleClassOf<CGCUIEdit>();
