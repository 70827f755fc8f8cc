// Reads program files: the XML text of a program into its objects, steps and
// operator script.
#pragma once

#include <string>

#include "host/HostObject.h"
#include "stephost/Program.h"

namespace stephost {

// False with "line N: why" in error for a text that is not a program file.
// Step classes, parameter and input names are checked when it is built.
bool parseProgram(const std::string& text, ProgramFile& program, std::string& error);

// A program file's value: a whole number, a decimal number, or text.
SmartPtr<IVariant> programValue(const std::wstring& text);

}  // namespace stephost
