// The host's XML stream, on tinyxml2: each stream object stands on one
// element of a shared document. Writers open child elements and write texts
// under it; readers walk its child elements, open them as streams of their
// own, read an element's text through IString, and re-create the objects an
// element stores.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "host/HostObject.h"

namespace tinyxml2 {
class XMLDocument;
class XMLElement;
}  // namespace tinyxml2

namespace host {

class XmlStream final : public Object<XmlStream, IXMLStream, IString> {
public:
    static constexpr char kLedgerName[] = "XmlStream";
    using Answered = Answers<IXMLStream, IDataStream, IString>;

    struct Document;

    // OpenElement's flag (the module passes it): prefer the child that
    // NextElement gave last when it has the name asked for, so that children
    // of the same name are opened in turn. Without it, the first child of
    // that name.
    static constexpr int32_t kOpenFromNext = 1;

    // A new document whose root element has this name; the stream stands on it.
    static SmartPtr<XmlStream> create(const std::wstring& rootName);
    // A document read from XML text; null (and a message with the line
    // number in error) when the text is not well-formed XML, nests elements
    // more than 98 deep or is larger than 64 MiB. Comments and processing
    // instructions are not kept.
    static SmartPtr<XmlStream> parse(const std::string& text, std::string* error = nullptr);
    static SmartPtr<XmlStream> loadFile(const std::string& fileName, std::string* error = nullptr);

    XmlStream(std::shared_ptr<Document> document, tinyxml2::XMLElement* element);
    ~XmlStream();

    // IDataStream: UTF-8 text appended to the element's text (bytes that are
    // not UTF-8 are read leniently, one character each).
    HRESULT Write(const void* data, int32_t size, int32_t reserved) override;

    // Names that are not XML names (and a null name, taken as empty) are
    // kept in the "name" attribute of an element "_". Elements nested 96
    // deep are refused (E_FAIL).
    HRESULT BeginElement(IString* name, int32_t reserved1, int32_t reserved2) override;
    // The element is named after the object's class; the object then saves
    // itself into the stream, and EndElement closes it. An object without a
    // class name: E_INVALIDARG; objects nested 64 deep (a cycle of objects
    // storing each other): E_FAIL. Nothing is opened then.
    HRESULT BeginObject(IUnknown* object, int32_t reserved1, int32_t reserved2) override;
    HRESULT WriteElement(IString* name, int32_t reserved1, IString* text, int32_t reserved2) override;
    // E_FAIL when this stream has nothing open.
    HRESULT EndElement() override;

    // The next child element of the element this stream stands on; the name
    // stays valid until the next call on this stream. Negative at the end.
    HRESULT NextElement(tagREFString* name) override;
    // A stream on the child of that name (see kOpenFromNext); E_FAIL
    // when there is none. value, when given, views the child's text, valid
    // until the next OpenElement on this stream; element may be null.
    HRESULT OpenElement(int32_t length, const wchar_t* name, tagREFString* value, IXMLStream** element,
                        int32_t flags) override;
    // The object stored as this element's first child element (named after
    // its class), re-created and loaded from that child.
    HRESULT CreateChildObject(IUnknown** out) override;
    // A new object of the class, loaded from this element.
    HRESULT CreateElementObject(int32_t length, const wchar_t* className, IUnknown** out) override;

    // IString: the element's text.
    HRESULT get_Text(const wchar_t** text, int32_t* length) override;
    HRESULT put_Text(int32_t length, const wchar_t* text) override;
    HRESULT Append(int32_t length, const wchar_t* text) override;

    // The whole document as UTF-8 XML text, and written to a file. Every
    // text comes back exactly as it was written (characters XML cannot carry
    // are written as U+FFFD), and saving a parsed save gives the same bytes.
    std::string save() const;
    bool save(const std::string& fileName) const;
    std::wstring elementName() const;

private:
    HRESULT createObject(const std::wstring& className, tinyxml2::XMLElement* from, IUnknown** out);
    HRESULT open(const std::wstring& name, int deepest);
    tinyxml2::XMLElement* cursor() const;  // where writes go: the innermost open element

    std::shared_ptr<Document> m_Document;
    tinyxml2::XMLElement* m_Element;
    std::vector<tinyxml2::XMLElement*> m_Open;  // elements opened by Begin... and not yet ended
    tinyxml2::XMLElement* m_Next = nullptr;     // the child NextElement gave last
    bool m_Started = false;
    std::wstring m_NameBuffer;
    std::wstring m_ValueBuffer;
    std::wstring m_TextBuffer;
};

}  // namespace host
