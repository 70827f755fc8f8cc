// Objects with properties as program files declare them: what they offer,
// their kinds and values, settings, the names they give the string table,
// and bad declarations refused with their line.
#include <gtest/gtest.h>

#include <string>

#include "host/Properties.h"
#include "stephost/ProgramObjects.h"
#include "stephost/ProgramReader.h"
#include "support/HostTest.h"
#include "support/PropertyObjects.h"

namespace {

using ProgramProperties = HostTest;

SmartPtr<IUnknown> declare(const std::string& elements, std::string& error) {
    stephost::ProgramFile program;
    const std::string text = "<program name=\"p\">\n<objects>\n" + elements + "</objects>\n</program>\n";
    if (!stephost::parseProgram(text, program, error) || program.objects.empty()) return nullptr;
    SmartPtr<host::SuperCollection> made = host::make<host::SuperCollection>();
    SmartPtr<IUnknown> last;
    for (const stephost::ProgramObject& object : program.objects) {
        last = stephost::makeProgramObject(object, made.get(), error);
        if (!last) return nullptr;
        made->Add(host::makeString(object.name).get(), last.get(), nullptr, 0);
    }
    return last;
}

}  // namespace

TEST_F(ProgramProperties, PropertiesKeepKindsValuesNamesAndSettings) {
    std::string error;
    SmartPtr<IUnknown> made = declare(
        "<stringtable name=\"Names\"/>\n"
        "<properties name=\"Cam\" class=\"Camera\" names=\"Names\" offers=\"interrogate parameters\">\n"
        "<property id=\"100\" name=\"Exposure\" kind=\"3\" value=\"-20\"/>\n"
        "<property id=\"101\" kind=\"0x43\" value=\"1\" choices=\"A;B\"/>\n"
        "<property id=\"104\" kind=\"5\" value=\"0.1\"/>\n"
        "<setting name=\"Width\" value=\"640\"/>\n"
        "</properties>\n",
        error);
    ASSERT_TRUE(made) << error;
    auto* cam = dynamic_cast<host::PropertyObject*>(made.query<IUIPropInterrogate>().get());
    ASSERT_NE(cam, nullptr);
    EXPECT_FALSE(made.query<IUIPropInterrogateEx>());
    EXPECT_TRUE(made.query<IParameters>());
    int32_t first = 0, last = 0;
    cam->GetPropertyRange(0x2000000, &first, &last);
    EXPECT_EQ(first, 100);
    EXPECT_EQ(last, 104);
    host::PropertyObject::Property read;
    ASSERT_TRUE(cam->property(101, read));
    EXPECT_EQ(read.kind, 0x43);
    EXPECT_EQ(read.choices, L"A;B");
    ASSERT_TRUE(cam->property(104, read));
    EXPECT_EQ(read.bits, floatBits(0.1f));
    EXPECT_EQ(cam->parameterTexts(), (std::vector<std::pair<std::wstring, std::wstring>>{{L"Width", L"640"}}));
}

TEST_F(ProgramProperties, BadDeclarationsAreRefusedWithTheirLine) {
    const char* const cases[] = {
        "<properties name=\"C\" offers=\"interrogate telepathy\"/>\n",
        "<properties name=\"C\">\n<property id=\"1\" kind=\"three\"/>\n</properties>\n",
        "<properties name=\"C\">\n<property id=\"1\" kind=\"4\" value=\"fast\"/>\n</properties>\n",
        "<properties name=\"C\">\n<property id=\"1\" kind=\"7\" object=\"Nowhere\"/>\n</properties>\n",
        "<properties name=\"C\">\n<tab name=\"T\"/>\n</properties>\n",
        "<properties name=\"C\" names=\"C0\"/>\n",
        "<property id=\"1\"/>\n",
        "<entity name=\"E\" for=\"Nobody\"/>\n",
    };
    for (const char* elements : cases) {
        std::string error;
        EXPECT_FALSE(declare(elements, error)) << elements;
        EXPECT_EQ(error.rfind("line ", 0), 0u) << elements << " -> " << error;
    }
}
