// The Scroll step: reads or sets the scroll position and page size of one axis of a scrollable object.
#include "module/Registry.h"
#include "steps/StepBase.h"

namespace {

enum { kScrollableObject };                                // inputs
enum { kOperation, kAxis, kPos, kPageSize };               // parameters, in declaration order
enum { kRead = 0, kSetsPosition = 1, kSetsPageSize = 2 };  // bits of "Operation"

const InputDeclaration kInputs[] = {
    {L"ScrollableObject", &IID_IUIScrollableObject, 0},
};

const ParameterDeclaration kParameters[] = {
    {L"Operation", Integer(0), kChoiceFlags, L"Read|SetPos|SetSize|SetPosAndSize"},
    {L"Axis", Integer(0), kIntegerFlags},
    {L"Pos", Integer(0), kDecimalFlags},
    {L"PageSize", Integer(0), kDecimalFlags},
};

const PageDeclaration kPages[] = {
    {L"UIInputParametersPropPage", true},
    {L"UIParametersPropPage", true},
};

}  // namespace

class CGCUIScroll final : public StepBase<CGCUIScroll, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"GCUIScroll";
    static constexpr StepTables kTables{kInputs, kParameters, kPages};
    using Interfaces = StepInterfaces<>;

    // Read copies the axis's state into "Pos" and "PageSize"; any other
    // operation sets what its bits name and gives back the rest as it was
    // read, so SetPos keeps the page size and SetSize the position. The
    // object's own results are not ours to judge.
    HRESULT Execute(CStopEvent*) {
        auto scrollable = inputObject(kScrollableObject).query<IUIScrollableObject>();
        if (!scrollable) return E_FAIL;
        const int32_t operation = readInteger(kOperation);
        double position = 0.0;
        double pageSize = 0.0;
        scrollable->get_Scroll(axis(), &position, &pageSize);
        if (operation == kRead) {
            writeDouble(kPos, position);
            writeDouble(kPageSize, pageSize);
            return S_OK;
        }
        if (operation & kSetsPosition) position = readDouble(kPos);
        if (operation & kSetsPageSize) pageSize = readDouble(kPageSize);
        scrollable->put_Scroll(axis(), position, pageSize);
        return S_OK;
    }

private:
    // The host takes a 16-bit axis: the low 16 bits of "Axis".
    int16_t axis() { return static_cast<int16_t>(readInteger(kAxis)); }
};

extern const ModuleClass gGCUIScrollClass = moduleClassOf<CGCUIScroll>();
