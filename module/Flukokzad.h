// The module's exported entry points, as a host declares them.
#pragma once

#include "runtime/Interfaces.h"

extern "C" HRESULT InitializeModule(void* reserved, IComponentCollection* collection);
extern "C" HRESULT CreateFunction(tagREFString name, CREATEFUNCTION* creator);
