// What the module declares about its step classes, learnt as a host's
// property pages learn it: a fresh step of each class asked through its
// interfaces (its name, its IStep, its parameters, the input list the host
// gave it, its pages). `stephost describe` tells it, and the program checker
// holds each program against it.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "runtime/Interfaces.h"
#include "stephost/ProgramTrace.h"

namespace stephost {

// The fourteen registered names, in the order `describe` tells them.
extern const wchar_t* const kStepClassNames[14];

// The same names as UTF-8, for messages that list them.
std::vector<std::string> stepClassNames();

// "IStep" for the identifier of an interface the module or its host declares;
// "any interface" for IID_NULL and IUnknown; the words of its hexadecimal
// bytes for another.
std::string interfaceName(const IID& iid);

struct DeclaredInput {
    std::string name;
    IID iid;
    int32_t flags = 0;
};

struct DeclaredParameter {
    std::string name;
    int32_t flags = 0;
    TraceValue value;  // at creation
    // The choice list of a choice parameter (flags 0x40), in order; a
    // choice's value is its index.
    std::vector<std::string> choices;
    // Offered through IParametricObject (the Verb step's "Action"), not
    // declared in the step's own collection.
    bool parametric = false;
};

struct DeclaredPage {
    std::string page;
    bool named = true;       // its entry has a name (empty), not none
    std::string descriptor;  // the Verb step's pages name the step
};

struct StepClass {
    std::string name;  // as IObjectInfo::GetName gives it
    bool asynchronous = false;
    // IParametersCreatable: a program defines the parameters, the step
    // declares none.
    bool definedByProgram = false;
    std::vector<std::string> interfaces;
    std::vector<DeclaredInput> inputs;
    std::vector<DeclaredParameter> parameters;
    std::vector<DeclaredPage> pages;

    // Found as the module finds a name (ASCII letters folded), or null.
    const DeclaredParameter* parameter(const std::string& name) const;
    const DeclaredInput* input(const std::string& name) const;
};

// Asks a fresh step of that class; false with why in error when the module
// cannot make one.
bool describeStepClass(CREATEFUNCTIONFUNCTION create, const std::wstring& className, StepClass& described,
                       std::string& error);

// "integer", "choice", "number", "text", "object" or "any value", from a
// parameter's flags and whether it has a choice list.
std::string kindWord(int32_t flags, bool choices);
// "a path, written by the step": the flags beyond the kind, in words.
std::string flagWords(int32_t flags, bool choices);

// Each class described once, for checking programs of any length.
class StepCatalogue {
public:
    explicit StepCatalogue(CREATEFUNCTIONFUNCTION create) : m_Create(create) {}
    // Null when the module has no such class.
    const StepClass* find(const std::wstring& className);

private:
    CREATEFUNCTIONFUNCTION m_Create;
    std::unordered_map<std::wstring, StepClass> m_Classes;
    std::unordered_map<std::wstring, bool> m_Missing;
};

}  // namespace stephost
