// The Property read step: one parameter per property of the bound object,
// named from the string table, typed and flagged by the property's kind;
// the parametric-object and parameter-collection fallbacks; a run that
// always starts empty (the collection shared with other threads is
// stress_test's).
#include <gtest/gtest.h>

#include <climits>

#include "support/Bindings.h"
#include "support/HostTest.h"
#include "support/PropertyObjects.h"

namespace {

using Lines = std::vector<std::string>;

}  // namespace

class PropertyReadStepTest : public PropertyStepTest {
protected:
    void SetUp() override { setUpStep(L"GCUIPropRead"); }
    Lines readObject(IUnknown* object) {
        step.input->put_Object(object);
        EXPECT_EQ(step.step->TurnOn(), S_OK);
        return parameterLines(step.step.get());
    }

    DrivenStep& read = step;
};

TEST_F(PropertyReadStepTest, KindsGiveTypesFlagsAndChoices) {
    SmartPtr<host::PropertyObject> cam = camera();
    EXPECT_EQ(readObject(cam.query<IUnknown>().get()),
              (Lines{"Exposure=20 0x3", "Mode=1 0x43 \"Auto;Manual\"", "Gain=2.5 0x4"}));
    EXPECT_EQ(takeCallsOn({"Camera", "StringTable"}),
              (Lines{"StringTable.GetSection Camera", "Camera.GetProperty(100) = 20", "Camera.GetProperty(101) = 1",
                     "Camera.GetProperty(102) = 2.5"}));

    // More kinds over a wider range; 103 and 107 have no name in the section.
    SmartPtr<host::PropertyObject> lens =
        host::make<host::PropertyObject>("Lens", L"Camera", Face::kInterrogate | Face::kExtended);
    SmartPtr<host::PropertyObject> other = host::make<host::PropertyObject>("Other", L"Other", Face::kRenderable);
    lens->setRange(100, 108);
    lens->setProperty(100, property(0x103, 7));             // bits above the low byte dropped
    lens->setProperty(101, property(0x40, -4, L"-4;0;4"));  // value type 0: an integer, type 3
    lens->setProperty(102, property(5, floatBits(0.1f)));   // widened, not rounded to 0.1
    lens->setProperty(103, property(0x30, 9));              // sub-kind kept, no choices without 0x40
    lens->setProperty(104, objectProperty(6, host::makeString(L"Front").get()));
    lens->setProperty(105, objectProperty(7, other.query<IUnknown>().get()));
    lens->setProperty(106, property(-1, 0));  // no kind: skipped
    lens->setProperty(107, objectProperty(0x46, host::makeString(L"B").get()));
    table->addName(L"Camera", L"104", L"Side");
    table->addName(L"Camera", L"105", L"Target");
    table->addName(L"Camera", L"106", L"Absent");
    Lines lines = readObject(lens.query<IUnknown>().get());
    ASSERT_EQ(lines.size(), 7u);
    EXPECT_EQ(lines[0], "Exposure=7 0x3");
    EXPECT_EQ(lines[1], "Mode=-4 0x43 \"-4;0;4\"");
    EXPECT_EQ(lines[2], "Gain=0.100000001 0x5");
    EXPECT_EQ(lines[3], "=9 0x33");
    EXPECT_EQ(lines[4], "Side=\"Front\" 0x6");
    EXPECT_EQ(lines[5], "Target=object Other 0x7");
    EXPECT_EQ(lines[6], "=\"B\" 0x46") << "an extended string asks for choices, which the object has none of";
    SmartPtr<IParameters> parameters = read.parameters;
    SmartPtr<IVariant> gain;
    parameters->get_ItemVariant(2, gain.put());
    EXPECT_EQ(gain->get_Type(), 2);
    EXPECT_EQ(gain->get_Double(), static_cast<double>(0.1f));
}

