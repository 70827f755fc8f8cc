// A step's parameters as XML elements: every parameter with its value as
// text (Params_SaveXML and Params_LoadXML), or only the parameters whose value
// is a persistable object, which saves itself (the "Unk" pair). All four
// return 0 and leave a stream without IXMLStream untouched; a rebuilding
// load without memory for the new set gives E_OUTOFMEMORY and keeps the old.
#pragma once

#include <cstdint>

#include "parameters/ParameterCollection.h"

// The compact bit (0x800000) writes what the declaration cannot restore, an
// integer colour as its colour text.
HRESULT PARAMSSaveXML(ParameterCollection& parameters, IDataStream* stream, int32_t mode);
// With the rebuild bit (0x1000000) the set is re-created, each element's
// whole text a value.
HRESULT PARAMSLoadXML(ParameterCollection& parameters, IDataStream* stream, int32_t mode);
HRESULT PARAMSSaveXMLUnk(ParameterCollection& parameters, IDataStream* stream, int32_t mode);
// With the reuse bit (0x2000000) the current objects load themselves.
// `creatable`: an element's class name may be longer than the object's class.
HRESULT PARAMSLoadXMLUnk(ParameterCollection& parameters, IDataStream* stream, int32_t mode, bool creatable);
