// Portable file names against a stand-in settings store, and the store itself.
#include "runtime/FileNames.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>

#include "host/SettingsStore.h"
#include "host/Variants.h"
#include "support/HostTest.h"

namespace {

class FileNames : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        registry = host::make<host::Registry>();
        registry->set(L"Workspace", L"InstallPath", L"/opt/inspect");
        registry->set(L"Workspace", L"AppPath", L"/opt/app/sub");
        registry->set(L"Mappings", L"Images", L"/media/img");
        registry->set(L"Mappings", L"Media", L"/media");
        registry->set(L"Mappings", L"Windows", L"C:\\data");
        components->addObject(L"Registry", static_cast<IRegistry*>(registry.get()));
    }
    void TearDown() override {
        registry = nullptr;
        HostTest::TearDown();
    }

    SmartPtr<host::Registry> registry;
};

SmartPtr<IString> text(const wchar_t* value) { return host::makeString(value); }

std::wstring textOf(const SmartPtr<IString>& string) { return string ? host::textOf(string.get()) : L"(null)"; }

}  // namespace

TEST_F(FileNames, MapGivesThePortableForm) {
    struct Case {
        const wchar_t* path;
        int16_t relative;
        HRESULT result;
        std::wstring mapped;
    } const cases[] = {
        {L"/opt/inspect/data/a.png", 0, S_OK, L"[InstallPath]/data/a.png"},
        {L"/opt/inspect/data/a.png", 1, S_OK, L"data/a.png"},
        {L"/opt/inspect", 1, S_OK, L"[InstallPath]"},
        {L"/opt/inspect", 0, S_OK, L"[InstallPath]"},
        {L"/opt/inspect/", 1, S_OK, L"[InstallPath]"},
        {L"/opt/inspect\\x", 1, S_OK, L"x"},
        {L"/OPT/Inspect/x", 0, S_OK, L"[InstallPath]/x"},
        {L"//opt/inspect/x", 0, S_OK, L"[InstallPath]/x"},
        // The mappings in the store's order: the first that matches wins.
        {L"/media/img/1.bmp", 0, S_OK, L"[Images]/1.bmp"},
        {L"/MEDIA/IMG/1.bmp", 1, S_OK, L"[Images]/1.bmp"},
        {L"/media/other", 0, S_OK, L"[Media]/other"},
        {L"c:\\data\\f", 0, S_OK, L"[Windows]\\f"},
        {L"/medi", 0, E_FAIL, L"(null)"},
        {L"/elsewhere/f", 0, E_FAIL, L"(null)"},
        {L"", 0, E_FAIL, L"(null)"},
    };
    for (const Case& c : cases) {
        SmartPtr<IString> mapped;
        EXPECT_EQ(FILENAMEMap(text(c.path).get(), mapped.put(), c.relative), c.result) << host::narrow(c.path);
        EXPECT_EQ(textOf(mapped), c.mapped) << host::narrow(c.path);
    }

    // Paths come back from their portable form.
    for (const wchar_t* path : {L"/opt/inspect/data/a.png", L"/media/img/1.bmp", L"/media/x/y"}) {
        SmartPtr<IString> mapped, unmapped;
        ASSERT_EQ(FILENAMEMap(text(path).get(), mapped.put(), 0), S_OK);
        ASSERT_EQ(FILENAMEUnmap(mapped.get(), unmapped.put()), S_OK);
        EXPECT_EQ(textOf(unmapped), path);
    }

    // An installation path stored with a "//" prefix matches a "/" path; the
    // path is read through IRegistry, not IRegistryEx.
    registry->set(L"Workspace", L"InstallPath", L"//srv/app");
    host::Recorder::clear();
    SmartPtr<IString> mapped;
    EXPECT_EQ(FILENAMEMap(text(L"/srv/app/f").get(), mapped.put(), 0), S_OK);
    EXPECT_EQ(textOf(mapped), L"[InstallPath]/f");
    std::vector<std::string> storeCalls;
    for (const std::string& call : host::Recorder::take()) {
        if (call.rfind("Registry.", 0) == 0) storeCalls.push_back(call);
    }
    EXPECT_EQ(storeCalls, std::vector<std::string>{"Registry.GetValue(Workspace,InstallPath)"});
    // A "//" prefix is kept when no more than two characters are left.
    registry->set(L"Workspace", L"InstallPath", L"/");
    EXPECT_EQ(FILENAMEMap(text(L"//").get(), mapped.put(), 0), S_OK);
    EXPECT_EQ(textOf(mapped), L"[InstallPath]/");
}

