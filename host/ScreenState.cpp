#include "host/ScreenState.h"

#include <algorithm>

#include "host/Activation.h"
#include "host/Buttons.h"
#include "host/MessageWindows.h"
#include "host/PropertyFrames.h"
#include "host/Scrolling.h"
#include "host/Tabs.h"
#include "host/Workspace.h"

namespace host {

namespace {

// The object itself, whichever of its interfaces a pointer holds.
const void* identity(IUnknown* object) { return object ? dynamic_cast<const void*>(object) : nullptr; }

bool isActive(IUnknown* object) {
    const auto* activatable = dynamic_cast<ActivatableObject*>(object);
    return activatable && activatable->active();
}

// A workspace's windows and pointer events are in its own coordinates; on
// the screen they are moved by its origin.
void moveBy(ScreenState::Window& window, const int32_t origin[2]) {
    window.area[0] += origin[0];
    window.area[1] += origin[1];
    window.lastPointer.x += origin[0];
    window.lastPointer.y += origin[1];
}

// The names the objects are given, by identity.
using Names = std::vector<std::pair<const void*, std::string>>;

// An object by the name it is given, else by its label.
std::string nameOf(IUnknown* object, const Names& names) {
    for (const auto& [named, name] : names) {
        if (named == identity(object)) return name;
    }
    return traceLabel(object);
}

ScreenState::Window windowOf(const std::string& name, HostWindow& window, const Names& names) {
    ScreenState::Window state;
    state.name = name;
    const SmartPtr<IUnknown> hosted = window.hosted();
    state.hosts = hosted ? nameOf(hosted.get(), names) : "";
    window.get_Area(state.area);
    state.active = isActive(hosted.get());
    state.shows = window.shows();
    const std::vector<MouseEvent> events = window.mouseEvents();
    state.pointerEvents = events.size();
    if (!events.empty()) state.lastPointer = events.back();
    return state;
}

void addTabs(ScreenState& screen, const std::string& name, const TabCollection& tabs, int depth) {
    ScreenState::Tabs state;
    state.name = name;
    state.depth = depth;
    state.selected = tabs.selected();
    const std::vector<std::wstring> names = tabs.names();
    for (const std::wstring& tab : names) state.tabs.push_back(narrow(tab));
    screen.tabs.push_back(state);
    // An inner collection follows its outer one, so that a picture draws it beneath.
    for (size_t i = 0; i < names.size(); ++i) {
        if (auto* inner = dynamic_cast<TabCollection*>(tabs.tab(static_cast<int32_t>(i)).get())) {
            addTabs(screen, name + "." + narrow(names[i]), *inner, depth + 1);
        }
    }
}

void addOpened(ScreenState& screen, const std::string& collection, const WindowCollection& windows,
               const int32_t origin[2], const Names& names) {
    for (const auto& [name, window] : windows.opened()) {
        ScreenState::Shown shown;
        shown.collection = collection;
        shown.name = narrow(name);
        if (const auto* message = dynamic_cast<MessageWindow*>(window.get())) {
            shown.isMessage = true;
            shown.message = narrow(message->message());
        } else if (auto* placed = dynamic_cast<HostWindow*>(window.get())) {
            screen.windows.push_back(windowOf(collection + "." + shown.name, *placed, names));
            moveBy(screen.windows.back(), origin);
            continue;
        }
        screen.shown.push_back(shown);
    }
}

}  // namespace

ScreenState screenStateOf(const std::vector<std::pair<std::string, IUnknown*>>& objects) {
    ScreenState screen;
    std::vector<const void*> seen;
    std::vector<const void*> hosted;  // objects a window shows: their state is the window's
    Names names;
    for (const auto& [name, object] : objects) {
        names.emplace_back(identity(object), name);
        if (auto* window = dynamic_cast<HostWindow*>(object)) hosted.push_back(identity(window->hosted().get()));
    }
    for (const auto& [name, object] : objects) {
        if (!object || std::find(seen.begin(), seen.end(), identity(object)) != seen.end()) continue;
        seen.push_back(identity(object));
        if (auto* window = dynamic_cast<HostWindow*>(object)) {
            screen.windows.push_back(windowOf(name, *window, names));
        } else if (auto* workspace = dynamic_cast<Workspace*>(object)) {
            ScreenState::Window state;
            state.name = name;
            workspace->get_Area(state.area);
            const std::vector<MouseEvent> events = workspace->mouseEvents();
            state.pointerEvents = events.size();
            if (!events.empty()) state.lastPointer = events.back();
            const int32_t origin[2] = {state.area[0], state.area[1]};
            state.lastPointer.x += origin[0];
            state.lastPointer.y += origin[1];
            screen.windows.push_back(state);
            addOpened(screen, name, *workspace->windows(), origin, names);
        } else if (auto* windows = dynamic_cast<WindowCollection*>(object)) {
            const int32_t origin[2] = {0, 0};
            addOpened(screen, name, *windows, origin, names);
        } else if (auto* tabs = dynamic_cast<TabCollection*>(object)) {
            addTabs(screen, name, *tabs, 0);
        } else if (auto* set = dynamic_cast<ButtonSet*>(object)) {
            ScreenState::Buttons state{name, {}, set->commands()};
            for (int32_t i = 0; SmartPtr<Button> button = set->button(i); ++i) {
                state.buttons.push_back({narrow(button->name()), button->pressed(),
                                         button->property(kButtonSelected) != 0, button->property(kButtonCommand)});
            }
            screen.buttons.push_back(state);
        } else if (auto* scrollable = dynamic_cast<ScrollableObject*>(object)) {
            ScreenState::Scrollable state;
            state.name = name;
            for (int16_t axis = 0; axis < ScrollableObject::kAxes; ++axis) {
                state.position[axis] = scrollable->position(axis);
                state.pageSize[axis] = scrollable->pageSize(axis);
            }
            screen.scrollables.push_back(state);
        } else if (auto* activatable = dynamic_cast<ActivatableObject*>(object)) {
            if (std::find(hosted.begin(), hosted.end(), identity(object)) == hosted.end()) {
                screen.panels.push_back({name, activatable->active()});
            }
        }
    }
    return screen;
}

}  // namespace host
