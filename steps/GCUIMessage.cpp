// The Message step: shows, replaces and closes the program's message window.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

enum { kMessage };  // parameters, in declaration order

const ParameterDeclaration kParameters[] = {
    {L"Message", Text(L"Running"), kTextFlags},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIParametersPropPage", true},
};

}  // namespace

class CGCUIMessage final : public StepBase<CGCUIMessage, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIMessage";
    static constexpr StepTables kTables{{}, kParameters, kPages};
    // The host cannot copy a Message step: it does not answer IReplicableObject.
    using Interfaces = InterfaceList<IObjectInfo, IUIPropertyPageSpecify, IStep, Delegated<IInputParameters>,
                                     IDataPersist, IParameters, IBindableObject>;

    // The window is kept by the host's window collection under the class's
    // registered name, so every Message step replaces or clears the one
    // message on screen. Put_Message's and Add's results are not ours.
    HRESULT Execute(CStopEvent*) {
        const SmartPtr<IString> message = readString(kMessage);  // not a string: empty, only closes
        auto windows = CreateObject<IWindowCollection>(L"GlobalWindowCollection");
        const SmartPtr<IString> name = ISCreate(m_ObjectName);
        // Without the collection, or a name to key the window by, there is
        // nothing to close and nowhere to show a window, so none is made.
        if (!windows || !name) return S_OK;
        closeMessageWindow(windows.get(), name.get());
        if (CREFString(message.get()).count < 1) return S_OK;
        auto messageWindow = CreateObject<IMessageWindow>(L"MessageWindow");
        if (!messageWindow) return S_OK;
        messageWindow->put_Message(message.get());
        windows->Add(name.get(), messageWindow.query<IWindow>().get());
        return S_OK;
    }

private:
    // The window is released only after the collection has let it go, so
    // the collection never holds a window that is already gone. Nothing
    // open under the name is not an error.
    static void closeMessageWindow(IWindowCollection* windows, IString* name) {
        int32_t index = -1;
        if (FAILED(windows->get_Index(name, &index))) return;
        SmartPtr<IUnknown> window;
        windows->get_Item(index, window.put());
        windows->Remove(index);
    }
};

extern const ModuleClass gGCUIMessageClass = moduleClassOf<CGCUIMessage>();
