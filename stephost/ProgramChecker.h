// Checks a program before anything of it runs: every step against what the
// module declares for its class (the step reference), every binding against
// the object it names, every scripted answer against the window that will
// ask for it. Each problem says what is wrong and what would be right.
#pragma once

#include <functional>

#include "stephost/Program.h"
#include "stephost/StepClasses.h"

namespace stephost {

// The object the program declares under that name, as made, or null.
using ObjectFinder = std::function<IUnknown*(const std::wstring& name)>;

// Adds a problem to `problems` for each step class, parameter, input,
// object or value the module or the objects do not have, and for each
// scripted answer the asking window would not take; buttons, tabs, items,
// window names and verbs the declared objects lack are warnings. Settles how
// each parameter's value is to be read (ProgramSetting::as): a choice by its
// name is its index, a text parameter's value stays text.
void checkProgram(ProgramFile& program, StepCatalogue& catalogue, const ObjectFinder& objectNamed,
                  std::vector<ProgramProblem>& problems);

// Whether the object offers the interface, itself or as the object a host
// window shows (as the module resolves a bound object).
bool offersInterface(IUnknown* object, const IID& iid);

}  // namespace stephost
