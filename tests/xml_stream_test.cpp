// The stand-in host's XML stream on its own: what the writer makes of names
// and texts (and that every text comes back), how the reader walks and opens
// children, objects as elements named after their class, and documents that
// are refused or cleaned.
#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "host/Collections.h"
#include "host/Inputs.h"
#include "host/Variants.h"
#include "host/XmlStream.h"
#include "support/Bindings.h"
#include "support/Damage.h"
#include "support/HostTest.h"
#include "support/StepClasses.h"

namespace {

using host::makeString;
using host::textOf;

using XmlStream = HostTest;

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

SmartPtr<IString> text(const std::wstring& value) { return makeString(value); }

std::wstring viewed(const tagREFString& view) {
    return view.text ? std::wstring(view.text, static_cast<size_t>(view.count)) : std::wstring();
}

// The names NextElement gives, in order, until it refuses.
std::vector<std::wstring> childNames(IXMLStream* stream) {
    std::vector<std::wstring> names;
    tagREFString name = {0, nullptr};
    while (stream->NextElement(&name) >= 0) names.push_back(viewed(name));
    return names;
}

std::wstring childText(IXMLStream* stream, const std::wstring& name) {
    tagREFString value = {0, nullptr};
    if (stream->OpenElement(static_cast<int32_t>(name.size()), name.c_str(), &value, nullptr, 1) < 0) {
        return L"(absent)";
    }
    return viewed(value);
}

TEST_F(XmlStream, EveryTextAndNameComesBackAsItWasWritten) {
    struct Case {
        std::wstring name;
        std::wstring value;
    };
    const std::vector<Case> cases = {
        {L"Plain", L"a < b & \"c\" > 'd'"},
        {L"Lines", L"one\r\ntwo\rthree\n\tfour"},
        {L"Blank", L"  \t"},
        {L"Padded", L"  x  "},
        {L"Unicode", L"\u00e9\u4e2d\U0001F600"},
        {L"Window Name", L"kept in an attribute"},
        {L"%X", L"7"},
        {L"", L"no name at all"},
        {L"_", L"the attribute form's own name"},
        {L"multi\nline\tname", L""},
    };
    SmartPtr<host::XmlStream> stream = host::XmlStream::create(L"Program");
    ASSERT_EQ(stream->BeginElement(text(L"Step").get(), 0, 0), S_OK);
    for (const Case& item : cases) {
        ASSERT_EQ(stream->WriteElement(text(item.name).get(), 0, text(item.value).get(), 0), S_OK);
    }
    EXPECT_EQ(
        stream->WriteElement(text(L"Control").get(), 0, text(std::wstring(L"a\x01z\xFFFE") + wchar_t(0xD800)).get(), 0),
        S_OK);
    EXPECT_EQ(stream->WriteElement(text(L"Null").get(), 0, nullptr, 0), S_OK);
    EXPECT_EQ(stream->EndElement(), S_OK);
    EXPECT_EQ(stream->EndElement(), E_FAIL) << "nothing is open any more";

    const std::string saved = stream->save();
    EXPECT_EQ(saved, kDeclaration +
                         "<Program>\n"
                         "    <Step>\n"
                         "        <Plain>a &lt; b &amp; \"c\" &gt; 'd'</Plain>\n"
                         "        <Lines>one&#13;\ntwo&#13;three\n\tfour</Lines>\n"
                         "        <Blank>&#32; \t</Blank>\n"
                         "        <Padded>  x  </Padded>\n"
                         "        <Unicode>\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80</Unicode>\n"
                         "        <_ name=\"Window Name\">kept in an attribute</_>\n"
                         "        <_ name=\"%X\">7</_>\n"
                         "        <_ name=\"\">no name at all</_>\n"
                         "        <_ name=\"_\">the attribute form's own name</_>\n"
                         "        <_ name=\"multi&#10;line&#9;name\"/>\n"
                         "        <Control>a\xEF\xBF\xBDz\xEF\xBF\xBD\xEF\xBF\xBD</Control>\n"
                         "        <Null/>\n"
                         "    </Step>\n"
                         "</Program>\n");

    std::string error;
    SmartPtr<host::XmlStream> back = host::XmlStream::parse(saved, &error);
    ASSERT_TRUE(back) << error;
    EXPECT_EQ(back->save(), saved) << "saved again, the same bytes";
    SmartPtr<IXMLStream> step;
    ASSERT_EQ(back->OpenElement(4, L"Step", nullptr, step.put(), 1), S_OK);
    std::vector<std::wstring> expectedNames;
    for (const Case& item : cases) {
        expectedNames.push_back(item.name);
        EXPECT_EQ(childText(step.get(), item.name), item.value) << host::narrow(item.name);
    }
    expectedNames.push_back(L"Control");
    expectedNames.push_back(L"Null");
    EXPECT_EQ(childNames(step.get()), expectedNames);
    EXPECT_EQ(childText(step.get(), L"Control"), L"a\uFFFDz\uFFFD\uFFFD") << "what XML cannot carry";

    // A null name is an empty one, so that what is opened is also closed.
    SmartPtr<host::XmlStream> unnamed = host::XmlStream::create(L"Root");
    EXPECT_EQ(unnamed->BeginElement(nullptr, 0, 0), S_OK);
    EXPECT_EQ(unnamed->WriteElement(nullptr, 0, text(L"v").get(), 0), S_OK);
    EXPECT_EQ(unnamed->EndElement(), S_OK);
    EXPECT_EQ(unnamed->save(),
              kDeclaration + "<Root>\n    <_ name=\"\">\n        <_ name=\"\">v</_>\n    </_>\n</Root>\n");
}

TEST_F(XmlStream, TheReaderWalksChildrenAndOpensThemByName) {
    std::string error;
    SmartPtr<host::XmlStream> document =
        host::XmlStream::parse("<Step><A>1</A><B>two</B><A>3</A><C><D>deep</D></C></Step>", &error);
    ASSERT_TRUE(document) << error;
    EXPECT_EQ(document->elementName(), L"Step");

    tagREFString name = {0, nullptr};
    ASSERT_EQ(document->NextElement(&name), S_OK);
    EXPECT_EQ(viewed(name), L"A");
    ASSERT_EQ(document->NextElement(&name), S_OK);
    ASSERT_EQ(document->NextElement(&name), S_OK);
    EXPECT_EQ(viewed(name), L"A");
    // With the flag the module passes, the child just reached is opened;
    // without it, the first of that name.
    tagREFString value = {0, nullptr};
    EXPECT_EQ(document->OpenElement(1, L"A", &value, nullptr, 1), S_OK);
    EXPECT_EQ(viewed(value), L"3");
    EXPECT_EQ(document->OpenElement(1, L"A", &value, nullptr, 0), S_OK);
    EXPECT_EQ(viewed(value), L"1");
    EXPECT_EQ(document->OpenElement(1, L"B", &value, nullptr, 1), S_OK) << "another name: found among all children";
    EXPECT_EQ(viewed(value), L"two");
    ASSERT_EQ(document->NextElement(&name), S_OK);
    EXPECT_EQ(viewed(name), L"C");
    EXPECT_LT(document->NextElement(&name), 0);
    EXPECT_EQ(name.count, 0);
    EXPECT_EQ(name.text, nullptr);
    EXPECT_LT(document->NextElement(&name), 0) << "and stays at the end";
    EXPECT_EQ(document->NextElement(nullptr), E_POINTER);

    SmartPtr<IXMLStream> element;
    EXPECT_EQ(document->OpenElement(1, L"Z", &value, element.put(), 1), E_FAIL);
    EXPECT_FALSE(element);
    EXPECT_EQ(document->OpenElement(-1, L"A", nullptr, element.put(), 1), E_INVALIDARG);
    EXPECT_EQ(document->OpenElement(1, L"a", nullptr, element.put(), 1), E_FAIL) << "names are exact";

    // A stream on a child walks that child's children and reads its text.
    ASSERT_EQ(document->OpenElement(1, L"C", &value, element.put(), 1), S_OK);
    EXPECT_EQ(viewed(value), L"") << "an element holding elements has no text of its own";
    EXPECT_EQ(childNames(element.get()), std::vector<std::wstring>{L"D"});
    SmartPtr<IXMLStream> deep;
    ASSERT_EQ(element->OpenElement(1, L"D", nullptr, deep.put(), 1), S_OK);
    SmartPtr<IString> deepText = deep.query<IString>();
    ASSERT_TRUE(deepText);
    EXPECT_EQ(textOf(deepText.get()), L"deep");
    EXPECT_EQ(deepText->Append(2, L"er!"), S_OK) << "counted, not terminated";
    EXPECT_EQ(textOf(deepText.get()), L"deeper");
    EXPECT_EQ(deepText->put_Text(2, L"<>"), S_OK);
    EXPECT_NE(document->save().find("<D>&lt;&gt;</D>"), std::string::npos) << document->save();

    // Raw bytes written through IDataStream join the element's text as UTF-8.
    EXPECT_EQ(deep->Write("+\xC3\xA9\xFF", 4, 0), S_OK);
    EXPECT_EQ(textOf(deepText.get()), L"<>+\u00e9\uFFFD") << "a stray byte is U+FFFD";
    EXPECT_EQ(deep->Write(nullptr, 1, 0), E_INVALIDARG);
}

TEST_F(XmlStream, ObjectsAreElementsNamedAfterTheirClass) {
    SmartPtr<host::XmlStream> stream = host::XmlStream::create(L"Root");
    SmartPtr<host::CollectionMoniker> moniker = host::make<host::CollectionMoniker>(L"Pump");
    IUnknown* object = static_cast<ICollectionMoniker*>(moniker.get());
    ASSERT_EQ(stream->BeginObject(object, 0, 0), S_OK);
    moniker->Save(stream.get(), 0);
    EXPECT_EQ(stream->EndElement(), S_OK);
    SmartPtr<IUnknown> collection = host::make<host::SuperCollection>().query<IUnknown>();
    EXPECT_EQ(stream->BeginObject(collection.get(), 0, 0), E_INVALIDARG) << "no class name to store it under";
    EXPECT_EQ(stream->BeginObject(nullptr, 0, 0), E_INVALIDARG);
    EXPECT_EQ(stream->EndElement(), E_FAIL) << "nothing was opened";
    const std::string saved = stream->save();
    EXPECT_EQ(saved,
              kDeclaration +
                  "<Root>\n    <CollectionMoniker>\n        <Name>Pump</Name>\n    </CollectionMoniker>\n</Root>\n");

    // Made again from the element, as the child object or by class name.
    SmartPtr<host::XmlStream> back = host::XmlStream::parse(saved);
    SmartPtr<IUnknown> child;
    ASSERT_EQ(back->CreateChildObject(child.put()), S_OK);
    auto* remade = dynamic_cast<host::CollectionMoniker*>(child.query<ICollectionMoniker>().get());
    ASSERT_TRUE(remade);
    EXPECT_EQ(remade->name(), L"Pump");
    SmartPtr<IXMLStream> element;
    ASSERT_EQ(back->OpenElement(17, L"CollectionMoniker", nullptr, element.put(), 1), S_OK);
    SmartPtr<IUnknown> named;
    ASSERT_EQ(element->CreateElementObject(17, L"CollectionMoniker", named.put()), S_OK);
    EXPECT_TRUE(named.query<ICollectionMoniker>());
    EXPECT_LT(element->CreateElementObject(7, L"NoClass", named.put()), 0);
    EXPECT_FALSE(named);
    EXPECT_EQ(element->CreateElementObject(0, L"", named.put()), E_INVALIDARG);
    EXPECT_EQ(element->CreateElementObject(1, L"X", nullptr), E_POINTER);
    SmartPtr<IXMLStream> leaf;
    ASSERT_EQ(element->OpenElement(4, L"Name", nullptr, leaf.put(), 1), S_OK);
    EXPECT_LT(leaf->CreateChildObject(child.put()), 0) << "no child element, no object";
    EXPECT_FALSE(child);
}

TEST_F(XmlStream, HostileDocumentsAreRefusedOrCleaned) {
    const char* const hostile[] = {
        "", "<a>", "<a></b>", "<a b=></a>", "text only", "<a><b></a></b>", "<?xml version=\"1.0\"?>", "<a/><b/>"};
    for (const char* document : hostile) {
        std::string error;
        EXPECT_FALSE(host::XmlStream::parse(document, &error)) << document;
        EXPECT_EQ(error.rfind("line ", 0), 0u) << document << ": " << error;
    }
    const auto nested = [](int depth) {
        std::string text;
        for (int i = 0; i < depth; ++i) text += "<a>";
        for (int i = 0; i < depth; ++i) text += "</a>";
        return text;
    };
    EXPECT_TRUE(host::XmlStream::parse(nested(96))) << "as deep as the writer goes";
    EXPECT_FALSE(host::XmlStream::parse(nested(100000))) << "nesting is bounded";
    std::string error;
    EXPECT_FALSE(host::XmlStream::parse("<a>" + std::string(65u << 20, ' ') + "</a>", &error));
    EXPECT_NE(error.find("too large"), std::string::npos) << error;
    EXPECT_FALSE(host::XmlStream::loadFile(std::string(FLUKO_BINARY_DIR) + "/no such file.xml", &error));
    EXPECT_NE(error.find("cannot read"), std::string::npos) << error;

    // What the parser lets through is cleaned on the way out: bytes that are
    // not UTF-8 and characters XML cannot carry. Comments are not kept.
    SmartPtr<host::XmlStream> lax =
        host::XmlStream::parse("<?xml version=\"1.0\"?><!-- c --><a x=\"1\"><!-- d --><b>\xFF\x01</b></a>");
    ASSERT_TRUE(lax);
    const std::string cleaned = lax->save();
    EXPECT_EQ(cleaned, kDeclaration + "<a x=\"1\">\n    <b>\xEF\xBF\xBD\xEF\xBF\xBD</b>\n</a>\n");
    EXPECT_EQ(host::XmlStream::parse(cleaned)->save(), cleaned);

    // Whatever is written can be read back: nesting stops short of the
    // parser's bound, and objects that store each other stop sooner.
    SmartPtr<host::XmlStream> deep = host::XmlStream::create(L"Root");
    int opened = 0;
    while (opened < 200 && deep->BeginElement(text(L"E").get(), 0, 0) == S_OK) ++opened;
    EXPECT_LT(opened, 100);
    EXPECT_GT(opened, 64);
    EXPECT_EQ(deep->BeginObject(host::make<host::CollectionMoniker>().query<IUnknown>().get(), 0, 0), E_FAIL);
    EXPECT_TRUE(host::XmlStream::parse(deep->save()));

    SmartPtr<host::InputParameter> first = host::make<host::InputParameter>();
    SmartPtr<host::InputParameter> second = host::make<host::InputParameter>();
    first->put_Object(static_cast<IInputParameter*>(second.get()));
    second->put_Object(static_cast<IInputParameter*>(first.get()));
    SmartPtr<host::XmlStream> cycle = host::XmlStream::create(L"Root");
    ASSERT_EQ(cycle->BeginObject(static_cast<IInputParameter*>(first.get()), 0, 0), S_OK);
    first->Save(cycle.get(), 0);
    EXPECT_EQ(cycle->EndElement(), S_OK);
    first->put_Object(nullptr);
    EXPECT_TRUE(host::XmlStream::parse(cycle->save(), &error)) << error;
}

// A program's document with bytes changed, dropped or repeated at random:
// each is refused or its steps are made and saved again, without harm.
TEST_F(XmlStream, DamagedDocumentsAreReadOrRefusedWithoutHarm) {
    StepClassesResolved resolved;
    SmartPtr<host::XmlStream> program = host::XmlStream::create(L"Program");
    for (const wchar_t* registered : {L"GCUIRefresh", L"GCUIActivate", L"GCUIConfirm", L"GCUIScroll"}) {
        SmartPtr<IUnknown> step = createStep(registered);
        configureStep(step.get(), true);
        program->BeginObject(step.get(), 0, 0);
        queryInterface<IDataPersist>(step.get())->Save(program.get(), 0);
        program->EndElement();
    }
    const std::string document = program->save();
    std::mt19937 random(20261123);
    int accepted = 0;
    for (int round = 0; round < 300; ++round) {
        const std::string damaged = damage(document, random);
        SmartPtr<host::XmlStream> stream = host::XmlStream::parse(damaged);
        if (!stream) continue;
        ++accepted;
        tagREFString name = {0, nullptr};
        while (stream->NextElement(&name) >= 0) {
            SmartPtr<IXMLStream> element;
            SmartPtr<IUnknown> step;
            if (stream->OpenElement(name.count, name.text, nullptr, element.put(), 1) < 0 ||
                element->CreateElementObject(name.count, name.text, step.put()) < 0) {
                continue;
            }
            SmartPtr<host::XmlStream> again = host::XmlStream::create(L"Again");
            if (SmartPtr<IDataPersist> persist = step.query<IDataPersist>()) persist->Save(again.get(), 0);
            const std::string saved = again->save();
            SmartPtr<host::XmlStream> reread = host::XmlStream::parse(saved);
            ASSERT_TRUE(reread) << saved;
            EXPECT_EQ(reread->save(), saved);
        }
    }
    EXPECT_GT(accepted, 0) << "some damage leaves a readable document";
}

}  // namespace
