// The Input step: asks the operator for a text, a number, a password or a
// file name through the host's keyboard or file chooser.
#include <atomic>
#include <cstdio>
#include <cwchar>

#include "module/Registry.h"
#include "runtime/FileNames.h"
#include "steps/StepBase.h"

namespace {

enum { kCaption, kType, kExtIfFile, kInput, kTimeOut, kWait, kReturnCode };  // parameters, in declaration order
enum { kString, kPassword, kSystemPassword, kInteger, kDouble, kFileLoad, kFileSave, kSetRecentFileOnly };

const ParameterDeclaration kParameters[] = {
    {L"Caption", Text(L"Please enter ???"), kTextFlags},
    {L"Type", Integer(0), kChoiceFlags,
     L"String|Password|SystemPassword|Integer|Double|FileLoad|FileSave|SetRecentFileOnly"},
    {L"ExtIfFile", Text(L"Images|*.jpg;*.png;*.bmp|All Files|*.*||"), kTextFlags},
    {L"Input", Integer(0), kTextFlags},
    {L"TimeOut", Integer(0), kIntegerFlags},
    {L"Wait", Integer(0), kSwitchFlags},
    {L"ReturnCode", Integer(0), kIntegerResultFlags},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIParametersPropPage", true},
};

constexpr wchar_t kPasswordBlanks[] = L"      ";
constexpr size_t kNameCapacity = 256;  // wide characters of an advanced name, terminator included

// The keyboard's mode for each keyboard type; anything else types a string.
int32_t keyboardMode(int32_t type) {
    switch (type) {
        case kPassword:
        case kSystemPassword:
            return kKeyboardMaskedText;
        case kInteger:
            return kKeyboardInteger;
        case kDouble:
            return kKeyboardDecimal;
        default:
            return kKeyboardText;
    }
}

// The name a save proposes when the wanted one is taken: the number that
// ends the part before the extension, plus one ("image09.bmp" becomes
// "image10.bmp"), written into `advanced`. A name without such a number, or
// whose base is a single character, is proposed as it is. A name with no
// usable dot keeps no extension and is proposed as it is.
CREFString nextFreeName(const CREFString& name, wchar_t (&advanced)[kNameCapacity]) {
    if (name.empty() || !FILENAMEExists(name)) return name;
    int32_t dot = name.count - 1;
    while (dot >= 0 && name.text[dot] != L'.') --dot;
    if (dot <= 0) return name;
    int32_t digits = dot;  // where the base's closing digits start
    if (dot > 1) {
        while (digits > 0 && name.text[digits - 1] >= L'0' && name.text[digits - 1] <= L'9') --digits;
    }
    int64_t number = 0;
    for (int32_t i = digits; i < dot && number < 0x7FFFFFFF; ++i) number = number * 10 + (name.text[i] - L'0');
    if (number == 0 || number >= 0x7FFFFFFF) return name;
    const int written =
        std::swprintf(advanced, kNameCapacity, L"%.*ls%d.%.*ls", static_cast<int>(digits), name.text,
                      static_cast<int>(number + 1), static_cast<int>(name.count - dot - 1), name.text + dot + 1);
    if (written < 0) return name;  // too long to advance
    return CREFString(advanced, written);
}

}  // namespace