TEST_F(PropertyReadStepTest, ObjectsWithoutInterrogationAreCopiedByName) {
    struct Case {
        uint32_t faces;
        Lines calls;
    };
    const Case cases[] = {
        {Face::kParameters, {}},
        {Face::kParametric, {"Camera.GetParameters()"}},
        {Face::kParametric | Face::kParameters, {"Camera.GetParameters()"}},
    };
    for (const Case& c : cases) {
        SmartPtr<host::PropertyObject> cam = camera(c.faces);
        cam->addParameter(L"Width", host::makeVariant(640));
        cam->addParameter(L"Title", host::makeVariant(std::wstring(L"Hall")));
        host::Recorder::clear();
        EXPECT_EQ(readObject(cam.query<IUnknown>().get()), (Lines{"Width=640 0x0", "Title=\"Hall\" 0x0"}));
        EXPECT_EQ(takeCallsOn({"Camera", "StringTable"}), c.calls);
    }
}

TEST_F(PropertyReadStepTest, EveryRunStartsEmpty) {
    SmartPtr<host::PropertyObject> cam = camera();
    SmartPtr<host::PropertyObject> small = host::make<host::PropertyObject>("Small", L"Camera", Face::kInterrogate);
    small->setRange(102, 102);
    small->setProperty(102, property(3, 5));
    SmartPtr<host::PropertyObject> nothing = host::make<host::PropertyObject>("Nothing", L"Camera", 0);
    EXPECT_EQ(readObject(cam.query<IUnknown>().get()).size(), 3u);
    EXPECT_EQ(readObject(small.query<IUnknown>().get()), Lines{"Gain=5 0x3"});
    EXPECT_EQ(readObject(cam.query<IUnknown>().get()).size(), 3u);
    EXPECT_EQ(readObject(nothing.query<IUnknown>().get()), Lines{});
    EXPECT_EQ(readObject(cam.query<IUnknown>().get()).size(), 3u);
    EXPECT_EQ(readObject(nullptr), Lines{});
}

TEST_F(PropertyReadStepTest, NamesFallBackToNone) {
    // A class without a section; then sections whose items are no strings.
    SmartPtr<host::PropertyObject> other = host::make<host::PropertyObject>("Other", L"Unknown", Face::kInterrogate);
    other->setRange(1, 2);
    other->setProperty(1, property(3, 1));
    other->setProperty(2, property(3, 2));
    EXPECT_EQ(readObject(other.query<IUnknown>().get()), (Lines{"=1 0x3", "=2 0x3"}));
    table->section(L"Unknown")->Add(host::makeString(L"1").get(), host::makeVariant(5).get(), nullptr, 0);
    table->section(L"Unknown")->Add(host::makeString(L"2").get(), nullptr, nullptr, 0);
    EXPECT_EQ(readObject(other.query<IUnknown>().get()), (Lines{"=1 0x3", "=2 0x3"}));
}

TEST_F(PropertyReadStepTest, BrokenRangesAndKindsCostBoundedWork) {
    struct Case {
        int32_t first, last;
        size_t parameters;
    };
    const Case cases[] = {
        {102, 100, 0},                  // first after last
        {INT32_MAX - 1, INT32_MAX, 0},  // no wrap past the largest id
        {INT32_MIN, INT32_MAX, 0},      // read no further than 65536 ids
        {0, 40000, 3},
    };
    for (const Case& c : cases) {
        SmartPtr<host::PropertyObject> cam = camera(Face::kInterrogate);
        cam->setRange(c.first, c.last);
        cam->setProperty(INT32_MAX, property(-5, 0));  // a negative kind: skipped
        host::Recorder::setEnabled(false);
        EXPECT_EQ(readObject(cam.query<IUnknown>().get()).size(), c.parameters) << c.first << ".." << c.last;
        host::Recorder::setEnabled(true);
    }
}

TEST_F(PropertyReadStepTest, MissingHostComponentsLeaveParametersUnnamed) {
    components->remove(L"StringTable");
    components->remove(L"ComponentString");
    SmartPtr<host::PropertyObject> cam = camera();
    EXPECT_EQ(readObject(cam.query<IUnknown>().get()), (Lines{"=20 0x3", "=1 0x43 \"Auto;Manual\"", "=2.5 0x4"}));
}
