#include "host/XmlStream.h"

#include <tinyxml2.h>

#include <cstring>

#include "host/ClassFactory.h"
#include "host/Files.h"
#include "host/Variants.h"

namespace host {

struct XmlStream::Document {
    std::recursive_mutex mutex;
    tinyxml2::XMLDocument xml;
};

namespace {

// Characters that XML 1.0 can carry; the others (C0 controls but tab, line
// feed and carriage return, surrogates, U+FFFE, U+FFFF, beyond U+10FFFF)
// cannot be written even as references.
bool isXmlCharacter(uint32_t code) {
    return code == 0x9 || code == 0xA || code == 0xD || (code >= 0x20 && code <= 0xD7FF) ||
           (code >= 0xE000 && code <= 0xFFFD) || (code >= 0x10000 && code <= 0x10FFFF);
}

// UTF-8 for the document; characters XML cannot carry become U+FFFD, so that
// the file is always well-formed, valid UTF-8.
std::string utf8(const std::wstring& text) {
    std::wstring clean;
    clean.reserve(text.size());
    for (wchar_t c : text) clean += isXmlCharacter(static_cast<uint32_t>(c)) ? c : static_cast<wchar_t>(0xFFFD);
    return narrow(clean);
}

// The parser does not check that a file is UTF-8: what it reads is decoded
// here, every byte that does not belong to a well-formed sequence giving
// U+FFFD.
std::wstring decode(const char* text, size_t size) {
    std::wstring out;
    out.reserve(size);
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    for (size_t i = 0; i < size;) {
        const unsigned lead = bytes[i];
        size_t extra = 0;
        uint32_t code = lead;
        unsigned low = 0x80;
        unsigned high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            extra = 1;
            code = lead & 0x1F;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            extra = 2;
            code = lead & 0x0F;
            if (lead == 0xE0) low = 0xA0;   // no overlong forms
            if (lead == 0xED) high = 0x9F;  // no surrogates
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            extra = 3;
            code = lead & 0x07;
            if (lead == 0xF0) low = 0x90;
            if (lead == 0xF4) high = 0x8F;  // nothing beyond U+10FFFF
        } else if (lead >= 0x80) {
            out += static_cast<wchar_t>(0xFFFD);
            ++i;
            continue;
        }
        size_t taken = 1;
        bool whole = true;
        for (; taken <= extra; ++taken) {
            const unsigned next = i + taken < size ? bytes[i + taken] : 0;
            if (next < low || next > high) {
                whole = false;
                break;
            }
            low = 0x80;
            high = 0xBF;
            code = (code << 6) | (next & 0x3F);
        }
        out += whole ? static_cast<wchar_t>(code) : static_cast<wchar_t>(0xFFFD);
        i += whole ? extra + 1 : taken;
    }
    return out;
}

std::wstring decode(const char* text) { return text ? decode(text, std::strlen(text)) : std::wstring(); }

// What was read is written again decoded and cleaned; plain ASCII that XML
// carries, nearly every text, as it is.
std::string cleaned(const char* text) {
    if (!text) return std::string();
    const char* end = text;
    for (unsigned char c; (c = static_cast<unsigned char>(*end)) != 0; ++end) {
        if (c >= 0x80 || !isXmlCharacter(c)) return utf8(decode(text));
    }
    return std::string(text, static_cast<size_t>(end - text));
}

// The writer. Escapes what XML needs and, beyond that, what a parser would
// not give back: a carriage return (which parsers turn into a line feed) is
// written as a reference, and so is the first character of a text that is
// all blanks (which would be dropped as formatting). In attribute values,
// tabs and line ends are references too (parsers turn them into spaces).
class Printer {
public:
    std::string print(const tinyxml2::XMLDocument& document) {
        m_Out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        for (const tinyxml2::XMLElement* element = document.FirstChildElement(); element;
             element = element->NextSiblingElement()) {
            printElement(*element, 0, false);
        }
        return std::move(m_Out);
    }

private:
    // Elements on lines of their own, indented by four spaces a level; an
    // element that holds text is written on one line with all it holds, so
    // that no formatting blank joins its text.
    void printElement(const tinyxml2::XMLElement& element, int depth, bool inline_) {
        if (!inline_) m_Out.append(static_cast<size_t>(depth) * 4, ' ');
        m_Out += '<';
        m_Out += cleaned(element.Name());
        for (const tinyxml2::XMLAttribute* attribute = element.FirstAttribute(); attribute;
             attribute = attribute->Next()) {
            m_Out += ' ';
            m_Out += cleaned(attribute->Name());
            m_Out += "=\"";
            escape(cleaned(attribute->Value()), true);
            m_Out += '"';
        }
        bool holdsText = false;
        bool holdsAnything = false;
        // An empty text is nothing: a parser would not give it back.
        for (const tinyxml2::XMLNode* node = element.FirstChild(); node; node = node->NextSibling()) {
            const bool text = node->ToText() && *node->Value();
            holdsText = holdsText || text;
            holdsAnything = holdsAnything || text || node->ToElement();
        }
        if (!holdsAnything) {
            m_Out += inline_ ? "/>" : "/>\n";
            return;
        }
        m_Out += '>';
        const bool childrenInline = inline_ || holdsText;
        if (!childrenInline) m_Out += '\n';
        for (const tinyxml2::XMLNode* node = element.FirstChild(); node; node = node->NextSibling()) {
            if (const tinyxml2::XMLText* text = node->ToText()) {
                escapeText(cleaned(text->Value()));
            } else if (const tinyxml2::XMLElement* child = node->ToElement()) {
                printElement(*child, depth + 1, childrenInline);
            }
        }
        if (!childrenInline) m_Out.append(static_cast<size_t>(depth) * 4, ' ');
        m_Out += "</";
        m_Out += cleaned(element.Name());
        m_Out += inline_ ? ">" : ">\n";
    }

