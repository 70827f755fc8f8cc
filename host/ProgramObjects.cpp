#include "host/ProgramObjects.h"

#include <cwchar>
#include <iterator>

#include "host/Activation.h"
#include "host/Buttons.h"
#include "host/Properties.h"
#include "host/PropertyFrames.h"
#include "host/Scrolling.h"
#include "host/Tabs.h"
#include "host/UserInterface.h"
#include "host/Variants.h"
#include "host/Verbs.h"
#include "host/Windows.h"
#include "host/Workspace.h"

namespace host {

namespace {

SmartPtr<IUnknown> makePlain(const ProgramObject& object, SuperCollection*, std::string&) {
    SmartPtr<SuperCollection> plain = make<SuperCollection>();
    plain->setLabel(narrow(object.name));
    return plain.query<IUnknown>();
}

SmartPtr<IUnknown> makeRefreshable(const ProgramObject& object, SuperCollection*, std::string&) {
    return make<RefreshableObject>(narrow(object.name)).query<IUnknown>();
}

// <window name="Main" hosts="Pump" left="10" top="20" width="100" height="200"/>
SmartPtr<IUnknown> makeWindow(const ProgramObject& object, SuperCollection* made, std::string& error) {
    SmartPtr<IUnknown> hosted = namedObject(object, "hosts", made, error);
    if (!error.empty()) return nullptr;
    int32_t area[4] = {0, 0, 0, 0};
    if (!areaAttributes(object, area, error)) return nullptr;
    SmartPtr<HostWindow> window = make<HostWindow>(narrow(object.name), hosted.get());
    window->put_Area(area);
    return window.query<IUnknown>();
}

// One line per kind; the kinds of other families are added here.
const ObjectKind kKinds[] = {
    {"object", &makePlain},
    {"refreshable", &makeRefreshable},
    {"scrollable", &makeScrollable},
    {"tab", &makeTab},
    {"tabs", &makeTabs},
    {"window", &makeWindow},
    {"activatable", &makeProgramActivatable},
    {"buttons", &makeProgramButtons},
    {"button", &makeProgramButton},
    {"workspace", &makeWorkspace, L"ActiveWorkspace"},
    {"screen", &makeScreen, L"GlobalWindowCollection"},
    {"verbs", &makeProgramVerbs},
    {"verb", &makeProgramVerb},
    {"stringtable", &makeProgramStringTable, L"StringTable"},
    {"properties", &makeProgramProperties},
    {"property", &makeProgramPropertyPart},
    {"setting", &makeProgramPropertyPart},
    {"entity", &makeProgramEntity},
    {"frame", &makeProgramFrame, L"UIPropertyPageCollection"},
    {"viewer", &makeProgramViewer},
};

}  // namespace

const ObjectKind* findObjectKind(const std::string& kind) {
    for (const ObjectKind& entry : kKinds) {
        if (kind == entry.kind) return &entry;
    }
    return nullptr;
}

SmartPtr<IUnknown> makeProgramObject(const ProgramObject& object, SuperCollection* made, std::string& error) {
    const ObjectKind* kind = findObjectKind(object.kind);
    if (!kind) {
        error = programError(object.line, "unknown kind of object <" + shown(object.kind) + ">");
        return nullptr;
    }
    SmartPtr<IUnknown> result = kind->make(object, made, error);
    if (!result && error.empty()) error = programError(object.line, "the object cannot be made");
    return result;
}

SmartPtr<IUnknown> namedObject(const ProgramObject& object, const char* attribute, SuperCollection* made,
                               std::string& error) {
    const std::wstring* name = object.attribute(attribute);
    if (!name) return nullptr;
    int32_t index = -1;
    SmartPtr<IUnknown> found;
    if (made && made->get_Index(makeString(*name).get(), &index) >= 0) made->get_Item(index, found.put());
    if (!found) {
        error = programError(object.line, std::string(attribute) + "=\"" + shown(narrow(*name)) +
                                              "\" names no object declared before it");
    }
    return found;
}

bool integerAttribute(const ProgramObject& object, const char* attribute, int32_t fallback, int32_t& value,
                      std::string& error) {
    const std::wstring* text = object.attribute(attribute);
    value = fallback;
    if (!text) return true;
    wchar_t* end = nullptr;
    const long long parsed = text->empty() ? 0 : std::wcstoll(text->c_str(), &end, 10);
    if (text->empty() || *end != L'\0' || parsed < INT32_MIN || parsed > INT32_MAX) {
        error = programError(object.line,
                             std::string(attribute) + "=\"" + shown(narrow(*text)) + "\" is not a whole number");
        return false;
    }
    value = static_cast<int32_t>(parsed);
    return true;
}

bool areaAttributes(const ProgramObject& object, int32_t area[4], std::string& error) {
    const char* const names[4] = {"left", "top", "width", "height"};
    for (int side = 0; side < 4; ++side) {
        if (!integerAttribute(object, names[side], 0, area[side], error)) return false;
    }
    if (area[2] < 0 || area[3] < 0) {
        error = programError(object.line, "an area's width and height are not negative");
        return false;
    }
    return true;
}

}  // namespace host