TEST_F(FileNames, UnmapTurnsThePortableFormBack) {
    struct Case {
        const wchar_t* portable;
        HRESULT result;
        std::wstring path;
    } const cases[] = {
        {L"[Images]\\1.bmp", S_OK, L"/media/img/1.bmp"},
        {L"[InstallPath]/data/a.png", S_OK, L"/opt/inspect/data/a.png"},
        {L"[installpath]\\d\\e", S_OK, L"/opt/inspect/d/e"},
        {L"[Windows]\\f", S_OK, L"C:/data/f"},  // the stored value's "\" too
        {L"[Media]", S_OK, L"/media"},
        {L"data/a.png", E_FAIL, L"(null)"},
        {L"[Images", E_FAIL, L"(null)"},
        {L"[Nowhere]/x", E_FAIL, L"(null)"},
        {L"[]/x", E_FAIL, L"(null)"},
        {L"", E_FAIL, L"(null)"},
    };
    for (const Case& c : cases) {
        SmartPtr<IString> portable = text(c.portable);
        SmartPtr<IString> path;
        EXPECT_EQ(FILENAMEUnmap(portable.get(), path.put()), c.result) << host::narrow(c.portable);
        EXPECT_EQ(textOf(path), c.path) << host::narrow(c.portable);
        EXPECT_EQ(textOf(portable), c.portable) << "the caller's string is not changed";
    }
}

TEST_F(FileNames, RelativeFormsGoUpFromTheBase) {
    struct Case {
        const wchar_t* base;
        const wchar_t* path;
        std::wstring relative;  // empty: the path itself comes back
    } const cases[] = {
        {L"/opt/app", L"/opt/app/x/y.txt", L"x/y.txt"},
        {L"/opt/app/sub", L"/opt/app/x/y.txt", L"..\\x/y.txt"},
        {L"/opt/app/sub/deeper", L"/opt/app/x/y.txt", L"..\\..\\x/y.txt"},
        {L"/OPT/App", L"/opt/app/x", L"x"},
        {L"\\opt\\app", L"\\opt\\app\\x", L"x"},
        {L"/a/b", L"/a/b/c", L"c"},
        {L"/opt/app", L"/opt/app", L""},      // nothing after the base
        {L"/opt/app", L"/opt/apple/x", L""},  // shares only one separator
        {L"/opt/ab", L"/opt/a/x", L""},       // the common part ends before the first difference
        {L"/opt/app", L"/other/x", L""},
        {L"", L"/opt/x", L""},
        {L"/opt/app", L"", L""},
    };
    for (const Case& c : cases) {
        SmartPtr<IString> path = text(c.path);
        SmartPtr<IString> relative;
        EXPECT_EQ(FILENAMECreateRelative(text(c.base).get(), path.get(), relative.put()), S_OK) << host::narrow(c.path);
        if (c.relative.empty()) {
            EXPECT_EQ(relative.get(), path.get()) << host::narrow(c.base) << " " << host::narrow(c.path);
        } else {
            EXPECT_EQ(textOf(relative), c.relative) << host::narrow(c.base) << " " << host::narrow(c.path);
        }
    }

    SmartPtr<IString> relative;
    EXPECT_EQ(FILENAMECreateRelative(text(L"/opt/inspect/a/b").get(), relative.put(), 0), S_OK);
    EXPECT_EQ(textOf(relative), L"a/b");
    EXPECT_EQ(FILENAMECreateRelative(text(L"/opt/app/x/y.txt").get(), relative.put(), 1), S_OK);
    EXPECT_EQ(textOf(relative), L"..\\x/y.txt");
    EXPECT_EQ(FILENAMECreateRelative(nullptr, relative.put(), 1), S_OK);
    EXPECT_FALSE(relative);
}

TEST_F(FileNames, AbsoluteFormsClimbTheBase) {
    struct Case {
        const wchar_t* path;
        int16_t selector;
        std::wstring absolute;
    } const cases[] = {
        {L"..\\x\\y.txt", 1, L"/opt/app/x/y.txt"},
        {L"..\\..\\x", 1, L"/opt/x"},
        {L"..\\..\\..\\x", 1, L"/opt/app/sub/x"},  // the base is never cut to two characters or fewer
        {L"x\\y", 0, L"/opt/inspect/x/y"},
        {L"../x", 1, L"/opt/app/sub/../x"},  // only "..\" climbs
        {L"C:\\data", 1, L"C:/data"},
        {L":drive\\x", 1, L":drive/x"},  // a colon anywhere, even first, makes it absolute
        {L"/abs\\p", 1, L"/abs/p"},
        {L"a\\", 1, L"a/"},
    };
    for (const Case& c : cases) {
        SmartPtr<IString> path = text(c.path);
        SmartPtr<IString> absolute;
        EXPECT_EQ(FILENAMECreateAbsolute(path.get(), absolute.put(), c.selector), S_OK) << host::narrow(c.path);
        EXPECT_EQ(textOf(absolute), c.absolute) << host::narrow(c.path);
        EXPECT_EQ(textOf(path), c.path) << "the caller's string is not changed";
    }
    for (const wchar_t* unchanged : {L"/abs/p", L"ab", L""}) {
        SmartPtr<IString> path = text(unchanged);
        SmartPtr<IString> absolute;
        EXPECT_EQ(FILENAMECreateAbsolute(path.get(), absolute.put(), 1), S_OK);
        EXPECT_EQ(absolute.get(), path.get()) << host::narrow(unchanged);
    }
}

