// Copying a step as the program editor does, and binding a step's monikers
// to the program's collection.
#include <gtest/gtest.h>

#include "host/Collections.h"
#include "host/FolderStream.h"
#include "host/Inputs.h"
#include "host/Variants.h"
#include "support/HostTest.h"

namespace {

class Replication : public HostTest {
protected:
    static SmartPtr<IUnknown> replicate(IUnknown* step) {
        SmartPtr<IUnknown> copy;
        EXPECT_EQ(queryInterface<IReplicableObject>(step)->Replicate(copy.put()), S_OK);
        return copy;
    }
    static SmartPtr<IInputParameter> inputOf(IUnknown* step, int32_t index) {
        SmartPtr<IUnknown> item;
        queryInterface<IInputParameters>(step)->get_Item(index, item.put());
        return item.query<IInputParameter>();
    }
    static SmartPtr<host::InputParameter> boundTo(IUnknown* object, const wchar_t* itemName, int32_t itemIndex) {
        SmartPtr<host::InputParameter> binding = host::make<host::InputParameter>(L"", IID_IUIScrollableObject, 0);
        binding->put_Object(object);
        binding->put_ItemName(host::makeString(itemName).get());
        binding->put_ItemIndex(itemIndex);
        return binding;
    }
};

TEST_F(Replication, ValuesAreCopiedBindingsAreRenewedInputsFollowByPosition) {
    SmartPtr<IUnknown> scroll = createStep(L"GCUIScroll");
    SmartPtr<IParameters> source = queryInterface<IParameters>(scroll.get());
    source->put_Item(0, host::makeVariant(2).get());  // "Operation"
    SmartPtr<IUnknown> view = host::make<host::SuperCollection>().query<IUnknown>();
    SmartPtr<host::InputParameter> binding = boundTo(view.get(), L"Row", 7);
    source->put_ItemDescriptor(2, static_cast<IInputParameter*>(binding.get()));  // "Pos" follows an input
    inputOf(scroll.get(), 0)->put_Object(view.get());

    SmartPtr<IUnknown> copy = replicate(scroll.get());
    ASSERT_TRUE(copy);
    SmartPtr<IParameters> replica = queryInterface<IParameters>(copy.get());
    SmartPtr<IVariant> operation;
    replica->get_ItemVariant(0, operation.put());
    EXPECT_EQ(operation->get_Long(), 2);
    source->put_Item(0, host::makeVariant(3).get());
    operation = nullptr;
    replica->get_ItemVariant(0, operation.put());
    EXPECT_EQ(operation->get_Long(), 2) << "the replica has a variant of its own";

    SmartPtr<IUnknown> descriptor;
    replica->get_ItemDescriptor(2, descriptor.put());
    SmartPtr<IInputParameter> copied = descriptor.query<IInputParameter>();
    ASSERT_TRUE(copied);
    EXPECT_FALSE(isSameObject(copied.get(), static_cast<IInputParameter*>(binding.get()))) << "a binding of its own";
    SmartPtr<IUnknown> object;
    copied->get_Object(object.put());
    EXPECT_TRUE(isSameObject(object.get(), view.get()));
    int32_t itemIndex = -1;
    copied->get_ItemIndex(&itemIndex);
    EXPECT_EQ(itemIndex, 7);
    IID required = IID_NULL;
    copied->get_IID(&required);
    EXPECT_EQ(required, IID_IUIScrollableObject);

    object = nullptr;
    inputOf(copy.get(), 0)->get_Object(object.put());
    EXPECT_TRUE(isSameObject(object.get(), view.get())) << "inputs bound to the same objects";
    EXPECT_EQ(queryInterface<IReplicableObject>(scroll.get())->Replicate(nullptr), E_POINTER);
}

TEST_F(Replication, UserParametersAreAppendedAndOwnMembersStartAfresh) {
    SmartPtr<IParametersCreatable> read = createStep<IParametersCreatable>(L"GCUIPropRead");
    read->Add(host::makeString(L"Speed").get(), host::makeVariant(12).get(), nullptr, 0x3);
    read->Add(host::makeString(L"Label").get(), host::makeVariant(std::wstring(L"pump")).get(), nullptr, 0x6);
    read->Add(host::makeString(L"Load").get(), host::makeVariant(0.5).get(), nullptr, 0x5);
    SmartPtr<IUnknown> copy = replicate(read.get());
    SmartPtr<IParameters> replica = queryInterface<IParameters>(copy.get());
    int32_t count = 0;
    replica->get_Count(&count);
    ASSERT_EQ(count, 3);
    SmartPtr<IString> name;
    replica->get_ItemName(1, name.put());
    EXPECT_EQ(host::textOf(name.get()), L"Label");
    int32_t flags = 0;
    replica->get_ItemFlags(2, &flags);
    EXPECT_EQ(flags, 0x5);

    // The Edit step's remembered window area is its own member: not copied.
    const int32_t area[4] = {1, 2, 3, 4};
    SmartPtr<host::FolderStream> stream = host::make<host::FolderStream>();
    stream->WriteBinary(host::makeString(L"Rect").get(), area, sizeof area, 0);
    SmartPtr<IUnknown> edit = createStep(L"GCUIEdit");
    queryInterface<IDataPersist>(edit.get())->Load(stream.get(), 0);
    SmartPtr<IUnknown> editCopy = replicate(edit.get());
    SmartPtr<host::FolderStream> saved = host::make<host::FolderStream>();
    queryInterface<IDataPersist>(editCopy.get())->Save(saved.get(), 0);
    EXPECT_EQ(saved->bytes(L"Rect"), std::vector<uint8_t>(16, 0));
}

TEST_F(Replication, BindAttachesEveryMonikerToTheProgramsCollection) {
    SmartPtr<host::SuperCollection> program = host::make<host::SuperCollection>();
    SmartPtr<IUnknown> view = host::make<host::SuperCollection>().query<IUnknown>();
    program->Add(host::makeString(L"View").get(), view.get(), nullptr, 0);

    SmartPtr<IUnknown> scroll = createStep(L"GCUIScroll");
    SmartPtr<host::CollectionMoniker> inputMoniker = host::make<host::CollectionMoniker>(L"View");
    inputOf(scroll.get(), 0)->put_Object(static_cast<ICollectionMoniker*>(inputMoniker.get()));
    SmartPtr<host::CollectionMoniker> parameterMoniker = host::make<host::CollectionMoniker>(L"View");
    SmartPtr<host::InputParameter> binding =
        boundTo(static_cast<ICollectionMoniker*>(parameterMoniker.get()), L"Row", 1);
    queryInterface<IParameters>(scroll.get())->put_ItemDescriptor(3, static_cast<IInputParameter*>(binding.get()));

    SmartPtr<IBindableObject> bindable = queryInterface<IBindableObject>(scroll.get());
    EXPECT_EQ(bindable->Bind(static_cast<INamedCollection*>(program.get()), nullptr), S_OK);
    EXPECT_TRUE(inputMoniker->bound());
    EXPECT_TRUE(parameterMoniker->bound());
    SmartPtr<IUnknown> resolved;
    EXPECT_EQ(queryInterface<IInputParameters>(scroll.get())->get_InputObject(0, resolved.put()), S_OK);
    EXPECT_TRUE(isSameObject(resolved.get(), view.get())) << "the input yields the object the moniker names";

    // A collection that is not a named one unbinds them; Bind never fails.
    EXPECT_EQ(bindable->Bind(nullptr, nullptr), S_OK);
    EXPECT_FALSE(inputMoniker->bound());
    EXPECT_FALSE(parameterMoniker->bound());
    EXPECT_EQ(queryInterface<IInputParameters>(scroll.get())->get_InputObject(0, resolved.put()), S_OK);
    EXPECT_FALSE(resolved) << "a moniker that names nothing gives no object";
}

}  // namespace
