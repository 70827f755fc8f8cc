// How the module reaches host components: the global component collection,
// component modules loaded from ./_binlinux/, and components by name.
#pragma once

#include <cwchar>

#include "runtime/Interfaces.h"
#include "runtime/SmartPtr.h"

// The host's collection, set by InitializeModule or made from CollectionsEx.
extern SmartPtr<IComponentCollection> gGlobalComponentCollection;

// The global collection with a new reference, or null.
SmartPtr<IComponentCollection> GLOBALComponents();

// Replaces the global collection (null clears it).
void GLOBALSetComponents(IComponentCollection* collection);

// Loads ./_binlinux/<module>.so and asks it for the class's creator; null when
// the library, its CreateFunction or the class is missing.
CREATEFUNCTION MODULECreateFunction(tagREFString moduleName, tagREFString className);

// The named component of the global collection as iid (null: as it is); the
// result carries one reference, or is null.
void* CreateObject(tagREFString name, const IID* iid);

// The named component's IComponentString, or null.
SmartPtr<IComponentString> GetComponentString(IString* name);

template <class I>
SmartPtr<I> CreateObject(const wchar_t* name) {
    const tagREFString text = {static_cast<int32_t>(std::wcslen(name)), name};
    return SmartPtr<I>::adopt(static_cast<I*>(CreateObject(text, &iidOf<I>())));
}

// Releases every host object the module keeps for its lifetime (the global
// collection and the cached factories), as unloading the module does.
void MODULEReleaseComponents();
