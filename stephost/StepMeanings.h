// What each step class, input and parameter means, in one line each: the
// words of the step reference (`stephost describe`, docs/steps.md). They are
// stephost's, not the module's: the module declares names, kinds and values,
// and its binary carries no prose.
#pragma once

#include <string>

namespace stephost {

// The line for a class (name empty: what the step does) or for one of its
// inputs or parameters; null when there is none.
const char* meaningOf(const std::string& className, const std::string& name);

// Every line, for a test that holds them against what the module declares.
struct Meaning {
    const char* className;
    const char* name;  // "" for the class itself
    const char* text;
};
const Meaning* allMeanings(size_t& count);

}  // namespace stephost
