// Calls through a face's table of function pointers as a host does: by slot
// number, the object pointer first, then the arguments. The order comes from
// the host's numbers, never from the module's C++ declarations, so an
// operation declared out of place is reached in the wrong slot.
#pragma once

#include <cstdint>

#include "runtime/Interfaces.h"

template <class Result = HRESULT, class... Arguments>
Result callSlot(void* face, int slot, Arguments... arguments) {
    void** table = *static_cast<void***>(face);
    auto function = reinterpret_cast<Result (*)(void*, Arguments...)>(table[slot]);
    return function(face, arguments...);
}

// One parameter as the collection keeps it; getParameter reads such a record.
struct PARAMETEROBJECT_HOST {
    IString* name;
    IVariant* value;
    IUnknown* descriptor;
    int32_t flags;
};

// The template's own operations and the bindable, persistable and replicable
// faces' operations after them, in the table of the IParameters pointer of a
// fixed collection (after the interface's 18 slots) or of the
// IParametersCreatable pointer of a user-defined one (after its 24, whose
// Copy and Sort are the interface's own).
struct TemplateTable {
    int AddNOLOCK, get_ItemNOLOCK, put_ItemNOLOCK, get_ItemNameNOLOCK, Copy, Sort, Params_SaveCSV, Params_SaveXML,
        Params_LoadXML, Params_SaveFolderStream, Params_LoadFolderStream, Params_SaveXMLUnk, Params_LoadXMLUnk,
        getParameter, Bind, Save, Replicate, Load;
};
constexpr TemplateTable kFixedSlots = {18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35};
constexpr TemplateTable kCreatableSlots = {24, 25, 26, 27, 21, 22, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39};