TEST_F(FileNames, LongPathsAreHandledWhole) {
    const std::wstring tail(10000, L'a');
    SmartPtr<IString> out;
    EXPECT_EQ(FILENAMEMap(text((L"/opt/inspect/" + tail).c_str()).get(), out.put(), 0), S_OK);
    EXPECT_EQ(textOf(out), L"[InstallPath]/" + tail);
    EXPECT_EQ(FILENAMEUnmap(text((L"[Images]\\" + tail).c_str()).get(), out.put()), S_OK);
    EXPECT_EQ(textOf(out), L"/media/img/" + tail);
    EXPECT_EQ(FILENAMECreateRelative(text((L"/opt/app/sub/" + tail).c_str()).get(), out.put(), 1), S_OK);
    EXPECT_EQ(textOf(out), tail);
    EXPECT_EQ(FILENAMECreateAbsolute(text((L"..\\" + tail).c_str()).get(), out.put(), 1), S_OK);
    EXPECT_EQ(textOf(out), L"/opt/app/" + tail);
    const std::wstring longName(10000, L'n');
    EXPECT_EQ(FILENAMEUnmap(text((L"[" + longName + L"]/x").c_str()).get(), out.put()), E_FAIL);
    // Backslashes all along a long path, across the pieces it is copied in.
    std::wstring backslashed;
    std::wstring forward;
    for (int i = 0; i < 100; ++i) {
        backslashed += L"d" + std::to_wstring(i) + L"\\";
        forward += L"d" + std::to_wstring(i) + L"/";
    }
    EXPECT_EQ(FILENAMEUnmap(text((L"[Images]\\" + backslashed).c_str()).get(), out.put()), S_OK);
    EXPECT_EQ(textOf(out), L"/media/img/" + forward);
}

TEST_F(FileNames, WorkspacePathsAreReadIntoABoundedBuffer) {
    host::Recorder::clear();
    SmartPtr<IString> path;
    EXPECT_EQ(FILENAMEGetInstallPath(path.put()), S_OK);
    EXPECT_EQ(textOf(path), L"/opt/inspect");
    EXPECT_EQ(FILENAMEGetAppPath(path.put()), S_OK);
    EXPECT_EQ(textOf(path), L"/opt/app/sub");
    const std::vector<std::string> calls = host::Recorder::take();
    EXPECT_NE(std::find(calls.begin(), calls.end(), "Registry.GetString(Workspace,AppPath)"), calls.end());

    // The store writes at most 178 characters, its terminator included.
    registry->set(L"Workspace", L"InstallPath", std::wstring(300, L'p'));
    EXPECT_EQ(FILENAMEGetInstallPath(path.put()), S_OK);
    EXPECT_EQ(textOf(path), std::wstring(kRegistryStringCapacity - 1, L'p'));

    registry->clear();
    EXPECT_EQ(FILENAMEGetInstallPath(path.put()), E_FAIL) << "the store's own failure";
    EXPECT_EQ(textOf(path), L"");
}

