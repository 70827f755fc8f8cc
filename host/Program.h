// Program files for the reference host, as read: the simulated host's
// interface objects, the steps with their settings and input bindings, and a
// scripted operator. Each part keeps its line, for messages that name it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace host {

// One object of the simulated host as the file declares it: its kind (an
// element name that host/ProgramObjects.cpp knows), its name, its other
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

// One scripted answer of the operator, consumed by the steps that ask.
struct OperatorAction {
    std::string kind;  // "confirm", "keyboard", "file" or "editor"
    std::wstring value;
    int32_t delayMs = 0;
    int line = 0;
};

struct ProgramFile {
    std::wstring name;
    std::vector<ProgramObject> objects;
    std::vector<ProgramStep> steps;
    std::vector<OperatorAction> operatorScript;
};

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

}  // namespace host
