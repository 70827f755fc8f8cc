// Steps saved into the host's XML stream, printed, parsed back into fresh
// steps and saved again; the forms of the elements a host reads; hostile
// documents.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/FolderStream.h"
#include "host/Inputs.h"
#include "host/Variants.h"
#include "host/XmlStream.h"
#include "parameters/IParametersImpl.h"
#include "support/Bindings.h"
#include "support/CollectionText.h"
#include "support/HostTest.h"
#include "support/Parameters.h"
#include "support/TestStep.h"

namespace {

// A step of the tests' own, to call the collection's XML operations with any
// mode.
class CXmlCollection final : public TestStep<CXmlCollection, IParametersCreatable, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"XmlCollection";
    using Interfaces = StepInterfaces<IParametersCreatable>;
};

template <class Collection = CXmlCollection>
SmartPtr<Collection> makeCollection() {
    SmartPtr<IUnknown> object;
    CObject<Collection>::_CreateInstance(nullptr, &IID_IUnknown, object.put_void());
    return SmartPtr<Collection>(static_cast<Collection*>(static_cast<CObject<Collection>*>(object.get())));
}

// The same with a fixed set, whose class comparison is the other one.
class CFixedXmlCollection final : public TestStep<CFixedXmlCollection, IParameters, IStepImplSynchronous> {
public:
    static constexpr wchar_t kRegisteredName[] = L"FixedXmlCollection";
    using Interfaces = StepInterfaces<>;
};

IUnknown* unknown(CXmlCollection* collection) { return static_cast<IParametersCreatable*>(collection); }

void add(CXmlCollection* collection, const wchar_t* name, IUnknown* value, IUnknown* descriptor, int32_t flags) {
    collection->Add(host::makeString(name).get(), value, descriptor, flags);
}

// A value object that cannot tell its class, counting what it is given to load.
class Nameless final : public host::Object<Nameless, IObjectInfo, IDataPersist> {
public:
    static constexpr char kLedgerName[] = "Nameless";
    using Answered = host::Answers<IObjectInfo, IDataPersist>;
    HRESULT GetName(int32_t, tagREFString*) override { return E_FAIL; }
    HRESULT Save(IDataStream*, int32_t) override { return S_OK; }
    HRESULT Load(IDataStream*, int32_t) override {
        ++loads;
        return S_OK;
    }
    int loads = 0;
};

class XmlPersistence : public HostTest {
protected:
    static std::string saved(IUnknown* step) {
        SmartPtr<host::XmlStream> stream = host::XmlStream::create(L"Step");
        queryInterface<IDataPersist>(step)->Save(stream.get(), 0);
        return stream->save();
    }

    // A step's XML holds only its parameters; a host keeps the input list
    // beside it, saved by the list itself.
    static SmartPtr<IDataPersist> inputListOf(IUnknown* step) {
        return queryInterface<IDataPersist>(queryInterface<IInputParameters>(step).get());
    }
    static std::string savedInputs(IUnknown* step) {
        SmartPtr<host::XmlStream> stream = host::XmlStream::create(L"Inputs");
        inputListOf(step)->Save(stream.get(), 0);
        return stream->save();
    }

    static std::vector<std::wstring> valuesOf(IUnknown* step) { return parameterTexts(step, false); }
};

