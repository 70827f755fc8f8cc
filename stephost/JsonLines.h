// A JSON writer for one object per line, the form of stephost's machine trace.
// Texts are UTF-8; bytes that are not well-formed UTF-8 are written as U+FFFD,
// so every line is valid JSON whatever a program holds.
#pragma once

#include <cstdint>
#include <string>

namespace stephost {

// text as a JSON string, quotes included: quotes, backslashes and control
// characters escaped, well-formed UTF-8 kept as it is.
std::string jsonString(const std::string& utf8);

// Builds one object, member by member, in the order they are added.
class JsonObject {
public:
    JsonObject& text(const char* name, const std::string& utf8);
    JsonObject& integer(const char* name, int64_t value);
    // A number that is not finite has no JSON form and is written as null.
    JsonObject& number(const char* name, double value);
    JsonObject& boolean(const char* name, bool value);
    JsonObject& null(const char* name);

    // "{...}" without a line end.
    std::string line() const { return "{" + m_Members + "}"; }

private:
    JsonObject& member(const char* name, const std::string& json);

    std::string m_Members;
};

}  // namespace stephost
