// A step's inputs and parameters written as data: each step file holds its
// tables, and one helper declares them in FinalConstruct.
#pragma once

#include <cstdint>

#include "runtime/Interfaces.h"
#include "runtime/TableView.h"

struct InputDeclaration {
    const wchar_t* name;
    const IID* iid;  // what the binding must supply; &IID_NULL for anything
    int32_t flags;
};

// The default value: every number is declared as an integer; texts as strings.
struct DefaultValue {
    bool isText;
    int32_t integer;
    const wchar_t* text;
};
constexpr DefaultValue Integer(int32_t value) { return {false, value, nullptr}; }
constexpr DefaultValue Text(const wchar_t* text) { return {true, 0, text}; }

struct ParameterDeclaration {
    const wchar_t* name;
    DefaultValue value;
    int32_t flags;
    const wchar_t* choices = nullptr;  // the choice list "A|B|C", or no descriptor
};

template <class Entry>
using DeclarationTable = TableView<Entry>;