TEST_F(XmlPersistence, EveryStepComesBackAsItWasSaved) {
    for (const wchar_t* name : kRegisteredNames) {
        SCOPED_TRACE(host::narrow(name));
        const std::wstring which = name;
        SmartPtr<IUnknown> original = createStep(name);
        // Steps that rebuild their set take a full-form element's text as
        // its value: a bound parameter would not come back from XML.
        const bool rebuilds = which == L"GCUIRefresh" || which == L"GCUIPropRead" || which == L"GCUIPropWrite";
        configureStep(original.get(), !rebuilds);
        if (which == L"GCUIEdit" || which == L"GCUIVerb") {
            EXPECT_EQ(queryInterface<IDataPersist>(original.get())->Save(host::XmlStream::create(L"Step").get(), 0),
                      E_NOTIMPL)
                << "the Edit and Verb steps keep to folder streams";
            continue;
        }
        const std::string first = saved(original.get());
        const std::string firstInputs = savedInputs(original.get());

        std::string error;
        SmartPtr<host::XmlStream> parsed = host::XmlStream::parse(first, &error);
        ASSERT_TRUE(parsed) << error;
        SmartPtr<host::XmlStream> parsedInputs = host::XmlStream::parse(firstInputs, &error);
        ASSERT_TRUE(parsedInputs) << error;
        SmartPtr<IUnknown> copy = createStep(name);
        ASSERT_EQ(queryInterface<IDataPersist>(copy.get())->Load(parsed.get(), 0), S_OK);
        ASSERT_EQ(inputListOf(copy.get())->Load(parsedInputs.get(), 0), S_OK);

        EXPECT_EQ(saved(copy.get()), first) << "saved again, the document is the same";
        EXPECT_EQ(savedInputs(copy.get()), firstInputs);
        EXPECT_EQ(valuesOf(copy.get()), valuesOf(original.get()));
        // A rebuilt set has the flags the compact form left, none.
        EXPECT_EQ(descriptorTexts(copy.get(), !rebuilds), descriptorTexts(original.get(), !rebuilds));
        EXPECT_EQ(inputBindings(copy.get()), inputBindings(original.get()));
    }
}

TEST_F(XmlPersistence, SimpleAndFullFormsAndTheBoundParameter) {
    SmartPtr<IUnknown> scroll = createStep(L"GCUIScroll");
    configureStep(scroll.get(), true);
    const std::string text = saved(scroll.get());
    // The bound parameter is written in full form with its binding inside.
    EXPECT_NE(text.find("<InputParameter>"), std::string::npos) << text;
    EXPECT_NE(text.find("<CollectionMoniker>"), std::string::npos) << text;
    EXPECT_NE(text.find("<Name>Source</Name>"), std::string::npos) << text;
    EXPECT_NE(text.find("<ItemName>Level</ItemName>"), std::string::npos) << text;

    // Reloaded, the binding is a binding of its own with the same contents.
    SmartPtr<IUnknown> copy = createStep(L"GCUIScroll");
    queryInterface<IDataPersist>(copy.get())->Load(host::XmlStream::parse(text).get(), 0);
    SmartPtr<IParameters> parameters = queryInterface<IParameters>(copy.get());
    int32_t count = 0;
    parameters->get_Count(&count);
    int bindings = 0;
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IUnknown> descriptor;
        parameters->get_ItemDescriptor(i, descriptor.put());
        SmartPtr<IInputParameter> binding = descriptor.query<IInputParameter>();
        if (!binding) continue;
        ++bindings;
        int32_t itemIndex = -1;
        binding->get_ItemIndex(&itemIndex);
        EXPECT_EQ(itemIndex, 4);
        SmartPtr<IUnknown> object;
        binding->get_Object(object.put());
        EXPECT_TRUE(object.query<ICollectionMoniker>());
    }
    EXPECT_EQ(bindings, 1);

    // Full form with flags in "#%06X" where the declaration cannot restore them.
    SmartPtr<host::XmlStream> full = host::XmlStream::create(L"Step");
    SmartPtr<IParametersCreatable> write = createStep<IParametersCreatable>(L"GCUIPropWrite");
    write->Add(host::makeString(L"Odd").get(), host::makeVariant(5).get(), nullptr, 0x201);
    queryInterface<IDataPersist>(write.get())->Save(full.get(), 0);
    EXPECT_NE(full->save().find("<Flags>#000201</Flags>"), std::string::npos) << full->save();
}

