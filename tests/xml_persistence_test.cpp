// Steps saved into the host's XML stream, printed, parsed back into fresh
// steps and saved again; the forms of the elements a host reads; hostile
// documents.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/FolderStream.h"
#include "host/Inputs.h"
#include "host/Values.h"
#include "host/XmlStream.h"
#include "parameters/IParametersImpl.h"
#include "support/HostTest.h"
#include "support/Parameters.h"

namespace {

class XmlPersistence : public HostTest {
protected:
    // Values off their defaults; on steps that keep their declared set, the
    // first plain parameter bound to a moniker through its descriptor.
    static void configure(IUnknown* step, bool bindOne) {
        SmartPtr<IParameters> parameters = queryInterface<IParameters>(step);
        int32_t count = 0;
        parameters->get_Count(&count);
        bool bound = !bindOne;
        for (int32_t i = 0; i < count; ++i) {
            SmartPtr<IVariant> value;
            parameters->get_ItemVariant(i, value.put());
            if (value && value->IsString()) {
                parameters->put_Item(i, host::makeVariant(L"<a & \"b\"> \u00e9 " + std::to_wstring(i)).get());
            } else {
                parameters->put_Item(i, host::makeVariant(int32_t{i % 3 + 1}).get());
            }
            int32_t flags = 0;
            parameters->get_ItemFlags(i, &flags);
            if (!bound && (flags & (PARAMETER_CHOICES | PARAMETER_RESULT)) == 0) {
                SmartPtr<host::InputParameter> binding = host::make<host::InputParameter>(L"", IID_IUnknown, 0);
                binding->put_Object(host::make<host::CollectionMoniker>(L"Source").query<IUnknown>().get());
                binding->put_ItemName(host::makeString(L"Level").get());
                binding->put_ItemIndex(4);
                parameters->put_ItemDescriptor(i, static_cast<IInputParameter*>(binding.get()));
                bound = true;
            }
        }
    }

    static std::string saved(IUnknown* step) {
        SmartPtr<host::XmlStream> stream = host::XmlStream::create(L"Step");
        queryInterface<IDataPersist>(step)->Save(stream.get(), 0);
        return stream->save();
    }

    static std::vector<std::wstring> valuesOf(IUnknown* step) { return parameterTexts(step, false); }
};

TEST_F(XmlPersistence, EveryStepComesBackAsItWasSaved) {
    for (const wchar_t* name : kRegisteredNames) {
        SCOPED_TRACE(host::narrow(name));
        const std::wstring which = name;
        SmartPtr<IUnknown> original = createStep(name);
        const bool rebuilds = which == L"GCUIRefresh" || which == L"GCUIPropRead" || which == L"GCUIPropWrite";
        configure(original.get(), !rebuilds);
        if (which == L"GCUIEdit") {
            EXPECT_EQ(queryInterface<IDataPersist>(original.get())->Save(host::XmlStream::create(L"Step").get(), 0),
                      E_NOTIMPL) << "the Edit step keeps to folder streams";
            continue;
        }
        const std::string first = saved(original.get());

        std::string error;
        SmartPtr<host::XmlStream> parsed = host::XmlStream::parse(first, &error);
        ASSERT_TRUE(parsed) << error;
        SmartPtr<IUnknown> copy = createStep(name);
        ASSERT_EQ(queryInterface<IDataPersist>(copy.get())->Load(parsed.get(), 0), S_OK);
        EXPECT_EQ(saved(copy.get()), first) << "saved again, the document is the same";
        if (!rebuilds) {
            EXPECT_EQ(valuesOf(copy.get()), valuesOf(original.get()));
        }
    }
}

TEST_F(XmlPersistence, SimpleAndFullFormsAndTheBoundParameter) {
    SmartPtr<IUnknown> scroll = createStep(L"GCUIScroll");
    configure(scroll.get(), true);
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

TEST_F(XmlPersistence, StepDocumentsAreWellFormedAndStrangeOnesChangeNothing) {
    SmartPtr<IUnknown> message = createStep(L"GCUIMessage");
    configure(message.get(), false);
    const std::string text = saved(message.get());
    EXPECT_EQ(text.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>", 0), 0u);
    EXPECT_NE(text.find("&lt;a &amp; \"b\"&gt; \xC3\xA9"), std::string::npos) << "escaped, UTF-8: " << text;
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
