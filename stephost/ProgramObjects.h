// The kinds of object a program file can declare, and how each is made of
// the stand-in host's components.
// Every kind is one line of the table in ProgramObjects.cpp.
#pragma once

#include <string>

#include "host/Collections.h"
#include "runtime/SmartPtr.h"
#include "stephost/Program.h"

namespace stephost {

// Makes the object an element declares. `made` holds the objects declared
// before it, by name (a window names the object it hosts). Null with
// "line N: why" in `error` when the element cannot be made.
using ObjectMaker = SmartPtr<IUnknown> (*)(const ProgramObject& object, host::SuperCollection* made,
                                           std::string& error);

struct ObjectKind {
    const char* kind;
    ObjectMaker make;
    // Its attributes besides "name", space-separated.
    const char* attributes;
    // The named host component that a declared object of this kind becomes
    // for the program's run ("ActiveWorkspace"), or null.
    const wchar_t* component = nullptr;
};

// The kind of that element name, or null.
const ObjectKind* findObjectKind(const std::string& kind);

// Makes the object, labelled with its name for the trace.
SmartPtr<IUnknown> makeProgramObject(const ProgramObject& object, host::SuperCollection* made, std::string& error);

}  // namespace stephost
