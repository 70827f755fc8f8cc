// The simulated host's objects as program files declare them: each kind made
// from its element, later objects naming earlier ones, bad declarations
// refused with their line.
#include <gtest/gtest.h>

#include <string>

#include "host/UserInterface.h"
#include "host/Variants.h"
#include "host/Windows.h"
#include "host/Workspace.h"
#include "stephost/ProgramObjects.h"
#include "stephost/ProgramReader.h"
#include "support/HostTest.h"

namespace {

using ProgramObjects = HostTest;

bool read(const std::string& objects, stephost::ProgramFile& program, std::string& error) {
    const std::string text = "<program name=\"p\">\n<objects>\n" + objects + "</objects>\n</program>\n";
    return stephost::parseProgram(text, program, error);
}

SmartPtr<host::SuperCollection> build(const stephost::ProgramFile& program, std::string& error) {
    SmartPtr<host::SuperCollection> made = host::make<host::SuperCollection>();
    for (const stephost::ProgramObject& object : program.objects) {
        SmartPtr<IUnknown> one = stephost::makeProgramObject(object, made.get(), error);
        if (!one) return nullptr;
        made->Add(host::makeString(object.name).get(), one.get(), nullptr, 0);
    }
    return made;
}

TEST_F(ProgramObjects, AWindowHostsAnObjectDeclaredBeforeItAndKeepsItsArea) {
    stephost::ProgramFile program;
    std::string error;
    ASSERT_TRUE(
        read("<refreshable name=\"Plot\"/>\n"
             "<window name=\"Main\" hosts=\"Plot\" left=\"10\" top=\"20\" width=\"100\" height=\"200\"/>\n",
             program, error))
        << error;
    ASSERT_EQ(program.objects.size(), 2u);
    EXPECT_EQ(program.objects[1].kind, "window");
    ASSERT_NE(program.objects[1].attribute("hosts"), nullptr);
    EXPECT_EQ(*program.objects[1].attribute("hosts"), L"Plot");

    SmartPtr<host::SuperCollection> made = build(program, error);
    ASSERT_TRUE(made) << error;
    SmartPtr<IUnknown> item;
    ASSERT_EQ(made->get_Item(1, item.put()), S_OK);
    SmartPtr<IHostWindow> window = item.query<IHostWindow>();
    ASSERT_TRUE(window);
    int32_t area[4] = {};
    window->get_Area(area);
    EXPECT_EQ(area[0], 10);
    EXPECT_EQ(area[3], 200);
    SmartPtr<IUnknown> hosted;
    ASSERT_EQ(window->get_HostedObject(hosted.put()), S_OK);
    EXPECT_TRUE(hosted.query<IUIRefreshableObject>());
}

TEST_F(ProgramObjects, AWorkspaceHoldsItsWindowsByName) {
    stephost::ProgramFile program;
    std::string error;
    ASSERT_TRUE(
        read("<workspace name=\"Desk\" left=\"10\" top=\"20\" width=\"800\" height=\"600\">\n"
             "  <window name=\"Plot\" left=\"100\" top=\"50\" width=\"200\" height=\"100\"/>\n"
             "  <window name=\"Log\"/>\n"
             "</workspace>\n",
             program, error))
        << error;
    SmartPtr<host::SuperCollection> made = build(program, error);
    ASSERT_TRUE(made) << error;
    SmartPtr<IUnknown> item;
    ASSERT_EQ(made->get_Item(0, item.put()), S_OK);
    SmartPtr<IWorkspace> workspace = item.query<IWorkspace>();
    ASSERT_TRUE(workspace);
    int32_t area[4] = {};
    workspace->get_Area(area);
    EXPECT_EQ(std::vector<int32_t>(area, area + 4), (std::vector<int32_t>{10, 20, 800, 600})) << "width and height";
    auto* desk = dynamic_cast<host::Workspace*>(workspace.get());
    ASSERT_NE(desk, nullptr);
    EXPECT_EQ(desk->windows()->shown(), (std::vector<std::string>{"Plot", "Log"}));
    auto* plot = dynamic_cast<host::HostWindow*>(desk->windows()->window(L"Plot").get());
    ASSERT_NE(plot, nullptr);
    EXPECT_EQ(plot->label(), "Desk.Plot") << "its calls show under the workspace in a trace";

    for (const char* objects : {"<workspace name=\"W\">\n<object name=\"NotAWindow\"/>\n</workspace>\n",
                                "<workspace name=\"W\" left=\"100\" width=\"-50\"/>\n"}) {
        stephost::ProgramFile refused;
        ASSERT_TRUE(read(objects, refused, error)) << error;
        EXPECT_FALSE(build(refused, error)) << objects;
        EXPECT_EQ(error.rfind("line ", 0), 0u) << error;
    }
}

TEST_F(ProgramObjects, BadDeclarationsAreRefusedWithTheirLine) {
    struct Case {
        const char* objects;
        const char* message;
    } cases[] = {
        {"<teapot name=\"T\"/>\n", "line 3: unknown kind of object <teapot>"},
        {"<window name=\"W\">\n<teapot/>\n</window>\n", "line 4: unknown kind of object <teapot>"},
    };
    for (const Case& c : cases) {
        stephost::ProgramFile program;
        std::string error;
        EXPECT_FALSE(read(c.objects, program, error)) << c.objects;
        EXPECT_EQ(error, c.message) << c.objects;
    }
    // Read, but not made: a name that is not declared before, an area that is no number.
    for (const char* objects :
         {"<window name=\"W\" hosts=\"Later\"/>\n<object name=\"Later\"/>\n", "<window name=\"W\" left=\"ten\"/>\n"}) {
        stephost::ProgramFile program;
        std::string error;
        ASSERT_TRUE(read(objects, program, error)) << error;
        EXPECT_FALSE(build(program, error)) << objects;
        EXPECT_EQ(error.rfind("line 3: ", 0), 0u) << error;
    }
}

}  // namespace
