// What the property read and write steps share: how the host's string
// table names an object's properties (one section per class, whose item
// names are property ids as text and whose items are the display names),
// the kinds the host gives its properties, and how a property's 4 bytes
// carry a single-precision value.
#pragma once

#include <cstdint>

#include "runtime/Interfaces.h"
#include "runtime/SmartPtr.h"

// The id under which an object answers for all of its properties.
constexpr int32_t kAllProperties = 0x2000000;

// A property's kind: the value type in the low four bits (1 to 3 integer, 4
// and 5 single-precision, 6 text, 7 and above object), the sub-kind above.
constexpr int32_t kPropertyValueType = 0x0F;
constexpr int32_t kPropertySubKind = 0xF0;
constexpr int32_t kPropertyHasChoices = 0x40;  // a sub-kind: a list of allowed values
constexpr int32_t kPropertyText = 6;
constexpr int32_t kPropertyObject = 7;
constexpr bool PROPIsInteger(int32_t valueType) { return valueType <= 3; }
constexpr bool PROPIsSingle(int32_t valueType) { return valueType == 4 || valueType == 5; }

// The bits of the single-precision value nearest to value. Beyond the
// largest single the value is an infinity of its sign, as the hardware
// would round it, without a conversion the language leaves undefined.
int32_t PROPSingleBits(double value);
// The single-precision value that bits hold.
float PROPSingleOfBits(int32_t bits);

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
