// Program files for the reference host, as read: the simulated host's
// interface objects, the steps with their settings and input bindings, and a
// scripted operator. Each part keeps its line, for messages that name it.
#pragma once

#include <cstdint>
#include <cwchar>
#include <string>
#include <utility>
#include <vector>

#include "host/Operator.h"

namespace stephost {

// One object of the simulated host as the file declares it: its kind (an
// element name that stephost/ProgramObjects.cpp knows), its name, its other
// attributes in order, and the elements inside it (the buttons of a button
// set, the tabs of a tab set), read the same way.
struct ProgramObject {
    std::wstring name;
    std::string kind;
    std::vector<std::pair<std::string, std::wstring>> attributes;
    std::vector<ProgramObject> children;
    int line = 0;

    // The attribute's text, or null when the element has none of that name.
    const std::wstring* attribute(const std::string& attributeName) const {
        for (const auto& entry : attributes) {
            if (entry.first == attributeName) return &entry.second;
        }
        return nullptr;
    }
};

struct ProgramSetting {
    std::wstring name;
    std::wstring value;
    int line = 0;
    // How the checker read the value: as written (a number when it reads as
    // one, else text), as text whatever it reads as, or as `index` (a choice
    // given by its name, a verb by its name).
    enum class As { Written, Text, Index } as = As::Written;
    int32_t index = 0;
};

struct ProgramBinding {
    std::wstring input;
    std::wstring object;
    std::wstring itemName;
    bool hasItemName = false;
    int32_t itemIndex = -1;
    int line = 0;
};

struct ProgramStep {
    std::wstring className;
    std::wstring title;
    std::vector<ProgramSetting> parameters;
    std::vector<ProgramBinding> inputs;
    int line = 0;
};

// Something wrong with a program file: "what is wrong; what would be right".
// A warning is something a program may mean (a button its object lacks, to
// test the step without one); --strict makes it an error.
struct ProgramProblem {
    int line = 0;
    std::string text;
    bool warning = false;
};

struct ProgramFile {
    std::wstring name;
    std::vector<ProgramObject> objects;
    std::vector<ProgramStep> steps;
    std::vector<host::OperatorAction> operatorScript;
    // Found while it was read and checked; the reader stops at the first
    // that leaves it unreadable, the checker goes on to the end.
    std::vector<ProgramProblem> problems;
};

// A whole number that is the whole text and fits 32 bits; base 0 reads
// "0x43" too. False, with `value` untouched, for anything else.
inline bool wholeNumber(const std::wstring& text, int32_t& value, int base = 10) {
    if (text.empty()) return false;
    wchar_t* end = nullptr;
    const long long parsed = std::wcstoll(text.c_str(), &end, base);
    if (*end != L'\0' || parsed < INT32_MIN || parsed > INT32_MAX) return false;
    value = static_cast<int32_t>(parsed);
    return true;
}

// "line N: why", the form of every message about a program file; the
// reference host turns it into "file:N: why".
inline std::string programError(int line, const std::string& why) {
    return "line " + std::to_string(line) + ": " + why;
}

// A name from the file as a message echoes it: cut after 60 characters, with
// "..." for the rest, so that a message stays readable whatever the file holds.
inline std::string shown(const std::string& utf8) {
    constexpr size_t kShownCharacters = 60;
    size_t characters = 0;
    for (size_t i = 0; i < utf8.size(); ++i) {
        const bool starts = (static_cast<unsigned char>(utf8[i]) & 0xC0) != 0x80;
        if (starts && characters++ == kShownCharacters) return utf8.substr(0, i) + "...";
    }
    return utf8;
}

// The candidates, nearest to `wrong` first (the fewest letters to change,
// case ignored), joined with ", "; after `most` of them, "...".
std::string nearestFirst(const std::string& wrong, std::vector<std::string> candidates, size_t most = 12);

}  // namespace stephost