TEST_F(FileNames, WithoutASettingsStoreEveryFunctionStillAnswers) {
    components->remove(L"Registry");
    SmartPtr<IString> out = text(L"untouched");
    IString* const before = out.get();
    IString* raw = before;
    EXPECT_EQ(FILENAMEMap(text(L"/opt/inspect/x").get(), &raw, 0), E_NO_SETTINGS_STORE);
    EXPECT_EQ(raw, before) << "nothing is set";
    EXPECT_EQ(FILENAMEUnmap(text(L"[InstallPath]/x").get(), out.put()), E_FAIL);

    EXPECT_EQ(FILENAMEGetInstallPath(out.put()), E_FAIL);
    EXPECT_EQ(textOf(out), L"") << "an empty string all the same";
    EXPECT_EQ(FILENAMEGetAppPath(out.put()), E_FAIL);
    EXPECT_EQ(textOf(out), L"");

    SmartPtr<IString> path = text(L"/opt/inspect/x");
    EXPECT_EQ(FILENAMECreateRelative(path.get(), out.put(), 0), S_OK);
    EXPECT_EQ(out.get(), path.get());
    EXPECT_EQ(FILENAMECreateAbsolute(text(L"x\\y").get(), out.put(), 0), S_OK);
    EXPECT_EQ(textOf(out), L"/x/y");

    for (auto call : {+[] { return FILENAMEGetInstallPath(nullptr); }, +[] { return FILENAMEGetAppPath(nullptr); },
                      +[] { return FILENAMEMap(nullptr, nullptr, 0); }, +[] { return FILENAMEUnmap(nullptr, nullptr); },
                      +[] { return FILENAMECreateRelative(nullptr, nullptr, int16_t{0}); },
                      +[] { return FILENAMECreateRelative(nullptr, nullptr, nullptr); },
                      +[] { return FILENAMECreateAbsolute(nullptr, nullptr, 0); }}) {
        EXPECT_EQ(call(), E_POINTER);
    }
}

TEST_F(FileNames, TheSettingsStoreReadsAnIniFile) {
    const char* const settings =
        "\xEF\xBB\xBF; the reference host's settings\n"
        "Orphan=before any section\n"
        "[Workspace]\r\n"
        "  InstallPath = /opt/inspect \r\n"
        "AppPath=\" /opt/app \"\n"
        "[Mappings]\n"
        "Images=/media/img\n"
        "Docs = /home/\xC3\xBC/docs\n"
        "images=/media/img2\n"
        "no separator here\n"
        "# the end\n";
    char fileName[] = "/tmp/fluko-settings-XXXXXX";
    const int descriptor = mkstemp(fileName);
    ASSERT_GE(descriptor, 0);
    close(descriptor);
    std::ofstream(fileName, std::ios::binary) << settings;
    SmartPtr<host::Registry> store = host::make<host::Registry>();
    const bool loaded = store->load(fileName);
    std::remove(fileName);
    ASSERT_TRUE(loaded);
    EXPECT_FALSE(store->load("/nonexistent/settings.ini"));

    struct Case {
        const wchar_t *section, *key;
        HRESULT result;
        std::wstring value;
    } const cases[] = {
        {L"Workspace", L"InstallPath", S_OK, L"/opt/inspect"}, {L"WORKSPACE", L"installpath", S_OK, L"/opt/inspect"},
        {L"Workspace", L"AppPath", S_OK, L" /opt/app "},       {L"Mappings", L"Images", S_OK, L"/media/img2"},
        {L"Mappings", L"Docs", S_OK, L"/home/\u00FC/docs"},    {L"Mappings", L"Orphan", E_FAIL, L"(null)"},
        {L"Workspace", L"Missing", E_FAIL, L"(null)"},
    };
    for (const Case& c : cases) {
        SmartPtr<IString> value;
        EXPECT_EQ(store->GetValue(text(c.section).get(), text(c.key).get(), value.put()), c.result)
            << host::narrow(c.key);
        EXPECT_EQ(textOf(value), c.value) << host::narrow(c.key);
    }

    SmartPtr<INamedCollection> section;
    ASSERT_EQ(store->get_Section(text(L"mappings").get(), section.put()), S_OK);
    int32_t count = 0;
    section->get_Count(&count);
    ASSERT_EQ(count, 2);
    SmartPtr<IString> name;
    SmartPtr<IUnknown> value;
    section->get_ItemName(0, name.put());
    section->get_Item(0, value.put());
    EXPECT_EQ(textOf(name), L"Images") << "a repeated key keeps its place";
    EXPECT_EQ(host::textOf(value.query<IString>().get()), L"/media/img2");
    section->get_ItemName(1, name.put());
    EXPECT_EQ(textOf(name), L"Docs");
    EXPECT_EQ(section->get_Item(2, value.put()), E_INVALIDARG);
    EXPECT_EQ(store->get_Section(text(L"Nowhere").get(), section.put()), E_FAIL);

    // GetString fills a buffer of exactly 178 characters and no more.
    store->set(L"Workspace", L"Long", std::wstring(500, L'l'));
    std::unique_ptr<wchar_t[]> buffer(new wchar_t[kRegistryStringCapacity]());
    EXPECT_EQ(store->GetString(L"Workspace", L"Long", buffer.get()), S_OK);
    EXPECT_EQ(std::wstring(buffer.get()), std::wstring(kRegistryStringCapacity - 1, L'l'));
    EXPECT_EQ(store->GetString(L"Workspace", L"Missing", buffer.get()), E_FAIL);
    EXPECT_EQ(store->GetString(nullptr, L"Long", buffer.get()), E_POINTER);
}
