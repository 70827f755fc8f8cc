// The host's input bindings: what an input list hands a step, how a moniker
// resolves its name, and bindings saved and loaded in both stream kinds.
#include "support/Bindings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/Collections.h"
#include "host/CsvStream.h"
#include "host/FolderStream.h"
#include "host/Inputs.h"
#include "host/Variants.h"
#include "host/XmlStream.h"
#include "support/HostTest.h"

namespace {

using host::makeString;

using Bindings = HostTest;

// A program's collection with one object under each name.
SmartPtr<host::SuperCollection> programWith(const std::vector<std::pair<std::wstring, IUnknown*>>& objects) {
    SmartPtr<host::SuperCollection> program = host::make<host::SuperCollection>();
    for (const auto& [name, object] : objects) program->Add(makeString(name).get(), object, nullptr, 0);
    return program;
}

SmartPtr<IInputParameter> inputAt(IInputParameters* list, int32_t index) {
    SmartPtr<IUnknown> item;
    list->get_Item(index, item.put());
    return item.query<IInputParameter>();
}

TEST_F(Bindings, MonikersResolveTheirNameInTheCollectionTheyAreBoundTo) {
    SmartPtr<IUnknown> view = host::make<host::SuperCollection>().query<IUnknown>();
    SmartPtr<host::SuperCollection> program = programWith({{L"View", view.get()}});
    SmartPtr<host::CollectionMoniker> moniker = host::make<host::CollectionMoniker>(L"View");

    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(moniker->GetObject(IID_IUnknown, &out), E_FAIL) << "not bound to a collection yet";
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(moniker->BindToCollection(static_cast<INamedCollection*>(program.get()), 0), S_OK);
    ASSERT_EQ(moniker->GetObject(IID_INamedCollection, &out), S_OK);
    SmartPtr<INamedCollection> named = SmartPtr<INamedCollection>::adopt(static_cast<INamedCollection*>(out));
    EXPECT_TRUE(isSameObject(named.get(), view.get()));
    EXPECT_EQ(moniker->GetObject(IID_IUIRefreshableObject, &out), E_NOINTERFACE) << "the object does not offer it";
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(moniker->GetObject(IID_IUnknown, nullptr), E_POINTER);

    SmartPtr<host::CollectionMoniker> stray = host::make<host::CollectionMoniker>(L"Elsewhere");
    stray->BindToCollection(static_cast<INamedCollection*>(program.get()), 0);
    EXPECT_EQ(stray->GetObject(IID_IUnknown, &out), E_FAIL) << "no such name in the program";
    moniker->BindToCollection(nullptr, 0);
    EXPECT_FALSE(moniker->bound());
    EXPECT_EQ(moniker->GetObject(IID_IUnknown, &out), E_FAIL);
}

TEST_F(Bindings, AnInputGivesWhatItIsBoundToOrNothing) {
    SmartPtr<host::InputParameters> list = host::make<host::InputParameters>();
    for (const wchar_t* name : {L"Direct", L"Named", L"Stray", L"Unbound"}) {
        list->AddInput(makeString(name).get(), IID_IUnknown, 0);
    }
    SmartPtr<IUnknown> direct = host::make<host::SuperCollection>().query<IUnknown>();
    SmartPtr<IUnknown> view = host::make<host::SuperCollection>().query<IUnknown>();
    SmartPtr<host::SuperCollection> program = programWith({{L"View", view.get()}});
    inputAt(list.get(), 0)->put_Object(direct.get());
    SmartPtr<host::CollectionMoniker> named = host::make<host::CollectionMoniker>(L"View");
    named->BindToCollection(static_cast<INamedCollection*>(program.get()), 0);
    inputAt(list.get(), 1)->put_Object(static_cast<ICollectionMoniker*>(named.get()));
    inputAt(list.get(), 2)->put_Object(host::make<host::CollectionMoniker>(L"Gone").query<IUnknown>().get());

    // Unbound inputs and monikers that name nothing give no object without
    // refusing, so that a step walking its inputs goes on to the next one.
    const struct {
        int32_t index;
        HRESULT result;
        IUnknown* expected;
    } cases[] = {{0, S_OK, direct.get()}, {1, S_OK, view.get()},      {2, S_OK, nullptr},
                 {3, S_OK, nullptr},      {4, E_INVALIDARG, nullptr}, {-1, E_INVALIDARG, nullptr}};
    for (const auto& item : cases) {
        SCOPED_TRACE(item.index);
        SmartPtr<IUnknown> object;
        EXPECT_EQ(list->get_InputObject(item.index, object.put()), item.result);
        EXPECT_TRUE(item.expected ? isSameObject(object.get(), item.expected) : !object);
    }
    EXPECT_EQ(list->get_InputObject(0, nullptr), E_POINTER);
}

TEST_F(Bindings, InputListsSaveTheirBindingsInBothStreamKinds) {
    const auto declared = [] {
        SmartPtr<host::InputParameters> list = host::make<host::InputParameters>();
        list->AddInput(makeString(L"View").get(), IID_IUIRefreshableObject, 0);
        list->AddInput(makeString(L"Tabs").get(), IID_ITabCollection, 0);
        list->AddInput(makeString(L"Spare").get(), IID_IUnknown, 0);
        return list;
    };
    SmartPtr<host::InputParameters> original = declared();
    SmartPtr<IInputParameter> first = inputAt(original.get(), 0);
    first->put_Object(host::make<host::CollectionMoniker>(L"Main <view>").query<IUnknown>().get());
    first->put_ItemName(makeString(L"Row \"1\"").get());
    first->put_ItemIndex(3);
    SmartPtr<IInputParameter> second = inputAt(original.get(), 1);
    second->put_Object(host::make<host::CollectionMoniker>(L"Tabs").query<IUnknown>().get());
    second->put_IID(IID_IUIScrollableObject);
    second->put_ItemName(makeString(L"").get());
    const std::vector<std::wstring> expected = inputBindings(static_cast<IInputParameters*>(original.get()));

    // Folder stream, through its text form.
    SmartPtr<host::FolderStream> folder = host::make<host::FolderStream>();
    ASSERT_EQ(original->Save(folder.get(), 0), S_OK);
    EXPECT_EQ(folder->names(), (std::vector<std::wstring>{L"Input0", L"Input1", L"Input2"}));
    SmartPtr<host::FolderStream> folderBack = host::make<host::FolderStream>();
    ASSERT_TRUE(folderBack->load(folder->save()));
    SmartPtr<host::InputParameters> fromFolder = declared();
    ASSERT_EQ(fromFolder->Load(folderBack.get(), 0), S_OK);
    EXPECT_EQ(inputBindings(static_cast<IInputParameters*>(fromFolder.get())), expected);

    // XML, through its text.
    SmartPtr<host::XmlStream> xml = host::XmlStream::create(L"Inputs");
    ASSERT_EQ(original->Save(xml.get(), 0), S_OK);
    SmartPtr<host::XmlStream> xmlBack = host::XmlStream::parse(xml->save());
    ASSERT_TRUE(xmlBack);
    SmartPtr<host::InputParameters> fromXml = declared();
    ASSERT_EQ(fromXml->Load(xmlBack.get(), 0), S_OK);
    EXPECT_EQ(inputBindings(static_cast<IInputParameters*>(fromXml.get())), expected);
    SmartPtr<host::XmlStream> xmlAgain = host::XmlStream::create(L"Inputs");
    fromXml->Save(xmlAgain.get(), 0);
    EXPECT_EQ(xmlAgain->save(), xml->save());

    EXPECT_EQ(original->Save(host::make<host::CsvStream>().get(), 0), E_NOTIMPL);
    EXPECT_EQ(original->Load(nullptr, 0), E_NOTIMPL);
}

TEST_F(Bindings, LoadingMakesEachBindingWhatWasSavedPositionByPosition) {
    // The saved list: the first input bound, the second not.
    SmartPtr<host::InputParameters> saved = host::make<host::InputParameters>();
    saved->AddInput(makeString(L"A").get(), IID_IUIRefreshableObject, 0);
    saved->AddInput(makeString(L"B").get(), IID_IUIRefreshableObject, 0);
    saved->AddInput(makeString(L"C").get(), IID_IUIRefreshableObject, 0);
    SmartPtr<IInputParameter> first = inputAt(saved.get(), 0);
    first->put_Object(host::make<host::CollectionMoniker>(L"Pump").query<IUnknown>().get());
    first->put_ItemName(makeString(L"Level").get());
    first->put_ItemIndex(2);

    for (int kind = 0; kind < 2; ++kind) {
        SCOPED_TRACE(kind == 0 ? "folder stream" : "XML");
        SmartPtr<IDataStream> stream;
        if (kind == 0) {
            stream = host::make<host::FolderStream>();
        } else {
            stream = host::XmlStream::create(L"Inputs");
        }
        ASSERT_EQ(saved->Save(stream.get(), 0), S_OK);

        // A list whose inputs are bound already, with one input fewer than
        // were saved: what was saved replaces each binding, the third saved
        // one has no place and is passed over.
        SmartPtr<host::InputParameters> target = host::make<host::InputParameters>();
        target->AddInput(makeString(L"A").get(), IID_IUnknown, 0);
        target->AddInput(makeString(L"B").get(), IID_ITabCollection, 0);
        for (int32_t i = 0; i < 2; ++i) {
            SmartPtr<IInputParameter> binding = inputAt(target.get(), i);
            binding->put_Object(host::make<host::CollectionMoniker>(L"Old").query<IUnknown>().get());
            binding->put_ItemName(makeString(L"Old").get());
            binding->put_ItemIndex(9);
        }
        ASSERT_EQ(target->Load(stream.get(), 0), S_OK);
        EXPECT_EQ(inputBindings(static_cast<IInputParameters*>(target.get())),
                  (std::vector<std::wstring>{bindingText(first.get()), bindingText(inputAt(saved.get(), 1).get())}));
    }
}

}  // namespace
