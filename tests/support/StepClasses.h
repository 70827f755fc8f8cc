// Lets the stand-in's streams re-create the module's step classes by name,
// as the reference host does, for as long as the object lives.
#pragma once

#include <string>

#include "host/FolderStream.h"
#include "module/Flukokzad.h"

class StepClassesResolved {
public:
    StepClassesResolved() {
        host::setObjectResolver([](const std::wstring& className) -> SmartPtr<IUnknown> {
            CREATEFUNCTION creator = nullptr;
            const tagREFString name = {static_cast<int32_t>(className.size()), className.c_str()};
            if (CreateFunction(name, &creator) != S_OK || !creator) return nullptr;
            SmartPtr<IUnknown> object;
            creator(nullptr, &IID_IUnknown, object.put_void());
            return object;
        });
    }
    ~StepClassesResolved() { host::setObjectResolver(nullptr); }
    StepClassesResolved(const StepClassesResolved&) = delete;
    StepClassesResolved& operator=(const StepClassesResolved&) = delete;
};