TEST_F(XmlPersistence, ElementFormsCompactAndFull) {
    SmartPtr<CXmlCollection> collection = makeCollection();
    CXmlCollection* c = collection.get();
    add(c, L"Choice", host::makeVariant(2).get(), host::makeString(L"A|B|C").get(), 0x43);
    add(c, L"Result", host::makeVariant(5).get(), nullptr, 0x40007);
    add(c, L"Colour", host::makeVariant(255).get(), nullptr, 0x23);
    add(c, L"Count", host::makeVariant(4).get(), nullptr, 0x13);
    add(c, L"Plain", host::makeVariant(9).get(), nullptr, 0);
    add(c, L"Marked", host::makeVariant(1).get(), nullptr, 0x8000000);
    add(c, L"Large", host::makeVariant(0).get(), nullptr, 0x1000007);
    SmartPtr<host::InputParameter> binding = monikerBinding(L"Source", L"Level", 4);
    add(c, L"Bound", host::makeVariant(3).get(), static_cast<IInputParameter*>(binding.get()), 0);
    const std::string colour = host::narrow(host::textOf(ISCreateColor(255).get()));
    const std::string boundElement =
        "<Bound><Value>3</Value><InputParameter><IID>0000000000000000C000000000000046</IID>"
        "<ItemName>Level</ItemName><ItemIndex>4</ItemIndex><Object><CollectionMoniker><Name>Source</Name>"
        "</CollectionMoniker></Object></InputParameter></Bound>";

    // Compact: a choice is its index, a colour its colour text, kinds the
    // declaration restores lose their flags; what is left is written whole.
    SmartPtr<host::XmlStream> compact = host::XmlStream::create(L"Step");
    EXPECT_EQ(c->Params_SaveXML(compact.get(), MODE_COMPACT), S_OK);
    EXPECT_EQ(body(compact.get()),
              "<Step><Choice>2</Choice><Result><Value>5</Value><Flags>#040007</Flags></Result>"
              "<Colour>" +
                  colour +
                  "</Colour><Count>4</Count><Plain>9</Plain><Marked>1</Marked>"
                  "<Large><Value>0</Value><Flags>#1000007</Flags></Large>" +
                  boundElement + "</Step>");

    // Full: every flag is kept, six digits at least; a choice list is no
    // object and is not written.
    SmartPtr<host::XmlStream> full = host::XmlStream::create(L"Step");
    EXPECT_EQ(c->Params_SaveXML(full.get(), 0), S_OK);
    EXPECT_EQ(body(full.get()),
              "<Step><Choice><Value>2</Value><Flags>#000043</Flags></Choice>"
              "<Result><Value>5</Value><Flags>#040007</Flags></Result>"
              "<Colour><Value>255</Value><Flags>#000023</Flags></Colour>"
              "<Count><Value>4</Value><Flags>#000013</Flags></Count><Plain>9</Plain><Marked>1</Marked>"
              "<Large><Value>0</Value><Flags>#1000007</Flags></Large>" +
                  boundElement + "</Step>");

    // Reading into the declared set: children by name ignoring case, the
    // flags as the stream has them, an object child as the descriptor.
    SmartPtr<CXmlCollection> declared = makeCollection();
    add(declared.get(), L"Count", host::makeVariant(0).get(), nullptr, 0x3);
    add(declared.get(), L"Plain", host::makeVariant(0).get(), nullptr, 0x3);
    add(declared.get(), L"Bound", host::makeVariant(0).get(), nullptr, 0x3);
    SmartPtr<host::XmlStream> input = host::XmlStream::parse(
        "<Step><COUNT><VALUE>8</VALUE><flags>#000205</flags></COUNT><Plain>11</Plain><Stranger>1</Stranger>" +
        boundElement + "</Step>");
    ASSERT_TRUE(input);
    EXPECT_EQ(declared->Params_LoadXML(input.get(), 0, 0), S_OK);
    EXPECT_EQ(parameterTexts(unknown(declared.get())),
              (std::vector<std::wstring>{L"Count=8", L"Plain=11", L"Bound=3"}));
    EXPECT_EQ(descriptorTexts(unknown(declared.get())),
              (std::vector<std::wstring>{L"Count #205 none", L"Plain #3 none",
                                         L"Bound #3 " + bindingText(static_cast<IInputParameter*>(binding.get()))}));

    // Rebuilding: one parameter per element, a full-form element's text as
    // its value and no flags.
    SmartPtr<host::XmlStream> again = host::XmlStream::parse(full->save());
    EXPECT_EQ(declared->Params_LoadXML(again.get(), MODE_REBUILD, 0), S_OK);
    EXPECT_EQ(descriptorTexts(unknown(declared.get())),
              (std::vector<std::wstring>{L"Choice #0 none", L"Result #0 none", L"Colour #0 none", L"Count #0 none",
                                         L"Plain #0 none", L"Marked #0 none", L"Large #0 none", L"Bound #0 none"}));
    SmartPtr<IVariant> plain;
    declared->get_ItemVariant(4, plain.put());
    EXPECT_EQ(plain->get_Long(), 9);
}

