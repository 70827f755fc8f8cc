// The Property write step: parameters matched to properties by display
// name, ids parsed from the section's item names, writes by kind, the
// fallbacks through the object's parameters, and a read-change-write round
// trip with the Property read step.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "host/Collections.h"
#include "support/Bindings.h"
#include "support/HostTest.h"
#include "support/PropertyObjects.h"

namespace {

using Lines = std::vector<std::string>;

struct Named {
    const wchar_t* name;
    SmartPtr<IVariant> value;
};

}  // namespace

class PropertyWriteStepTest : public PropertyStepTest {
protected:
    void SetUp() override { setUpStep(L"GCUIPropWrite"); }
    void give(std::initializer_list<Named> parameters) {
        SmartPtr<IParametersCreatable> creatable = write.step.query<IParametersCreatable>();
        creatable->RemoveAll();
        for (const Named& p : parameters) creatable->Add(host::makeString(p.name).get(), p.value.get(), nullptr, 0);
    }
    // The calls on the objects labelled Camera and Target.
    Lines writeInto(IUnknown* object, HRESULT expected = S_OK) {
        write.input->put_Object(object);
        host::Recorder::clear();
        EXPECT_EQ(write.step->TurnOn(), expected);
        Lines calls;
        for (const std::string& call : takeCallsOn({"Camera", "Target"})) {
            if (call.find(".GetProperty") == std::string::npos) calls.push_back(call);
        }
        return calls;
    }

    DrivenStep& write = step;
};

TEST_F(PropertyWriteStepTest, NamesFindItemsAndItemNamesGiveIds) {
    SmartPtr<host::PropertyObject> cam = camera();
    for (int32_t id : {26, -5, 12, 7, 0}) cam->setProperty(id, property(3, 0));
    table->addName(L"Camera", L"#1A", L"Hex");
    table->addName(L"Camera", L"-5", L"Negative");
    table->addName(L"Camera", L"12abc", L"Trailing");
    table->addName(L"Camera", L"+7", L"Plus");
    table->addName(L"Camera", L"", L"Blank");                     // an empty item name is id 0
    table->addName(L"Camera", L"99999999999999999999", L"Huge");  // wraps to an id the camera lacks
    table->addName(L"Camera", L"", L"");                          // an empty text matches nothing
    table->section(L"Camera")->Add(host::makeString(L"1").get(), host::makeVariant(3).get(), nullptr, 0);
    const std::wstring longName(10000, L'x');
    table->addName(L"Camera", L"13", longName);
    give({{L"exposure", host::makeVariant(30)},
          {L"Exposure2", host::makeVariant(1)},
          {L"HEX", host::makeVariant(7)},
          {L"Negative", host::makeVariant(8)},
          {L"trailing", host::makeVariant(9)},
          {L"plus", host::makeVariant(10)},
          {L"blank", host::makeVariant(11)},
          {L"Huge", host::makeVariant(12)},
          {L"", host::makeVariant(13)},
          {longName.c_str(), host::makeVariant(14)},
          {(longName + L"y").c_str(), host::makeVariant(15)}});
    EXPECT_EQ(writeInto(cam.query<IUnknown>().get()),
              (Lines{"Camera.SetProperty(100, 30)", "Camera.SetProperty(26, 7)", "Camera.SetProperty(-5, 8)",
                     "Camera.SetProperty(12, 9)", "Camera.SetProperty(7, 10)", "Camera.SetProperty(0, 11)"}));
}

TEST_F(PropertyWriteStepTest, EachKindIsWrittenItsWay) {
    SmartPtr<host::PropertyObject> cam = camera();
    SmartPtr<host::PropertyObject> oldView = host::make<host::PropertyObject>("Old", L"View", Face::kRenderable);
    SmartPtr<host::PropertyObject> newView = host::make<host::PropertyObject>("New", L"View", Face::kRenderable);
    SmartPtr<host::PropertyObject> plain = host::make<host::PropertyObject>("Plain", L"View", 0);
    cam->setProperty(104, objectProperty(6, host::makeString(L"Front").get()));
    cam->setProperty(105, objectProperty(7, oldView.query<IUnknown>().get()));
    cam->setProperty(106, property(0x43, 0));
    table->addName(L"Camera", L"104", L"Side");
    table->addName(L"Camera", L"105", L"View");
    table->addName(L"Camera", L"106", L"Level");

    SmartPtr<IVariant> viewValue = host::makeVariant(0);
    viewValue->put_Value(plain.query<IUnknown>().get());
    give({{L"Gain", host::makeVariant(0.1)},
          {L"Side", host::makeVariant(42)},
          {L"View", viewValue},
          {L"Level", host::makeVariant(2.75)}});
    EXPECT_EQ(writeInto(cam.query<IUnknown>().get()),
              (Lines{"Camera.SetProperty(102, 0.100000001)", "Camera.PutPropertyObject(104, \"42\")",
                     "Camera.SetProperty(106, 2)"}))
        << "an object that is not renderable is not written";
    host::PropertyObject::Property gain;
    ASSERT_TRUE(cam->property(102, gain));
    EXPECT_EQ(gain.bits, floatBits(0.1f));

    viewValue->put_Value(newView.query<IUnknown>().get());
    give({{L"View", viewValue},
          {L"Gain", host::makeVariant(1e300)},
          {L"Side", host::makeVariant(std::wstring(L"Back"))}});
    EXPECT_EQ(writeInto(cam.query<IUnknown>().get()),
              (Lines{"Camera.PutPropertyObject(105, object View)", "Camera.SetProperty(102, inf)",
                     "Camera.PutPropertyObject(104, \"Back\")"}));
    give({{L"Gain", host::makeVariant(std::nan(""))}});
    EXPECT_EQ(writeInto(cam.query<IUnknown>().get()), Lines{"Camera.SetProperty(102, nan)"});

    // Values of the wrong kind: a text where a number goes, an object where a text goes.
    viewValue->put_Value(plain.query<IUnknown>().get());
    give({{L"Level", host::makeVariant(std::wstring(L"high"))}, {L"Side", viewValue}, {L"Gain", viewValue}});
    EXPECT_EQ(
        writeInto(cam.query<IUnknown>().get()),
        (Lines{"Camera.SetProperty(106, 0)", "Camera.PutPropertyObject(104, \"View\")", "Camera.SetProperty(102, 0)"}));

    // Without the extended interface, text and object properties are not even found.
    SmartPtr<host::PropertyObject> basic = camera(Face::kInterrogate);
    basic->setProperty(104, objectProperty(6, nullptr));
    basic->setProperty(105, objectProperty(7, oldView.query<IUnknown>().get()));
    EXPECT_EQ(writeInto(basic.query<IUnknown>().get()), Lines{"Camera.SetProperty(102, 0)"});
}

