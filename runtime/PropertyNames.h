// How the property steps name an object's properties: the host's string
// table has one section per class, whose item names are property ids as
// text and whose items are the display names.
#pragma once

#include <cstdint>

#include "runtime/Interfaces.h"
#include "runtime/SmartPtr.h"

// The wanted interface of an object, asked of the object itself and then of
// the collection moniker it may be; null when neither gives it. Unlike
// OBJECTResolve, a host window is not looked into.
HRESULT PROPQueryInterface(IUnknown* object, const IID& iid, void** out);

template <class I>
SmartPtr<I> PROPQuery(IUnknown* object) {
    SmartPtr<I> result;
    PROPQueryInterface(object, iidOf<I>(), result.put_void());
    return result;
}

// The host's string table, found once and kept until the module releases
// its components; null while the host has none.
SmartPtr<IStringTable> PROPStringTable();
void PROPReleaseStringTable();

// The string table section of the object's class (part 1 of the component
// path the object gives), or null when the class has none.
SmartPtr<INamedCollection> PROPNameSection(IStringTable* table, IComponentString* path, IUnknown* object);

// The display name of property id: the section item whose name is the id
// as "%i", when it is a string; else null.
SmartPtr<IString> PROPDisplayName(INamedCollection* section, int32_t id);

// The index of the first section item that is a string equal to name,
// ignoring case (equal lengths, neither empty); the item count when none.
int32_t PROPFindName(INamedCollection* section, IString* name);

// A property id as a section item name gives it: "-" negative, "+", "#"
// hexadecimal, then digits up to the first other character; empty is 0.
int32_t PROPParseId(IString* text);
