// The Input step: asks the operator for a text, a number, a password or a
// file name through the host's keyboard or file chooser.
#include <dirent.h>

#include <atomic>
#include <cstdio>
#include <cwchar>
#include <string>

#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

enum { kCaption, kType, kExtIfFile, kInput, kTimeOut, kWait, kReturnCode };  // parameters, in declaration order
enum { kString, kPassword, kSystemPassword, kInteger, kDouble, kFileLoad, kFileSave, kSetRecentFileOnly };

const ParameterDeclaration kParameters[] = {
    {L"Caption", Text(L"Please enter ???"), 0x6},
    {L"Type", Integer(0), 0x43, L"String|Password|SystemPassword|Integer|Double|FileLoad|FileSave|SetRecentFileOnly"},
    {L"ExtIfFile", Text(L"Images|*.jpg;*.png;*.bmp|All Files|*.*||"), 0x6},
    {L"Input", Integer(0), 0x6},
    {L"TimeOut", Integer(0), 0x3},
    {L"Wait", Integer(0), 0x13},
    {L"ReturnCode", Integer(0), 0x40003},
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
            return 0x8080006;
        case kInteger:
            return 0x8000003;
        case kDouble:
            return 0x8000005;
        default:
            return 0x8000006;
    }
}

std::string utf8(const std::wstring& text) {
    std::string bytes;
    for (wchar_t wide : text) {
        const uint32_t c = static_cast<uint32_t>(wide);
        if (c < 0x80) {
            bytes += static_cast<char>(c);
        } else if (c < 0x800) {
            bytes += static_cast<char>(0xC0 | (c >> 6));
            bytes += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            bytes += static_cast<char>(0xE0 | (c >> 12));
            bytes += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            bytes += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            bytes += static_cast<char>(0xF0 | ((c >> 18) & 0x07));
            bytes += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            bytes += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            bytes += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return bytes;
}

bool exists(const std::wstring& name) {
    const std::string path = utf8(name);
    if (DIR* directory = opendir(path.c_str())) {
        closedir(directory);
        return true;
    }
    if (std::FILE* file = std::fopen(path.c_str(), "rb")) {
        std::fclose(file);
        return true;
    }
    return false;
}

}  // namespace

// The name a save proposes when the wanted one is taken: the number that
// ends the part before the extension, plus one ("image09.bmp" becomes
// "image10.bmp"). A name without such a number, or whose base is a single
// character, is proposed as it is. A name with no usable dot keeps no
// extension and is proposed as it is.
static std::wstring nextFreeName(const std::wstring& name) {
    if (name.empty() || !exists(name)) return name;
    const size_t dot = name.rfind(L'.');
    if (dot == std::wstring::npos || dot == 0) return name;
    const std::wstring base = name.substr(0, dot);
    const std::wstring extension = name.substr(dot + 1);
    size_t digits = base.size();
    if (base.size() > 1) {
        while (digits > 0 && base[digits - 1] >= L'0' && base[digits - 1] <= L'9') --digits;
    }
    int64_t number = 0;
    for (size_t i = digits; i < base.size() && number < 0x7FFFFFFF; ++i) number = number * 10 + (base[i] - L'0');
    if (number == 0 || number >= 0x7FFFFFFF) return name;
    wchar_t advanced[kNameCapacity];
    if (std::swprintf(advanced, kNameCapacity, L"%.*ls%d.%ls", static_cast<int>(digits), base.c_str(),
                      static_cast<int>(number + 1), extension.c_str()) < 0) {
        return name;  // too long to advance
    }
    return advanced;
}

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
        if (utils) utils->ShowPopup(caption.get(), Identity(), 3, keyboard.get(), window.put(), 5, 1);
        writeInteger(kReturnCode, -1);
        // The wait and "no answer yet" are marked before the keyboard can
        // tell of an apply or a close, so that an operator faster than this
        // thread still ends the wait and keeps the answer.
        m_InputDone = readInteger(kWait) == 0 ? 1 : 0;
        writeInteger(kReturnCode, 0);
        AdviseEvents(keyboard.get(), 1);
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
        std::wstring name = textOf(proposed);
        if (type != kFileLoad) name = nextFreeName(name);
        const std::wstring captionText = textOf(caption);
        const std::wstring filterText = textOf(filter.get());
        SmartPtr<IUnknown> chosen;
        const auto length = [](const std::wstring& text) { return static_cast<int32_t>(text.size()); };
        const auto textOrNone = [](const std::wstring& text) { return text.empty() ? nullptr : text.c_str(); };
        if (!utils || utils->ShowFileArchive(length(name), textOrNone(name), length(captionText),
                                             textOrNone(captionText), length(filterText), textOrNone(filterText), 0,
                                             type == kFileLoad ? 0 : 1, 0, -1, chosen.put()) < 0) {
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
            AdviseEvents(chooser.get(), 2);
            window->Show(1, 2);
            return 1;
        }
        // The chooser answered at once.
        FileArchiveApply(answer.get(), nullptr);
        return S_OK;
    }

    static std::wstring textOf(IString* text) {
        const wchar_t* chars = nullptr;
        int32_t length = 0;
        if (!text || text->get_Text(&chars, &length) < 0 || !chars || length <= 0) return std::wstring();
        return std::wstring(chars, static_cast<size_t>(length));
    }

    std::atomic<int32_t> m_InputDone{1};  // 1 when no answer is awaited
};

extern const ModuleClass gGCUIInputClass = moduleClassOf<CGCUIInput>();