TEST_F(PropertyWriteStepTest, WithoutASectionTheObjectsParametersAreWritten) {
    give({{L"Width", host::makeVariant(800)},
          {L"Title", host::makeVariant(std::wstring(L"Yard"))},
          {L"Depth", host::makeVariant(3)}});
    // A class without a section: the parametric interface takes everything.
    SmartPtr<host::PropertyObject> parametric =
        host::make<host::PropertyObject>("Camera", L"Unnamed", Face::kInterrogate | Face::kParametric);
    EXPECT_EQ(writeInto(parametric.query<IUnknown>().get()),
              Lines{"Camera.SetParameters(Width=800, Title=\"Yard\", Depth=3)"});
    parametric->failSetParameters(static_cast<HRESULT>(0x80040155));
    writeInto(parametric.query<IUnknown>().get(), static_cast<HRESULT>(0x80040155));

    // Only parameters: the namesakes are written.
    SmartPtr<host::PropertyObject> own = host::make<host::PropertyObject>("Camera", L"Camera", Face::kParameters);
    own->addParameter(L"Title", host::makeVariant(std::wstring(L"Hall")));
    own->addParameter(L"Width", host::makeVariant(640));
    own->addParameter(L"Height", host::makeVariant(480));
    EXPECT_EQ(writeInto(own.query<IUnknown>().get()),
              (Lines{"Camera.put_Item(Width, 800)", "Camera.put_Item(Title, \"Yard\")"}));
    EXPECT_EQ(own->parameterTexts(), (std::vector<std::pair<std::wstring, std::wstring>>{
                                         {L"Title", L"\"Yard\""}, {L"Width", L"800"}, {L"Height", L"480"}}));

    // An entity stands for its object; an object offering nothing is left alone.
    SmartPtr<host::RenderableEntity> entity = host::make<host::RenderableEntity>(own.query<IUnknown>().get());
    EXPECT_EQ(writeInto(entity.query<IUnknown>().get()).size(), 2u);
    SmartPtr<host::PropertyObject> nothing = host::make<host::PropertyObject>("Camera", L"Camera", 0);
    EXPECT_EQ(writeInto(nothing.query<IUnknown>().get()), Lines{});
    EXPECT_EQ(writeInto(nullptr), Lines{});
}

TEST_F(PropertyWriteStepTest, ReadChangeWriteChangesExactlyThatProperty) {
    SmartPtr<host::PropertyObject> cam = camera();
    cam->setRange(100, 104);
    cam->setProperty(104, objectProperty(6, host::makeString(L"Front").get()));
    table->addName(L"Camera", L"104", L"Side");
    DrivenStep read = driven(createStep<IStep>(L"GCUIPropRead"), L"UIParametric");
    read.input->put_Object(cam.query<IUnknown>().get());
    ASSERT_EQ(read.step->TurnOn(), S_OK);

    SmartPtr<IParametersCreatable> parameters = write.step.query<IParametersCreatable>();
    parameters->Copy(read.parameters.get());
    int32_t exposure = -1;
    parameters->get_Index(host::makeString(L"Exposure").get(), &exposure);
    ASSERT_GE(exposure, 0);
    parameters->put_Item(exposure, host::makeVariant(35).get());
    const auto before = [&](int32_t id) {
        host::PropertyObject::Property p;
        cam->property(id, p);
        return p;
    };
    const int32_t mode = before(101).bits, gain = before(102).bits;
    writeInto(cam.query<IUnknown>().get());
    EXPECT_EQ(before(100).bits, 35);
    EXPECT_EQ(before(101).bits, mode);
    EXPECT_EQ(before(102).bits, gain);
    EXPECT_EQ(host::valueText(before(104).object.get()), "\"Front\"");
}