class CGCUIInput final
    : public StepBase<CGCUIInput, IParameters, IStepImplAsynchronous, _IUIKeyboardEvents, _IUIFileArchiveEvents> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIInput";
    static constexpr StepTables kTables{{}, kParameters, kPages};
    using Interfaces = StepInterfaces<_IUIKeyboardEvents, _IUIFileArchiveEvents>;

    HRESULT FinalConstruct() override {
        m_InputDone = 1;
        return StepBase::FinalConstruct();
    }

    HRESULT Execute(CStopEvent*) {
        const int32_t type = readInteger(kType);
        SmartPtr<IString> caption = readString(kCaption);
        SmartPtr<IString> proposed = readText(kInput, nullptr);
        if (type == kSetRecentFileOnly) {
            rememberFile(proposed.get());
            return S_OK;
        }
        SmartPtr<IUIUtils> utils = CreateObject<IUIUtils>(L"UIUtils");
        if (type > kDouble) return askForFile(utils.get(), type, caption.get(), proposed.get());

        // A keyboard that is not made, not shown or not listened to is not
        // noticed: the wait is still marked from "Wait", and a close of the
        // window is what ends it.
        SmartPtr<IUIKeyboard> keyboard = CreateObject<IUIKeyboard>(L"UIKeyboard");
        if (keyboard) keyboard->put_Mode(keyboardMode(type));
        if (type == kPassword || type == kSystemPassword) {
            writeText(kInput, kPasswordBlanks);
        } else if (keyboard) {
            keyboard->put_Text(proposed.get());
        }
        SmartPtr<IUnknown> window;
        if (utils)
            utils->ShowPopup(caption.get(), identity(), kPopupKind, keyboard.get(), window.put(),
                             kPopupKeyboardPlacement, kPopupKeyboardOptions);
        writeInteger(kReturnCode, -1);
        // The wait and "no answer yet" are marked before the keyboard can
        // tell of an apply or a close, so that an operator faster than this
        // thread still ends the wait and keeps the answer.
        m_InputDone = readInteger(kWait) == 0 ? 1 : 0;
        writeInteger(kReturnCode, 0);
        adviseEvents(keyboard.get(), kEventsOfWindow);
        return S_OK;
    }

    // Running while the worker runs, and after it as long as a window that
    // the step waits for is open.
    int32_t IsRunning() override { return (m_Worker.isRunning() != 0 || m_InputDone.load() == 0) ? 1 : 0; }

    HRESULT KeyboardApply(IString* text, IUnknown*) override {
        writeInteger(kReturnCode, 1);
        const int32_t type = readInteger(kType);
        if (type == kSystemPassword) {
            // The typed password is checked, never kept.
            SmartPtr<IPasswordAccess> passwords = CreateObject<IPasswordAccess>(L"PasswordAccess");
            writeInteger(kInput, passwords ? passwords->CheckPassword(text) : 0);
            return S_OK;
        }
        writeText(kInput, text);
        if (type == kFileLoad) rememberFile(text);
        return S_OK;
    }
    HRESULT KeyboardClose(IUnknown*) override { return endWait(); }
    HRESULT FileArchiveApply(IString* name, IUnknown*) override {
        writeInteger(kReturnCode, 1);
        writeText(kInput, name);
        return S_OK;
    }
    HRESULT FileArchiveClose(IUnknown*) override { return endWait(); }

private:
    HRESULT endWait() {
        m_InputDone = 1;
        TurnOff();
        return S_OK;
    }

    void rememberFile(IString* name) {
        SmartPtr<IRecentStringCollection> recent = CreateObject<IRecentStringCollection>(L"RecentFileCollection");
        if (!recent) return;
        recent->Add(name, name, 0);
        recent->Save();
    }

    HRESULT askForFile(IUIUtils* utils, int32_t type, IString* caption, IString* proposed) {
        SmartPtr<IString> filter = readText(kExtIfFile, nullptr);
        // Views of the host's strings, which this call holds: nothing is copied.
        wchar_t advanced[kNameCapacity];
        CREFString name(static_cast<IUnknown*>(proposed));
        if (type != kFileLoad) name = nextFreeName(name, advanced);
        const CREFString captionText(static_cast<IUnknown*>(caption));
        const CREFString filterText(static_cast<IUnknown*>(filter.get()));
        SmartPtr<IUnknown> chosen;
        if (!utils || FAILED(utils->ShowFileArchive(
                          name.count, name.text, captionText.count, captionText.text, filterText.count, filterText.text,
                          0, type == kFileLoad ? kFileArchiveLoad : kFileArchiveSave, 0, -1, chosen.put()))) {
            writeInteger(kReturnCode, -1);
            return E_FAIL;
        }
        writeInteger(kReturnCode, 0);
        SmartPtr<IString> answer = queryInterface<IString>(chosen.get());
        SmartPtr<IHostWindow> window = queryInterface<IHostWindow>(chosen.get());
        if (window) {
            SmartPtr<IUnknown> hosted;
            window->get_HostedObject(hosted.put());
            SmartPtr<IUIFileArchive> chooser = queryInterface<IUIFileArchive>(hosted.get());
            // Marked before the chooser can close; a chooser the step cannot
            // listen to still leaves the wait to a close.
            m_InputDone = readInteger(kWait) == 0 ? 1 : 0;
            adviseEvents(chooser.get(), kEventsOfFileArchive);
            window->Show(kShowChooserA, kShowChooserB);
            return S_FALSE;
        }
        // The chooser answered at once.
        FileArchiveApply(answer.get(), nullptr);
        return S_OK;
    }

    std::atomic<int32_t> m_InputDone{1};  // 1 when no answer is awaited
};

extern const ModuleClass gGCUIInputClass = moduleClassOf<CGCUIInput>();
