// Attaching the monikers of a step's bindings to the program's collection.
#pragma once

#include "runtime/Interfaces.h"

// Binds the moniker of every input of `inputs` (an IInputParameters) to
// `collection` (null when it is no named collection); entries that are not
// bindings, or bindings without a moniker, are passed over. Always 0.
HRESULT ParameterBindInputs(IUnknown* inputs, IUnknown* collection);

// The same for every parameter of `parameters` whose descriptor is a binding.
HRESULT ParameterBindParameterDescriptors(IUnknown* parameters, IUnknown* collection);
