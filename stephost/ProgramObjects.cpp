#include "stephost/ProgramObjects.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <cwchar>

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

namespace stephost {

namespace {

// --- Attributes ---------------------------------------------------------------

// An object declared earlier, by the name in `attribute`; null (with `error`)
// when the attribute names none. No attribute: null, no error.
SmartPtr<IUnknown> namedObject(const ProgramObject& object, const char* attribute, host::SuperCollection* made,
                               std::string& error) {
    const std::wstring* name = object.attribute(attribute);
    if (!name) return nullptr;
    int32_t index = -1;
    SmartPtr<IUnknown> found;
    if (made && SUCCEEDED(made->get_Index(host::makeString(*name).get(), &index))) made->get_Item(index, found.put());
    if (!found) {
        error = programError(object.line, std::string(attribute) + "=\"" + shown(host::narrow(*name)) +
                                              "\" names no object declared before it");
    }
    return found;
}

// An integer attribute, or `fallback` when absent; false with `error` when it
// is not a whole number (in `base`, as wholeNumber reads it).
bool integerAttribute(const ProgramObject& object, const char* attribute, int32_t fallback, int32_t& value,
                      std::string& error, int base = 10) {
    const std::wstring* text = object.attribute(attribute);
    value = fallback;
    if (!text || wholeNumber(*text, value, base)) return true;
    error = programError(object.line,
                         std::string(attribute) + "=\"" + shown(host::narrow(*text)) + "\" is not a whole number");
    return false;
}

// An area as the host gives it, left, top, width and height, from the
// attributes of those names (0 when absent); false with `error` when one is
// not a whole number or the width or height is negative.
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

// --- Plain objects, windows and workspaces ------------------------------------

SmartPtr<IUnknown> makePlain(const ProgramObject& object, host::SuperCollection*, std::string&) {
    SmartPtr<host::SuperCollection> plain = host::make<host::SuperCollection>();
    plain->setLabel(host::narrow(object.name));
    return plain.query<IUnknown>();
}

SmartPtr<IUnknown> makeRefreshable(const ProgramObject& object, host::SuperCollection*, std::string&) {
    return host::make<host::RefreshableObject>(host::narrow(object.name)).query<IUnknown>();
}

// <window name="Main" hosts="Pump" left="10" top="20" width="100" height="200"/>
SmartPtr<IUnknown> makeWindow(const ProgramObject& object, host::SuperCollection* made, std::string& error) {
    SmartPtr<IUnknown> hosted = namedObject(object, "hosts", made, error);
    if (!error.empty()) return nullptr;
    int32_t area[4] = {0, 0, 0, 0};
    if (!areaAttributes(object, area, error)) return nullptr;
    SmartPtr<host::HostWindow> window = host::make<host::HostWindow>(host::narrow(object.name), hosted.get());
    window->put_Area(area);
    return window.query<IUnknown>();
}

// <workspace name="Desk" left="0" top="0" width="800" height="600">
//   <window name="Plot" .../>
// </workspace>
// The inner windows are placed in the workspace under their names and
// recorded as "Desk.Plot".
SmartPtr<IUnknown> makeWorkspace(const ProgramObject& object, host::SuperCollection* made, std::string& error) {
    int32_t area[4] = {0, 0, 0, 0};
    if (!areaAttributes(object, area, error)) return nullptr;
    const std::string label = host::narrow(object.name);
    SmartPtr<host::Workspace> workspace = host::make<host::Workspace>(label);
    workspace->setArea(area);
    for (const ProgramObject& inner : object.children) {
        SmartPtr<IUnknown> window = makeProgramObject(inner, made, error);
        if (!window) return nullptr;
        auto* hostWindow = dynamic_cast<host::HostWindow*>(window.get());
        if (!hostWindow) {
            error = programError(inner.line, "a workspace holds <window> elements only");
            return nullptr;
        }
        hostWindow->setLabel(label + "." + host::narrow(inner.name));
        workspace->windows()->place(inner.name, window.get());
    }
    return workspace.query<IUnknown>();
}

// <screen name="Screen"/>: the host's collection of open windows.
SmartPtr<IUnknown> makeScreen(const ProgramObject& object, host::SuperCollection*, std::string&) {
    return host::make<host::WindowCollection>(host::narrow(object.name)).query<IUnknown>();
}

// --- Activation and buttons ----------------------------------------------------

// <activatable name="Panel" active="0|1"/>
SmartPtr<IUnknown> makeActivatable(const ProgramObject& object, host::SuperCollection*, std::string& error) {
    int32_t active = 0;
    if (!integerAttribute(object, "active", 0, active, error)) return nullptr;
    return host::make<host::ActivatableObject>(host::narrow(object.name), active != 0).query<IUnknown>();
}

// A button's attributes: kind, command, selected state, and whether it is a
// toolbar item.
struct ButtonAttributes {
    int32_t kind = 0;
    int32_t command = 0;
    int32_t selected = 0;
    int32_t item = 0;
};

bool readButton(const ProgramObject& object, ButtonAttributes& read, std::string& error) {
    return integerAttribute(object, "kind", 0, read.kind, error) &&
           integerAttribute(object, "command", 0, read.command, error) &&
           integerAttribute(object, "selected", 0, read.selected, error) &&
           integerAttribute(object, "item", 0, read.item, error);
}

// <buttons name="Bar" as="plain|toolbar|toolbarhost"> holding
// <button name="Start" kind="1" command="101" selected="0" item="0|1"/>
// elements; a <button> on its own is a button outside any set.
SmartPtr<IUnknown> makeButtons(const ProgramObject& object, host::SuperCollection*, std::string& error) {
    const std::wstring* as = object.attribute("as");
    host::ButtonSet::Role role = host::ButtonSet::Role::Plain;
    if (as && *as == L"toolbar") {
        role = host::ButtonSet::Role::Toolbar;
    } else if (as && *as == L"toolbarhost") {
        role = host::ButtonSet::Role::ToolbarHost;
    } else if (as && *as != L"plain") {
        error =
            programError(object.line, "as=\"" + shown(host::narrow(*as)) + "\" is none of plain, toolbar, toolbarhost");
        return nullptr;
    }
    SmartPtr<host::ButtonSet> set = host::make<host::ButtonSet>(host::narrow(object.name), role);
    for (const ProgramObject& inner : object.children) {
        ButtonAttributes read;
        if (inner.kind != "button") {
            error = programError(inner.line, "<buttons> holds <button> elements only");
            return nullptr;
        }
        if (!readButton(inner, read, error)) return nullptr;
        SmartPtr<host::Button> button = set->add(inner.name, read.kind, read.command, read.item != 0);
        button->setProperty(host::kButtonSelected, read.selected);
    }
    return set.query<IUnknown>();
}

SmartPtr<IUnknown> makeButton(const ProgramObject& object, host::SuperCollection*, std::string& error) {
    ButtonAttributes read;
    if (!readButton(object, read, error)) return nullptr;
    SmartPtr<host::Button> button =
        host::make<host::Button>(host::narrow(object.name), object.name, read.kind, read.command, read.item != 0);
    button->setProperty(host::kButtonSelected, read.selected);
    return SmartPtr<IUnknown>(static_cast<IButton*>(button.get()));
}

// --- Scrolling and tabs ---------------------------------------------------------

// A decimal attribute (`value` stays when it is absent); false with `error` when it
// is not a finite number.
bool numberAttribute(const ProgramObject& object, const char* attribute, double& value, std::string& error) {
    const std::wstring* text = object.attribute(attribute);
    if (!text) return true;
    wchar_t* end = nullptr;
    const double parsed = text->empty() ? 0.0 : std::wcstod(text->c_str(), &end);
    if (text->empty() || *end != L'\0' || !std::isfinite(parsed)) {
        error = programError(object.line,
                             std::string(attribute) + "=\"" + shown(host::narrow(*text)) + "\" is not a number");
        return false;
    }
    value = parsed;
    return true;
}

// <scrollable name="Chart" pos0="0" page0="10" pos1="120.5" page1="40"/>
SmartPtr<IUnknown> makeScrollable(const ProgramObject& object, host::SuperCollection*, std::string& error) {
    SmartPtr<host::ScrollableObject> scrollable = host::make<host::ScrollableObject>(host::narrow(object.name));
    const char* const positions[host::ScrollableObject::kAxes] = {"pos0", "pos1"};
    const char* const pageSizes[host::ScrollableObject::kAxes] = {"page0", "page1"};
    for (int16_t axis = 0; axis < host::ScrollableObject::kAxes; ++axis) {
        double position = 0.0;
        double pageSize = 0.0;
        if (!numberAttribute(object, positions[axis], position, error) ||
            !numberAttribute(object, pageSizes[axis], pageSize, error)) {
            return nullptr;
        }
        scrollable->scrollTo(axis, position, pageSize);
    }
    return scrollable.query<IUnknown>();
}

bool holdsNothing(const ProgramObject& tab, std::string& error) {
    if (tab.children.empty()) return true;
    error = programError(tab.children.front().line, "a <tab> holds no objects; use <tabs>");
    return false;
}

// Fills a collection from the element's <tab> and <tabs> children, inner
// collections filled the same way, and brings the tab that `selected` names
// to the front.
bool fill(host::TabCollection& tabs, const ProgramObject& object, std::string& error) {
    for (const ProgramObject& child : object.children) {
        if (child.name.empty()) {
            error = programError(child.line, "a tab needs a name");
            return false;
        }
        if (child.kind == "tab") {
            if (!holdsNothing(child, error)) return false;
            tabs.addTab(child.name);
        } else if (child.kind == "tabs") {
            if (!fill(*tabs.addTabs(child.name).get(), child, error)) return false;
        } else {
            error = programError(child.line, "<" + shown(child.kind) + "> cannot be a tab; use <tab> or <tabs>");
            return false;
        }
    }
    int32_t selected = 0;
    if (!integerAttribute(object, "selected", 0, selected, error)) return false;
    if (!tabs.bringToFront(selected) && (object.attribute("selected") || !object.children.empty())) {
        error = programError(object.line, "selected=\"" + std::to_string(selected) + "\" names no tab");
        return false;
    }
    return true;
}

// <tabs name="Main" selected="1"><tab name="Setup"/><tabs name="Results">...</tabs></tabs>
SmartPtr<IUnknown> makeTabs(const ProgramObject& object, host::SuperCollection*, std::string& error) {
    SmartPtr<host::TabCollection> tabs = host::make<host::TabCollection>(host::narrow(object.name));
    if (!fill(*tabs.get(), object, error)) return nullptr;
    return tabs.query<IUnknown>();
}

// <tab name="Setup"/>, on its own or inside <tabs>.
SmartPtr<IUnknown> makeTab(const ProgramObject& object, host::SuperCollection*, std::string& error) {
    if (!holdsNothing(object, error)) return nullptr;
    return host::make<host::Tab>(host::narrow(object.name)).query<IUnknown>();
}

// --- Verbs ----------------------------------------------------------------------

// A verb without a name stands for a separator; the host hands out no name for it.
bool readVerb(const ProgramObject& object, host::VerbEntry& verb, std::string& error) {
    verb = {object.name, !object.name.empty(), 0};
    return integerAttribute(object, "code", 0, verb.identifier, error);
}

// A <verb> on its own: one verb (IUIVerb), as a verb collection hands it out.
SmartPtr<IUnknown> makeVerb(const ProgramObject& object, host::SuperCollection*, std::string& error) {
    host::VerbEntry verb;
    if (!readVerb(object, verb, error)) return nullptr;
    SmartPtr<host::Verb> made = host::make<host::Verb>(std::move(verb));
    made->setLabel(host::narrow(object.name));
    return made.query<IUnknown>();
}

// <verbs name="Pump"><verb name="Open" code="5"/><verb code="0"/></verbs>
SmartPtr<IUnknown> makeVerbs(const ProgramObject& object, host::SuperCollection*, std::string& error) {
    std::vector<host::VerbEntry> verbs;
    for (const ProgramObject& child : object.children) {
        host::VerbEntry verb;
        if (child.kind != "verb") {
            error = programError(child.line, "a <verbs> set holds <verb> elements only");
            return nullptr;
        }
        if (!readVerb(child, verb, error)) return nullptr;
        verbs.push_back(std::move(verb));
    }
    return host::make<host::VerbObject>(host::narrow(object.name), std::move(verbs)).query<IUnknown>();
}

// --- Properties -----------------------------------------------------------------

const std::pair<const wchar_t*, uint32_t> kFaceNames[] = {
    {L"interrogate", host::PropertyObject::kInterrogate}, {L"extended", host::PropertyObject::kExtended},
    {L"parametric", host::PropertyObject::kParametric},   {L"parameters", host::PropertyObject::kParameters},
    {L"renderable", host::PropertyObject::kRenderable},
};

bool readFaces(const ProgramObject& object, uint32_t& faces, std::string& error) {
    const std::wstring* text = object.attribute("offers");
    faces = host::PropertyObject::kInterrogate | host::PropertyObject::kExtended;
    if (!text) return true;
    faces = 0;
    std::wstring word;
    const std::wstring words = *text + L" ";
    for (wchar_t c : words) {
        if (c != L' ') {
            word += c;
            continue;
        }
        if (word.empty()) continue;
        bool known = false;
        for (const auto& face : kFaceNames) {
            if (word == face.first) {
                faces |= face.second;
                known = true;
            }
        }
        if (!known) {
            error = programError(object.line,
                                 "offers=\"" + shown(host::narrow(word)) +
                                     "\" is none of interrogate, extended, parametric, parameters, renderable");
            return false;
        }
        word.clear();
    }
    return true;
}

// A number when the whole text is one, else the text.
SmartPtr<IVariant> settingValue(const std::wstring& text) {
    int32_t integer = 0;
    if (wholeNumber(text, integer)) return host::makeVariant(integer);
    wchar_t* end = nullptr;
    const double real = text.empty() ? 0.0 : std::wcstod(text.c_str(), &end);
    if (!text.empty() && *end == L'\0') return host::makeVariant(real);
    return host::makeVariant(text);
}

bool readProperty(const ProgramObject& inner, host::SuperCollection* made, host::PropertyObject::Property& property,
                  int32_t& id, std::string& error) {
    if (!integerAttribute(inner, "id", 0, id, error)) return false;
    // Kinds read best in hexadecimal: "0x43".
    if (!integerAttribute(inner, "kind", property.kind, property.kind, error, 0)) return false;
    const std::wstring* value = inner.attribute("value");
    const std::wstring text = value ? *value : std::wstring();
    const int32_t type = property.kind & 0x0F;
    if (const std::wstring* choices = inner.attribute("choices")) property.choices = *choices;
    if (type == 4 || type == 5) {
        wchar_t* end = nullptr;
        const float single = text.empty() ? 0.0f : std::wcstof(text.c_str(), &end);
        if (!text.empty() && *end != L'\0') {
            error = programError(inner.line, "value=\"" + shown(host::narrow(text)) + "\" is not a number");
            return false;
        }
        std::memcpy(&property.bits, &single, sizeof single);
    } else if (type == 6) {
        property.extendedOnly = true;
        property.object = host::makeString(text).query<IUnknown>();
    } else if (type >= 7) {
        property.extendedOnly = true;
        property.object = namedObject(inner, "object", made, error);
        if (!error.empty()) return false;
    } else if (!integerAttribute(inner, "value", 0, property.bits, error)) {
        return false;
    }
    return true;
}

// <stringtable>, <properties> with <property> and <setting> elements
// inside, and <entity>.
SmartPtr<IUnknown> makeStringTable(const ProgramObject& object, host::SuperCollection*, std::string&) {
    SmartPtr<host::StringTable> table = host::make<host::StringTable>();
    table->setLabel(host::narrow(object.name));
    return table.query<IUnknown>();
}

SmartPtr<IUnknown> makeProperties(const ProgramObject& object, host::SuperCollection* made, std::string& error) {
    uint32_t faces = 0;
    if (!readFaces(object, faces, error)) return nullptr;
    SmartPtr<IUnknown> tableObject = namedObject(object, "names", made, error);
    if (!error.empty()) return nullptr;
    auto* table = dynamic_cast<host::StringTable*>(queryInterface<IStringTable>(tableObject.get()).get());
    if (tableObject && !table) {
        error = programError(object.line, "names= names no <stringtable>");
        return nullptr;
    }
    const std::wstring* classAttribute = object.attribute("class");
    const std::wstring className = classAttribute ? *classAttribute : object.name;
    SmartPtr<host::PropertyObject> properties =
        host::make<host::PropertyObject>(host::narrow(object.name), className, faces);
    bool any = false;
    int32_t first = 0, last = -1;
    for (const ProgramObject& inner : object.children) {
        if (inner.kind == "setting") {
            const std::wstring* value = inner.attribute("value");
            properties->addParameter(inner.name, settingValue(value ? *value : std::wstring()));
            continue;
        }
        if (inner.kind != "property") {
            error = programError(inner.line, "<properties> holds <property> and <setting> elements only");
            return nullptr;
        }
        host::PropertyObject::Property property;
        int32_t id = 0;
        if (!readProperty(inner, made, property, id, error)) return nullptr;
        properties->setProperty(id, std::move(property));
        if (table && !inner.name.empty()) table->addName(className, std::to_wstring(id), inner.name);
        first = any ? std::min(first, id) : id;
        last = any ? std::max(last, id) : id;
        any = true;
    }
    int32_t setFirst = first, setLast = last;
    if (!integerAttribute(object, "first", first, setFirst, error) ||
        !integerAttribute(object, "last", last, setLast, error)) {
        return nullptr;
    }
    properties->setRange(setFirst, setLast);
    return SmartPtr<IUnknown>(static_cast<IUIPropInterrogate*>(properties.get()));
}

SmartPtr<IUnknown> makePropertyPart(const ProgramObject& object, host::SuperCollection*, std::string& error) {
    error = programError(object.line, "<" + shown(object.kind) + "> belongs inside <properties>");
    return nullptr;
}

SmartPtr<IUnknown> makeEntity(const ProgramObject& object, host::SuperCollection* made, std::string& error) {
    SmartPtr<IUnknown> target = namedObject(object, "for", made, error);
    if (!error.empty()) return nullptr;
    SmartPtr<host::RenderableEntity> entity = host::make<host::RenderableEntity>(target.get());
    entity->setLabel(host::narrow(object.name));
    return entity.query<IUnknown>();
}

// --- Property frames and viewers ------------------------------------------------

// <frame name="Editor"/>: the property frame of the program's run.
SmartPtr<IUnknown> makeFrame(const ProgramObject& object, host::SuperCollection*, std::string&) {
    return host::make<host::PropertyFrame>(host::narrow(object.name)).query<IUnknown>();
}

// <editable name="Pump"/>: an object a property frame edits.
SmartPtr<IUnknown> makeEditable(const ProgramObject& object, host::SuperCollection*, std::string&) {
    return host::make<host::EditableObject>(host::narrow(object.name)).query<IUnknown>();
}

// <viewer name="Inspector"/>
SmartPtr<IUnknown> makeViewer(const ProgramObject& object, host::SuperCollection*, std::string&) {
    return host::make<host::SmartViewer>(host::narrow(object.name)).query<IUnknown>();
}

// One line per kind.
const ObjectKind kKinds[] = {
    {"object", &makePlain, ""},
    {"refreshable", &makeRefreshable, ""},
    {"scrollable", &makeScrollable, "pos0 page0 pos1 page1"},
    {"tab", &makeTab, ""},
    {"tabs", &makeTabs, "selected"},
    {"window", &makeWindow, "hosts left top width height"},
    {"activatable", &makeActivatable, "active"},
    {"buttons", &makeButtons, "as"},
    {"button", &makeButton, "kind command selected item"},
    {"workspace", &makeWorkspace, "left top width height", L"ActiveWorkspace"},
    {"screen", &makeScreen, "", L"GlobalWindowCollection"},
    {"verbs", &makeVerbs, ""},
    {"verb", &makeVerb, "code"},
    {"stringtable", &makeStringTable, "", L"StringTable"},
    {"properties", &makeProperties, "class names offers first last"},
    {"property", &makePropertyPart, "id kind value choices object"},
    {"setting", &makePropertyPart, "value"},
    {"entity", &makeEntity, "for"},
    {"frame", &makeFrame, "", L"UIPropertyPageCollection"},
    {"viewer", &makeViewer, ""},
    {"editable", &makeEditable, ""},
};

}  // namespace

const ObjectKind* findObjectKind(const std::string& kind) {
    for (const ObjectKind& entry : kKinds) {
        if (kind == entry.kind) return &entry;
    }
    return nullptr;
}

SmartPtr<IUnknown> makeProgramObject(const ProgramObject& object, host::SuperCollection* made, std::string& error) {
    const ObjectKind* kind = findObjectKind(object.kind);
    if (!kind) {
        error = programError(object.line, "unknown kind of object <" + shown(object.kind) + ">");
        return nullptr;
    }
    SmartPtr<IUnknown> result = kind->make(object, made, error);
    if (!result && error.empty()) error = programError(object.line, "the object cannot be made");
    return result;
}

}  // namespace stephost
