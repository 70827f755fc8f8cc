#include "stephost/ProgramReader.h"

#include <tinyxml2.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <unordered_set>

#include "host/Files.h"
#include "host/Variants.h"
#include "stephost/ProgramObjects.h"

namespace stephost {

namespace {

std::wstring attribute(const tinyxml2::XMLElement* element, const char* name) {
    const char* value = element->Attribute(name);
    return value ? host::widen(value) : std::wstring();
}

// "line 3: not well-formed XML: an element is not closed, or its end tag names another".
std::string xmlError(const tinyxml2::XMLDocument& document) {
    struct Meaning {
        tinyxml2::XMLError error;
        const char* words;
    };
    static const Meaning kMeanings[] = {
        {tinyxml2::XML_ERROR_PARSING_ELEMENT, "an element's tag is not closed with > or />"},
        {tinyxml2::XML_ERROR_PARSING_ATTRIBUTE, "an attribute is not written name=\"value\""},
        {tinyxml2::XML_ERROR_PARSING_TEXT, "text that cannot be read (a < or & that starts no markup?)"},
        {tinyxml2::XML_ERROR_PARSING_CDATA, "a <![CDATA[ section is not closed with ]]>"},
        {tinyxml2::XML_ERROR_PARSING_COMMENT, "a comment is not closed with -->"},
        {tinyxml2::XML_ERROR_PARSING_DECLARATION, "a <? ... ?> declaration is not closed"},
        {tinyxml2::XML_ERROR_PARSING_UNKNOWN, "a <! ... > declaration is not closed"},
        {tinyxml2::XML_ERROR_EMPTY_DOCUMENT, "the file holds no element"},
        {tinyxml2::XML_ERROR_MISMATCHED_ELEMENT, "an element is not closed, or its end tag names another"},
        {tinyxml2::XML_ELEMENT_DEPTH_EXCEEDED, "elements nest too deep"},
    };
    const char* words = "the text cannot be read as XML";
    for (const Meaning& meaning : kMeanings) {
        if (meaning.error == document.ErrorID()) words = meaning.words;
    }
    const int line = document.ErrorLineNum() > 0 ? document.ErrorLineNum() : 1;
    return programError(line, std::string("not well-formed XML: ") + words);
}

// The lines a stretch of the text spans.
int linesIn(const std::string& text, size_t from, size_t to) {
    return static_cast<int>(std::count(text.begin() + static_cast<std::ptrdiff_t>(from),
                                       text.begin() + static_cast<std::ptrdiff_t>(to), '\n'));
}

// The text scanned once before the XML parser sees it, so that nothing in it
// costs the parser more than linear time (it compares each new attribute of an
// element with all before it): an element with more attributes than any
// program needs is refused, with its line. Malformed markup is left for the
// parser to name.
bool checkAttributeCounts(const std::string& text, std::string& error) {
    constexpr size_t kMostAttributes = 100;
    int line = 1;
    const auto skipPast = [&](size_t from, const char* end) {
        const size_t found = text.find(end, from);
        const size_t past = found == std::string::npos ? text.size() : found + std::strlen(end);
        line += linesIn(text, from, past);
        return past;
    };
    for (size_t i = 0; i < text.size();) {
        if (text[i] != '<') {
            line += text[i++] == '\n';
        } else if (text.compare(i, 4, "<!--") == 0) {
            i = skipPast(i, "-->");
        } else if (text.compare(i, 9, "<![CDATA[") == 0) {
            i = skipPast(i, "]]>");
        } else if (text.compare(i, 2, "<?") == 0) {
            i = skipPast(i, "?>");
        } else if (text.compare(i, 2, "<!") == 0 || text.compare(i, 2, "</") == 0) {
            i = skipPast(i, ">");
        } else {
            // A start tag: its name, then one quoted value per attribute up to its ">".
            const int tagLine = line;
            const size_t nameEnd = std::min(text.find_first_of(" \t\r\n/>", i + 1), text.size());
            const std::string name = text.substr(i + 1, nameEnd - i - 1);
            size_t attributes = 0;
            for (i = nameEnd; i < text.size() && text[i] != '>';) {
                if (text[i] == '"' || text[i] == '\'') {
                    attributes += 1;
                    i = skipPast(i + 1, text[i] == '"' ? "\"" : "'");
                } else {
                    line += text[i++] == '\n';
                }
            }
            if (attributes > kMostAttributes) {
                error = programError(
                    tagLine, "<" + shown(name) + "> has more than " + std::to_string(kMostAttributes) + " attributes");
                return false;
            }
        }
    }
    return true;
}

// Each attribute of the element that is none of `known` (space-separated) is
// a problem: a misspelt one would otherwise be dropped without a word.
void checkAttributes(const tinyxml2::XMLElement* element, const std::string& known,
                     std::vector<ProgramProblem>& problems) {
    std::vector<std::string> names;
    for (size_t at = 0; at < known.size();) {
        const size_t end = std::min(known.find(' ', at), known.size());
        if (end > at) names.push_back(known.substr(at, end - at));
        at = end + 1;
    }
    for (const tinyxml2::XMLAttribute* a = element->FirstAttribute(); a; a = a->Next()) {
        if (std::find(names.begin(), names.end(), a->Name()) != names.end()) continue;
        problems.push_back(
            {element->GetLineNum(),
             "<" + shown(element->Name()) + "> has no attribute \"" + shown(a->Name()) + "\"; " +
                 (names.empty() ? std::string("it takes none") : "it takes " + nearestFirst(a->Name(), names))});
    }
}

// An object with its attributes and the elements inside it, each of a kind
// the simulated host knows.
bool parseObject(const tinyxml2::XMLElement* element, ProgramObject& object, std::string& error,
                 std::vector<ProgramProblem>& problems, int depth = 0) {
    object.kind = element->Name();
    object.line = element->GetLineNum();
    const ObjectKind* kind = findObjectKind(object.kind);
    if (!kind) {
        error = programError(object.line, "unknown kind of object <" + shown(object.kind) + ">");
        return false;
    }
    checkAttributes(element, std::string("name ") + kind->attributes, problems);
    if (depth > 16) {
        error = programError(object.line, "objects nest at most 16 deep");
        return false;
    }
    for (const tinyxml2::XMLAttribute* a = element->FirstAttribute(); a; a = a->Next()) {
        if (std::strcmp(a->Name(), "name") == 0) {
            object.name = host::widen(a->Value());
        } else {
            object.attributes.emplace_back(a->Name(), host::widen(a->Value()));
        }
    }
    for (const tinyxml2::XMLElement* child = element->FirstChildElement(); child; child = child->NextSiblingElement()) {
        ProgramObject inner;
        if (!parseObject(child, inner, error, problems, depth + 1)) return false;
        object.children.push_back(std::move(inner));
    }
    return true;
}

constexpr size_t kMostParameters = 1000;

bool parseStep(const tinyxml2::XMLElement* element, ProgramStep& step, std::string& error,
               std::vector<ProgramProblem>& problems) {
    step.line = element->GetLineNum();
    checkAttributes(element, "class title", problems);
    step.className = attribute(element, "class");
    step.title = attribute(element, "title");
    if (step.className.empty()) {
        error = programError(step.line, "a step needs a class");
        return false;
    }
    for (const tinyxml2::XMLElement* child = element->FirstChildElement(); child; child = child->NextSiblingElement()) {
        const std::string kind = child->Name();
        const int line = child->GetLineNum();
        if (kind == "parameter") {
            checkAttributes(child, "name", problems);
            ProgramSetting setting{attribute(child, "name"), host::widen(child->GetText() ? child->GetText() : ""),
                                   line};
            if (!child->Attribute("name")) {
                error = programError(line, "a parameter needs a name");
                return false;
            }
            // A step's parameters are looked up by name one after the other
            // as they are set: their number is bounded to keep that quick.
            if (step.parameters.size() == kMostParameters) {
                error = programError(line, "a step holds at most " + std::to_string(kMostParameters) + " parameters");
                return false;
            }
            step.parameters.push_back(setting);
        } else if (kind == "input") {
            checkAttributes(child, "name object item index", problems);
            ProgramBinding binding;
            binding.line = line;
            binding.input = attribute(child, "name");
            binding.object = attribute(child, "object");
            if (binding.input.empty() || binding.object.empty()) {
                error = programError(line, "an input needs a name and an object");
                return false;
            }
            if (child->Attribute("item")) {
                binding.itemName = attribute(child, "item");
                binding.hasItemName = true;
            }
            if (child->Attribute("index") && !wholeNumber(attribute(child, "index"), binding.itemIndex)) {
                error = programError(line, "the index is not a whole number");
                return false;
            }
            step.inputs.push_back(binding);
        } else {
            error = programError(line, "a step holds <parameter> and <input>, not <" + shown(kind) + ">");
            return false;
        }
    }
    return true;
}

}  // namespace

SmartPtr<IVariant> programValue(const std::wstring& text) {
    int32_t integer = 0;
    if (wholeNumber(text, integer)) return host::makeVariant(integer);
    if (!text.empty()) {
        wchar_t* end = nullptr;
        const double real = std::wcstod(text.c_str(), &end);
        if (*end == L'\0' && (text.find(L'.') != std::wstring::npos || text.find(L'e') != std::wstring::npos)) {
            return host::makeVariant(real);
        }
    }
    return host::makeVariant(text);
}

bool parseProgram(const std::string& text, ProgramFile& program, std::string& error) {
    int encodingLine = 1;
    const std::string encoding = host::encodingProblem(text, encodingLine);
    if (!encoding.empty()) {
        error = programError(encodingLine, encoding);
        return false;
    }
    if (text.compare(0, 14, "folder-stream ") == 0) {
        error = programError(1,
                             "this is the folder stream save --folder writes, not a program file; give it with "
                             "--from-folder beside the program file whose objects it binds");
        return false;
    }
    if (!checkAttributeCounts(text, error)) return false;
    tinyxml2::XMLDocument document;
    if (document.Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS) {
        error = xmlError(document);
        return false;
    }
    const tinyxml2::XMLElement* root = document.RootElement();
    if (root && std::strcmp(root->Name(), "Program") == 0) {
        error = programError(root->GetLineNum(),
                             "the root element is <program>; this <Program> is the steps save --xml writes: give it "
                             "with --from-xml beside the program file whose objects it binds");
        return false;
    }
    if (!root || std::strcmp(root->Name(), "program") != 0) {
        error = programError(root ? root->GetLineNum() : 1, "the root element is <program>");
        return false;
    }
    program = ProgramFile();
    program.name = attribute(root, "name");
    checkAttributes(root, "name", program.problems);
    std::unordered_set<std::wstring> objectNames;
    for (const tinyxml2::XMLElement* section = root->FirstChildElement(); section;
         section = section->NextSiblingElement()) {
        const std::string name = section->Name();
        checkAttributes(section, "", program.problems);
        for (const tinyxml2::XMLElement* item = section->FirstChildElement(); item; item = item->NextSiblingElement()) {
            const std::string kind = item->Name();
            const int line = item->GetLineNum();
            if (name == "objects") {
                ProgramObject object;
                if (!parseObject(item, object, error, program.problems)) return false;
                if (object.name.empty()) {
                    error = programError(line, "an object needs a name");
                    return false;
                }
                if (!objectNames.insert(object.name).second) {
                    error = programError(line,
                                         "an object named \"" + shown(host::narrow(object.name)) + "\" exists already");
                    return false;
                }
                program.objects.push_back(object);
            } else if (name == "steps") {
                if (kind != "step") {
                    error = programError(line, "<steps> holds <step> elements, not <" + shown(kind) + ">");
                    return false;
                }
                ProgramStep step;
                if (!parseStep(item, step, error, program.problems)) return false;
                program.steps.push_back(step);
            } else if (name == "operator") {
                if (kind != "confirm" && kind != "keyboard" && kind != "file" && kind != "editor") {
                    error = programError(line, "<" + shown(kind) +
                                                   "> is no answer; the operator answers with <confirm>, <keyboard>, "
                                                   "<file> or <editor>");
                    return false;
                }
                checkAttributes(item, "delay", program.problems);
                host::OperatorAction action{kind, host::widen(item->GetText() ? item->GetText() : ""), 0, line};
                if (item->Attribute("delay") &&
                    (!wholeNumber(attribute(item, "delay"), action.delayMs) || action.delayMs < 0)) {
                    error = programError(line, "the delay is a number of milliseconds");
                    return false;
                }
                program.operatorScript.push_back(action);
            } else {
                error = programError(section->GetLineNum(), "unknown section <" + shown(name) +
                                                                ">; a program holds <objects>, <steps> and <operator>");
                return false;
            }
        }
        if (name != "objects" && name != "steps" && name != "operator") {
            error = programError(section->GetLineNum(), "unknown section <" + shown(name) +
                                                            ">; a program holds <objects>, <steps> and <operator>");
            return false;
        }
    }
    return true;
}

}  // namespace stephost