TEST_F(XmlPersistence, ObjectValuesSaveThemselves) {
    SmartPtr<CXmlCollection> collection = makeCollection();
    SmartPtr<host::CollectionMoniker> pump = host::make<host::CollectionMoniker>(L"Pump");
    SmartPtr<host::InputParameter> binding = monikerBinding(L"Source", L"Level", 4);
    add(collection.get(), L"Target", static_cast<ICollectionMoniker*>(pump.get()),
        static_cast<IInputParameter*>(binding.get()), 0x7);
    add(collection.get(), L"Number", host::makeVariant(5).get(), nullptr, 0);
    add(collection.get(), L"", static_cast<ICollectionMoniker*>(host::make<host::CollectionMoniker>(L"Nameless").get()),
        nullptr, 0);
    SmartPtr<host::XmlStream> stream = host::XmlStream::create(L"Step");
    EXPECT_EQ(collection->Params_SaveXMLUnk(stream.get(), 0), S_OK);
    EXPECT_EQ(body(stream.get()),
              "<Step><Target><Flags>#000007</Flags><CollectionMoniker><Name>Pump</Name></CollectionMoniker>"
              "<ItemDescriptor><InputParameter><IID>0000000000000000C000000000000046</IID><ItemName>Level</ItemName>"
              "<ItemIndex>4</ItemIndex><Object><CollectionMoniker><Name>Source</Name></CollectionMoniker></Object>"
              "</InputParameter></ItemDescriptor></Target>"
              "<Item3><CollectionMoniker><Name>Nameless</Name></CollectionMoniker></Item3></Step>")
        << "only the objects that save themselves; an unnamed one as Item<n>";

    // Rebuilt: the objects are made anew from their class names.
    SmartPtr<CXmlCollection> rebuilt = makeCollection();
    EXPECT_EQ(rebuilt->Params_LoadXMLUnk(host::XmlStream::parse(stream->save()).get(), MODE_REBUILD), S_OK);
    EXPECT_EQ(descriptorTexts(unknown(rebuilt.get())),
              (std::vector<std::wstring>{L"Target #7 " + bindingText(static_cast<IInputParameter*>(binding.get())),
                                         L"Item3 #0 none"}));
    SmartPtr<IUnknown> target;
    rebuilt->get_Item(0, target.put());
    auto* remade = dynamic_cast<host::CollectionMoniker*>(target.query<ICollectionMoniker>().get());
    ASSERT_TRUE(remade);
    EXPECT_EQ(remade->name(), L"Pump");

    // Reused: the object already there loads itself in place.
    SmartPtr<host::XmlStream> renamed = host::XmlStream::parse(
        "<Step><Target><CollectionMoniker><Name>Renamed</Name></CollectionMoniker></Target></Step>");
    EXPECT_EQ(collection->Params_LoadXMLUnk(renamed.get(), MODE_REUSE), S_OK);
    SmartPtr<IUnknown> same;
    collection->get_Item(0, same.put());
    EXPECT_TRUE(isSameObject(same.get(), static_cast<ICollectionMoniker*>(pump.get())));
    EXPECT_EQ(pump->name(), L"Renamed");
    EXPECT_EQ(descriptorTexts(unknown(collection.get())).front(), L"Target #0 none")
        << "flags and descriptor as the element has them";
}

