// A step's parameters in a folder stream: a value entry per parameter in the
// simple form, or a sub-folder with "Value" or "Unknown", "Flags" and
// "Descriptor" in the folder form.
//
// Both work through the collection's own operations, so what is saved is what
// readers see (a bound input's current value) and every access is guarded.
#pragma once

#include <cstdint>

#include "parameters/ParameterCollection.h"

// Writes every parameter; always 0. A stream without IFolderStream is left
// untouched. The compact bit (0x800000) reduces what is written to what the
// step's declaration cannot restore. A value holding the step itself is not
// written as an object.
HRESULT PARAMSSaveFolderStream(ParameterCollection& parameters, IDataStream* stream, int32_t mode);

// Reads the parameters back; 0. Without the rebuild bit (0x1000000) the
// declared parameters keep their place and their flags and take the stored
// values and descriptors; with it, the set is re-created from the stream's
// entries, or, without memory for it, kept as it was (E_OUTOFMEMORY).
HRESULT PARAMSLoadFolderStream(ParameterCollection& parameters, IDataStream* stream, int32_t mode);