    void escapeText(const std::string& text) {
        const bool allBlank = !text.empty() && text.find_first_not_of(" \t\n\r") == std::string::npos;
        if (allBlank) {
            reference(text[0]);
            escape(text.substr(1), false);
        } else {
            escape(text, false);
        }
    }

    void escape(const std::string& text, bool attribute) {
        for (char c : text) {
            switch (c) {
                case '&':
                    m_Out += "&amp;";
                    break;
                case '<':
                    m_Out += "&lt;";
                    break;
                case '>':
                    m_Out += "&gt;";
                    break;
                case '\r':
                    reference(c);
                    break;
                case '"':
                    m_Out += attribute ? "&quot;" : "\"";
                    break;
                case '\t':
                case '\n':
                    if (attribute) {
                        reference(c);
                    } else {
                        m_Out += c;
                    }
                    break;
                default:
                    m_Out += c;
            }
        }
    }

    void reference(char c) { m_Out += "&#" + std::to_string(static_cast<int>(c)) + ";"; }

    std::string m_Out;
};

// Nesting: objects are refused below this depth (a cycle of objects storing
// each other ends there), any element below the next, so that everything
// written stays within what the parser reads back (98 levels).
constexpr int kDeepestObject = 64;
constexpr int kDeepestElement = 96;

int depthOf(const tinyxml2::XMLElement* element) {
    int depth = 0;
    for (const tinyxml2::XMLNode* node = element; node && node->ToElement(); node = node->Parent()) ++depth;
    return depth;
}

// XML names: a letter, "_" or a non-ASCII character first, then also digits,
// "-" and ".".
bool isElementName(const std::wstring& name) {
    if (name.empty()) return false;
    for (size_t i = 0; i < name.size(); ++i) {
        const wchar_t c = name[i];
        const bool letter = (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z') || c == L'_' || c >= 0x80;
        const bool other = (c >= L'0' && c <= L'9') || c == L'-' || c == L'.';
        if (!(letter || (i > 0 && other))) return false;
        if (c >= 0xD800 && (c <= 0xDFFF || static_cast<uint32_t>(c) > 0x10FFFF)) return false;
    }
    return true;
}

// Parameter names need not be XML names ("Window Name", "%X", even empty):
// such a name is kept in the "name" attribute of an element called "_".
constexpr char kEncodedName[] = "_";

tinyxml2::XMLElement* newElement(tinyxml2::XMLDocument& document, const std::wstring& name) {
    if (isElementName(name) && name != L"_") return document.NewElement(utf8(name).c_str());
    tinyxml2::XMLElement* element = document.NewElement(kEncodedName);
    element->SetAttribute("name", utf8(name).c_str());
    return element;
}

std::wstring nameOfElement(const tinyxml2::XMLElement* element) {
    if (std::strcmp(element->Name(), kEncodedName) == 0) {
        if (const char* name = element->Attribute("name")) return decode(name);
    }
    return decode(element->Name());
}

std::wstring textOfElement(const tinyxml2::XMLElement* element) {
    const char* text = element ? element->GetText() : nullptr;
    return decode(text);
}

}  // namespace

SmartPtr<XmlStream> XmlStream::create(const std::wstring& rootName) {
    auto document = std::make_shared<Document>();
    tinyxml2::XMLElement* root = newElement(document->xml, rootName);
    document->xml.InsertEndChild(root);
    return make<XmlStream>(document, root);
}

SmartPtr<XmlStream> XmlStream::parse(const std::string& text, std::string* error) {
    if (text.size() > kLargestFile) {
        if (error) *error = "line 1: the document is too large";
        return nullptr;
    }
    auto document = std::make_shared<Document>();
    if (document->xml.Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS) {
        if (error) {
            *error = "line " + std::to_string(document->xml.ErrorLineNum()) + ": " + document->xml.ErrorStr();
        }
        return nullptr;
    }
    tinyxml2::XMLElement* root = document->xml.RootElement();
    if (!root) {
        if (error) *error = "line 1: no root element";
        return nullptr;
    }
    if (const tinyxml2::XMLElement* second = root->NextSiblingElement()) {
        if (error) *error = "line " + std::to_string(second->GetLineNum()) + ": a second root element";
        return nullptr;
    }
    return make<XmlStream>(document, root);
}

SmartPtr<XmlStream> XmlStream::loadFile(const std::string& fileName, std::string* error) {
    std::string text;
    if (!readWholeFile(fileName, text, error)) return nullptr;
    return parse(text, error);
}

XmlStream::XmlStream(std::shared_ptr<Document> document, tinyxml2::XMLElement* element)
    : m_Document(std::move(document)), m_Element(element) {}

XmlStream::~XmlStream() = default;

tinyxml2::XMLElement* XmlStream::cursor() const { return m_Open.empty() ? m_Element : m_Open.back(); }

HRESULT XmlStream::Write(const void* data, int32_t size, int32_t) {
    record("Write");
    if (size < 0 || (!data && size > 0)) return E_INVALIDARG;
    std::lock_guard<std::recursive_mutex> lock(m_Document->mutex);
    std::string bytes = cursor()->GetText() ? cursor()->GetText() : "";
    bytes.append(static_cast<const char*>(data), static_cast<size_t>(size));
    cursor()->SetText(utf8(decode(bytes.data(), bytes.size())).c_str());
    return S_OK;
}

// A null name is an empty one: the writer never refuses a name, so that the
// elements it opens and the ends it is given stay paired.
HRESULT XmlStream::BeginElement(IString* name, int32_t, int32_t) {
    const std::wstring wanted = textOf(name);
    record("BeginElement", wanted);
    std::lock_guard<std::recursive_mutex> lock(m_Document->mutex);
    return open(wanted, kDeepestElement);
}

HRESULT XmlStream::BeginObject(IUnknown* object, int32_t, int32_t) {
    const std::wstring className = classNameOf(object);
    record("BeginObject", className);
    if (!object || className.empty()) return E_INVALIDARG;
    std::lock_guard<std::recursive_mutex> lock(m_Document->mutex);
    return open(className, kDeepestObject);
}

HRESULT XmlStream::open(const std::wstring& name, int deepest) {
    if (depthOf(cursor()) >= deepest) return E_FAIL;
    tinyxml2::XMLElement* element = newElement(m_Document->xml, name);
    cursor()->InsertEndChild(element);
    m_Open.push_back(element);
    return S_OK;
}

HRESULT XmlStream::WriteElement(IString* name, int32_t, IString* text, int32_t) {
    const std::wstring wanted = textOf(name);
    record("WriteElement", wanted);
    std::lock_guard<std::recursive_mutex> lock(m_Document->mutex);
    if (depthOf(cursor()) >= kDeepestElement) return E_FAIL;
    tinyxml2::XMLElement* element = newElement(m_Document->xml, wanted);
    const std::string content = utf8(textOf(text));
    if (!content.empty()) element->SetText(content.c_str());
    cursor()->InsertEndChild(element);
    return S_OK;
}

HRESULT XmlStream::EndElement() {
    record("EndElement");
    std::lock_guard<std::recursive_mutex> lock(m_Document->mutex);
    if (m_Open.empty()) return E_FAIL;
    m_Open.pop_back();
    return S_OK;
}

HRESULT XmlStream::NextElement(tagREFString* name) {
    if (!name) return E_POINTER;
    std::lock_guard<std::recursive_mutex> lock(m_Document->mutex);
    m_Next = m_Started ? (m_Next ? m_Next->NextSiblingElement() : nullptr) : m_Element->FirstChildElement();
    m_Started = true;
    if (!m_Next) {
        *name = {0, nullptr};
        return E_FAIL;
    }
    m_NameBuffer = nameOfElement(m_Next);
    *name = {static_cast<int32_t>(m_NameBuffer.size()), m_NameBuffer.c_str()};
    return S_OK;
}

HRESULT XmlStream::OpenElement(int32_t length, const wchar_t* name, tagREFString* value, IXMLStream** element,
                               int32_t flags) {
    if (element) *element = nullptr;
    if (length < 0 || (!name && length > 0)) return E_INVALIDARG;
    const std::wstring wanted(name ? name : L"", static_cast<size_t>(length));
    std::lock_guard<std::recursive_mutex> lock(m_Document->mutex);
    tinyxml2::XMLElement* found = nullptr;
    if ((flags & kOpenFromNext) && m_Next && nameOfElement(m_Next) == wanted) {
        found = m_Next;
    } else {
        for (found = m_Element->FirstChildElement(); found && nameOfElement(found) != wanted;
             found = found->NextSiblingElement()) {
        }
    }
    if (!found) return E_FAIL;
    if (value) {
        m_ValueBuffer = textOfElement(found);
        *value = {static_cast<int32_t>(m_ValueBuffer.size()), m_ValueBuffer.c_str()};
    }
    if (element) *element = make<XmlStream>(m_Document, found).detach();
    return S_OK;
}

HRESULT XmlStream::createObject(const std::wstring& className, tinyxml2::XMLElement* from, IUnknown** out) {
    SmartPtr<IUnknown> object = createObjectOfClass(className);
    SmartPtr<IDataPersist> persist = object.query<IDataPersist>();
    if (!persist) return E_FAIL;
    SmartPtr<XmlStream> stream = make<XmlStream>(m_Document, from);
    persist->Load(stream.get(), 0);
    *out = object.detach();
    return S_OK;
}

HRESULT XmlStream::CreateChildObject(IUnknown** out) {
    record("CreateChildObject");
    if (!out) return E_POINTER;
    *out = nullptr;
    tinyxml2::XMLElement* child = nullptr;
    std::wstring className;
    {
        std::lock_guard<std::recursive_mutex> lock(m_Document->mutex);
        child = m_Element->FirstChildElement();
        if (!child) return E_FAIL;
        className = nameOfElement(child);
    }
    return createObject(className, child, out);
}

HRESULT XmlStream::CreateElementObject(int32_t length, const wchar_t* className, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (length <= 0 || !className) return E_INVALIDARG;
    const std::wstring name(className, static_cast<size_t>(length));
    record("CreateElementObject", name);
    return createObject(name, m_Element, out);
}

HRESULT XmlStream::get_Text(const wchar_t** text, int32_t* length) {
    if (!text || !length) return E_POINTER;
    std::lock_guard<std::recursive_mutex> lock(m_Document->mutex);
    m_TextBuffer = textOfElement(m_Element);
    *text = m_TextBuffer.c_str();
    *length = static_cast<int32_t>(m_TextBuffer.size());
    return S_OK;
}

HRESULT XmlStream::put_Text(int32_t length, const wchar_t* text) {
    if (length < 0 || (!text && length > 0)) return E_INVALIDARG;
    std::lock_guard<std::recursive_mutex> lock(m_Document->mutex);
    m_Element->SetText(utf8(std::wstring(text ? text : L"", static_cast<size_t>(length))).c_str());
    return S_OK;
}

HRESULT XmlStream::Append(int32_t length, const wchar_t* text) {
    if (length < 0 || (!text && length > 0)) return E_INVALIDARG;
    std::lock_guard<std::recursive_mutex> lock(m_Document->mutex);
    const std::wstring now = textOfElement(m_Element) + std::wstring(text ? text : L"", static_cast<size_t>(length));
    m_Element->SetText(utf8(now).c_str());
    return S_OK;
}

std::string XmlStream::save() const {
    std::lock_guard<std::recursive_mutex> lock(m_Document->mutex);
    return Printer().print(m_Document->xml);
}

bool XmlStream::save(const std::string& fileName) const { return writeWholeFile(fileName, save()); }

std::wstring XmlStream::elementName() const {
    std::lock_guard<std::recursive_mutex> lock(m_Document->mutex);
    return nameOfElement(m_Element);
}

}  // namespace host
