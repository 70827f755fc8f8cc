// Objects by class name, for everything that creates or re-creates them: the
// stand-in's own classes, the classes of the module a host has loaded, and
// the name an object is stored under in a stream.
#pragma once

#include <functional>
#include <string>

#include "host/HostObject.h"

namespace host {

// The stand-in's classes, created by name (a component path's class part).
class ClassRegistry {
public:
    using Factory = std::function<SmartPtr<IUnknown>()>;
    static void add(const std::wstring& className, Factory factory);
    // A new object of the class, or null when the class is unknown.
    static SmartPtr<IUnknown> create(const std::wstring& className);
    // The class's factory, kept for the life of the process, or null; a
    // component string finds it once rather than on every object it makes.
    static const Factory* find(const std::wstring& className);
    // A new object from a factory find gave.
    static SmartPtr<IUnknown> create(const Factory& factory);
};

// Makes an object of a class the stand-in does not know by itself (the
// module's step classes, through the module's CreateFunction).
using ObjectResolver = std::function<SmartPtr<IUnknown>(const std::wstring& className)>;
void setObjectResolver(ObjectResolver resolver);

// A new object of the class through a module's CreateFunction; null when the
// module has no such class or its creator fails.
SmartPtr<IUnknown> createModuleObject(CREATEFUNCTIONFUNCTION create, const std::wstring& className);
// The resolver a host sets for the module it has loaded.
ObjectResolver moduleResolver(CREATEFUNCTIONFUNCTION create);

// A new object of the class: the stand-in's own classes first, then the
// resolver. Null when neither knows it.
SmartPtr<IUnknown> createObjectOfClass(const std::wstring& className);

// The class name an object is stored under: a module object's own name, or
// the stand-in class it is. Empty when the object cannot be stored.
std::wstring classNameOf(IUnknown* object);

}  // namespace host
