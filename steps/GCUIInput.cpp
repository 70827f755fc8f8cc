// The Input step: asks the operator for a text, a number, a password or a
// file name through the host's keyboard or file chooser.
#include <atomic>

#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

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

}  // namespace

class CGCUIInput final : public StepBase<CGCUIInput, IParameters, IStepImplAsynchronous, _IUIKeyboardEvents,
                                         _IUIFileArchiveEvents> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIInput";
    static constexpr StepTables kTables{{}, kParameters, kPages};
    using Interfaces = StepInterfaces<_IUIKeyboardEvents, _IUIFileArchiveEvents>;

    HRESULT FinalConstruct() override {
        m_InputDone = 1;
        return StepBase::FinalConstruct();
    }

    // Answers are not handled yet.
    HRESULT KeyboardClose(IUnknown*) override { return E_NOTIMPL; }
    HRESULT KeyboardApply(IString*, IUnknown*) override { return E_NOTIMPL; }
    HRESULT FileArchiveClose(IUnknown*) override { return E_NOTIMPL; }
    HRESULT FileArchiveApply(IString*, IUnknown*) override { return E_NOTIMPL; }

private:
    std::atomic<int32_t> m_InputDone{1};  // 1 when no answer is awaited
};

extern const ModuleClass gGCUIInputClass = moduleClassOf<CGCUIInput>();
