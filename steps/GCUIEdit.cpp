// The Edit step: lets the operator edit the properties of bound objects in
// the host's property frame.
#include <atomic>

#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

const InputDeclaration kInputs[] = {
    {L"Edit1", &IID_IUIPropertyPageSpecify, 0}, {L"Edit2", &IID_IUIPropertyPageSpecify, 0},
    {L"Edit3", &IID_IUIPropertyPageSpecify, 0}, {L"Edit4", &IID_IUIPropertyPageSpecify, 0},
    {L"Edit5", &IID_IUIPropertyPageSpecify, 0}, {L"Edit6", &IID_IUIPropertyPageSpecify, 0},
    {L"Edit7", &IID_IUIPropertyPageSpecify, 0}, {L"Edit8", &IID_IUIPropertyPageSpecify, 0},
    {L"OptionalViewer", &IID_NULL, 1},
};

const ParameterDeclaration kParameters[] = {
    {L"AccessLevel", Integer(0), 0x3},
    {L"Caption", Text(L"Edit..."), 0x6},
    {L"SetPages", Integer(0), 0x13},
    {L"ItemSize", Integer(18), 0x3},
    {L"SaveLocation", Integer(0), 0x13},
    {L"ShowClose", Integer(1), 0x43, L"Off|Show|ShowAndCloseOnApply"},
    {L"ShowHelp", Integer(1), 0x13},
    {L"ShowSaveLoad", Integer(3), 0x43, L"Off|Save|Load|Both"},
    {L"WindowLess", Integer(1), 0x13},
    {L"Wait", Integer(0), 0x13},
    {L"ReturnCode", Integer(0), 0x40003},
    {L"HelpFile", Text(L""), 0x416},
    {L"PageName1", Text(L"Parameters"), 0x6},
    {L"Page1", Text(L"UIParametersPropPage"), 0x6},
    {L"Arg1", Text(L""), 0x6},
    {L"Flags1", Integer(1), 0x3},
    {L"PageName2", Text(L"Preferences"), 0x6},
    {L"Page2", Text(L"UIParametricObjectPropPage"), 0x6},
    {L"Arg2", Text(L""), 0x6},
    {L"Flags2", Integer(0), 0x3},
    {L"PageName3", Text(L""), 0x6},
    {L"Page3", Text(L"UIPropInterrogatePropPage"), 0x6},
    {L"Arg3", Text(L""), 0x6},
    {L"Flags3", Integer(0), 0x3},
    {L"PageName4", Text(L""), 0x6},
    {L"Page4", Text(L""), 0x6},
    {L"Arg4", Text(L""), 0x6},
    {L"Flags4", Integer(0), 0x3},
    {L"PageName5", Text(L""), 0x6},
    {L"Page5", Text(L""), 0x6},
    {L"Arg5", Text(L""), 0x6},
    {L"Flags5", Integer(0), 0x3},
};

const PageDeclaration kPages[] = {
    {L"UIPropPages.UIInputParametersPropPage", true},
    {L"UIPropPages.UIParametersPropPage", true},
};

}  // namespace

class CGCUIEdit final : public StepBase<CGCUIEdit, IParameters, IStepImplAsynchronous, _IUIPropFrameEvents> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIEdit";
    static constexpr StepTables kTables{kInputs, kParameters, kPages};
    using Interfaces = StepInterfaces<_IUIPropFrameEvents>;

    // Editing the step forgets where its pop-up window stood.
    HRESULT GetPages(int32_t, INamedCollection** pages, IUnknown**) override {
        const HRESULT result = StepBase::GetPages(0, pages, nullptr);
        for (int32_t& value : m_Rect) value = 0;
        return result;
    }

    // Folder streams only: the parameters in compact form, the input list
    // beside them, then the remembered window area as 16 raw bytes "Rect".
    HRESULT Save(IDataStream* stream, int32_t mode) override {
        SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
        if (!folder) return E_NOTIMPL;
        m_StepInputs.savePlain(m_Parameters, stream, mode);
        folder->WriteBinary(ISCreate(L"Rect").get(), m_Rect, sizeof m_Rect, 0);
        return S_OK;
    }

    // A stream without "Rect" (or with a block of another size) keeps the
    // area the step has.
    HRESULT Load(IDataStream* stream, int32_t mode) override {
        SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
        if (!folder) return E_NOTIMPL;
        m_StepInputs.loadPlain(m_Parameters, stream, mode);
        int32_t area[4] = {0, 0, 0, 0};
        if (folder->ReadBinary(ISCreate(L"Rect").get(), area, sizeof area, 0) >= 0) {
            for (int side = 0; side < 4; ++side) m_Rect[side] = area[side];
        }
        return S_OK;
    }

    // The frame's events are not handled yet.
    HRESULT EditClosed(IUnknown*) override { return E_NOTIMPL; }
    HRESULT EditApply(IUnknown*) override { return E_NOTIMPL; }
    HRESULT EditCancel(IUnknown*) override { return E_NOTIMPL; }

private:
    int32_t m_Rect[4] = {0, 0, 0, 0};  // the pop-up window's last area; width > 0 marks it valid
    std::atomic<int32_t> m_EditDone{1};  // 1 when no answer of the editor is awaited
};

extern const ModuleClass gGCUIEditClass = moduleClassOf<CGCUIEdit>();