// An object value that tells its class loads in place only from an element of
// that class; another class's element leaves it as it was.
TEST_F(XmlPersistence, AnObjectValueLoadsInPlaceOnlyFromItsOwnClass) {
    const auto loaded = [this](auto collection, const std::string& element) {
        SmartPtr<IUnknown> message = createStep(L"GCUIMessage");
        collection->AddNOLOCK(host::makeString(L"Target").get(), message.get(), nullptr, 0);
        const std::string xml =
            "<Step><Target><" + element + "><Message>Loaded</Message></" + element + "></Target></Step>";
        EXPECT_EQ(collection->Params_LoadXMLUnk(host::XmlStream::parse(xml).get(), MODE_REUSE), S_OK);
        return parameterTexts(message.get()).front();
    };
    EXPECT_EQ(loaded(makeCollection<CXmlCollection>(), "GCUIMessage"), L"Message=Loaded");
    EXPECT_EQ(loaded(makeCollection<CFixedXmlCollection>(), "gcuimessage"), L"Message=Loaded");
    EXPECT_EQ(loaded(makeCollection<CXmlCollection>(), "GCUIScroll"), L"Message=Running");
    // Over the shorter name in a fixed set; a creatable set's element must begin with the class name.
    EXPECT_EQ(loaded(makeCollection<CFixedXmlCollection>(), "GCUIMess"), L"Message=Loaded");
    EXPECT_EQ(loaded(makeCollection<CXmlCollection>(), "GCUIMess"), L"Message=Running");
    EXPECT_EQ(loaded(makeCollection<CXmlCollection>(), "GCUIMessages"), L"Message=Loaded");
    EXPECT_EQ(loaded(makeCollection<CFixedXmlCollection>(), "GCUIScroll"), L"Message=Running");
    SmartPtr<Nameless> nameless = host::make<Nameless>();
    SmartPtr<CXmlCollection> set = makeCollection<CXmlCollection>();
    set->AddNOLOCK(host::makeString(L"Target").get(), nameless.query<IUnknown>().get(), nullptr, 0);
    set->Params_LoadXMLUnk(host::XmlStream::parse("<Step><Target><Nameless/></Target></Step>").get(), MODE_REUSE);
    EXPECT_EQ(nameless->loads, 0) << "an object that cannot tell its class loads nothing";
}

TEST_F(XmlPersistence, StepDocumentsAreWellFormedAndStrangeOnesChangeNothing) {
    SmartPtr<IUnknown> message = createStep(L"GCUIMessage");
    configureStep(message.get(), false);
    const std::string text = saved(message.get());
    EXPECT_EQ(text.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>", 0), 0u);
    EXPECT_NE(text.find("&lt;a &amp; \"b\"&gt;&#13;\n \xC3\xA9"), std::string::npos) << "escaped, UTF-8: " << text;
    EXPECT_TRUE(host::XmlStream::parse(text));

    // Reading a document that is not a step's: unknown elements are passed
    // over, and nothing in the step changes.
    SmartPtr<IUnknown> scroll = createStep(L"GCUIScroll");
    const std::vector<std::wstring> before = valuesOf(scroll.get());
    SmartPtr<host::XmlStream> stranger = host::XmlStream::parse("<Step><Nothing>1</Nothing><x><y/></x></Step>");
    EXPECT_EQ(queryInterface<IDataPersist>(scroll.get())->Load(stranger.get(), 0), S_OK);
    EXPECT_EQ(valuesOf(scroll.get()), before);
}

}  // namespace
