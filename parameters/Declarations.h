// A step's inputs and parameters written as data: each step file holds its
// tables, and one helper declares them in FinalConstruct.
#pragma once

#include <cstdint>

#include "parameters/ParameterRecord.h"
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

// The flag words the steps declare their parameters with.
constexpr int32_t kIntegerFlags = PARAMETER_KIND_INTEGER;
constexpr int32_t kDecimalFlags = PARAMETER_KIND_DECIMAL;
constexpr int32_t kTextFlags = PARAMETER_KIND_TEXT;
// An on/off setting: an integer with the path marker, as every on/off setting
// is declared.
constexpr int32_t kSwitchFlags = PARAMETER_KIND_INTEGER | PARAMETER_PATH;
// An index into the descriptor's choice list.
constexpr int32_t kChoiceFlags = PARAMETER_KIND_INTEGER | PARAMETER_CHOICES;
constexpr int32_t kSwitchChoiceFlags = kChoiceFlags | PARAMETER_PATH;
// Results: written by the step when it runs.
constexpr int32_t kIntegerResultFlags = PARAMETER_RESULT | PARAMETER_KIND_INTEGER;
constexpr int32_t kTextResultFlags = PARAMETER_RESULT | PARAMETER_KIND_TEXT;
constexpr int32_t kObjectResultFlags = PARAMETER_RESULT | PARAMETER_KIND_OBJECT;

struct ParameterDeclaration {
    const wchar_t* name;
    DefaultValue value;
    int32_t flags;
    const wchar_t* choices = nullptr;  // the choice list "A|B|C", or no descriptor
};

template <class Entry>
using DeclarationTable = TableView<Entry>;
