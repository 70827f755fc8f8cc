// Lets the stand-in's streams re-create the module's step classes by name,
// as the reference host does, for as long as the object lives.
#pragma once

#include "host/ClassFactory.h"
#include "module/Flukokzad.h"

class StepClassesResolved {
public:
    StepClassesResolved() { host::setObjectResolver(host::moduleResolver(CreateFunction)); }
    ~StepClassesResolved() { host::setObjectResolver(nullptr); }
    StepClassesResolved(const StepClassesResolved&) = delete;
    StepClassesResolved& operator=(const StepClassesResolved&) = delete;
};
