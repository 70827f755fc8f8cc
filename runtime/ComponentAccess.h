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

// A named host component found once with GetComponentString and kept until
// the module lets go of its components (MODULEReleaseComponents, unload);
// while it is missing, every use looks for it again. Meant to be a
// function-level static of the one function that makes its objects.
void MODULEReleaseComponents();

class KeptComponent {
public:
    explicit KeptComponent(const wchar_t* name) : m_Name(name) {}
    KeptComponent(const KeptComponent&) = delete;
    KeptComponent& operator=(const KeptComponent&) = delete;

    // A new object of the component's class as I, or null.
    template <class I>
    SmartPtr<I> CreateInstance() {
        SmartPtr<I> made;
        if (SmartPtr<IComponentString> component = get()) component->CreateInstance(&iidOf<I>(), made.put_void());
        return made;
    }

    SmartPtr<IComponentString> get();
    void release();

private:
    friend void MODULEReleaseComponents();

    const wchar_t* m_Name;
    SmartPtr<IComponentString> m_Component;
    KeptComponent* m_Next = nullptr;  // in the list of those MODULEReleaseComponents lets go
    bool m_Listed = false;
};

// Releases every host object the module keeps for its lifetime (the global
// collection and the cached factories), as unloading the module does.
void MODULEReleaseComponents();
