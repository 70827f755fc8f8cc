// The host's view of a step's collection beyond the interface: the
// template's own operations and the step faces after them, declared as a
// host declares them, without the module's C++ declarations, so that a
// call lands where the host's table says it does.
#pragma once

#include <cstdint>

#include "runtime/Interfaces.h"

namespace host_tables {

// One parameter as the collection keeps it; getParameter reads such a record.
struct PARAMETEROBJECT {
    IString* name;
    IVariant* value;
    IUnknown* descriptor;
    int32_t flags;
};

// The host's view of a fixed collection: IParameters, then the template's
// own operations, then the bindable, persistable and replicable faces'
// operations, which a step class adds after the template's.
struct ParametersTable : IParameters {
    virtual HRESULT AddNOLOCK(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags) = 0;
    virtual HRESULT get_ItemNOLOCK(int32_t index, IUnknown** out) = 0;
    virtual HRESULT put_ItemNOLOCK(int32_t index, IUnknown* value) = 0;
    virtual HRESULT get_ItemNameNOLOCK(int32_t index, IString** out) = 0;
    virtual HRESULT Copy(IParameters* source) = 0;
    virtual HRESULT Sort(int32_t mode) = 0;
    virtual HRESULT Params_SaveCSV(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT Params_SaveXML(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT Params_LoadXML(IDataStream* stream, int32_t mode, int32_t reserved) = 0;
    virtual HRESULT Params_SaveFolderStream(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT Params_LoadFolderStream(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT Params_SaveXMLUnk(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT Params_LoadXMLUnk(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT getParameter(PARAMETEROBJECT* item, IUnknown** out) = 0;
    virtual HRESULT Bind(INamedCollection* collection, IUnknown* reserved) = 0;
    virtual HRESULT Save(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT Replicate(IUnknown** copy) = 0;
    virtual HRESULT Load(IDataStream* stream, int32_t mode) = 0;
};

// The same for a user-defined collection: Copy and Sort are the interface's.
struct CreatableTable : IParametersCreatable {
    virtual HRESULT AddNOLOCK(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags) = 0;
    virtual HRESULT get_ItemNOLOCK(int32_t index, IUnknown** out) = 0;
    virtual HRESULT put_ItemNOLOCK(int32_t index, IUnknown* value) = 0;
    virtual HRESULT get_ItemNameNOLOCK(int32_t index, IString** out) = 0;
    virtual HRESULT Params_SaveCSV(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT Params_SaveXML(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT Params_LoadXML(IDataStream* stream, int32_t mode, int32_t reserved) = 0;
    virtual HRESULT Params_SaveFolderStream(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT Params_LoadFolderStream(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT Params_SaveXMLUnk(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT Params_LoadXMLUnk(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT getParameter(PARAMETEROBJECT* item, IUnknown** out) = 0;
    virtual HRESULT Bind(INamedCollection* collection, IUnknown* reserved) = 0;
    virtual HRESULT Save(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT Replicate(IUnknown** copy) = 0;
    virtual HRESULT Load(IDataStream* stream, int32_t mode) = 0;
};

// Calls one operation of the host's table on the interface pointer the step
// handed out. The object is not of the table's C++ type (only its table is
// laid out like it), so the sanitizer's dynamic-type check does not apply.
template <class Table, class Operation, class... Arguments>
__attribute__((no_sanitize("vptr"))) HRESULT call(IParameters* face, Operation Table::*operation,
                                                  Arguments... arguments) {
    return (reinterpret_cast<Table*>(face)->*operation)(arguments...);
}

}  // namespace host_tables

using host_tables::call;
using host_tables::CreatableTable;
using host_tables::ParametersTable;
