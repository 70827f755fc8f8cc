// What the simulated host's screen shows at one moment, read from its objects
// without a recorded call: windows and their areas, tabs in front, buttons
// pressed or selected, message windows, scroll positions, pointer events.
// A reference host draws it; nothing here knows how.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "host/Windows.h"

namespace host {

struct ScreenState {
    struct Window {
        std::string name;
        std::string hosts;               // the label of the object it shows, or empty
        int32_t area[4] = {0, 0, 0, 0};  // on the screen: a workspace's windows moved by its origin
        bool active = false;             // it, or the object it shows, is active
        int32_t shows = 0;               // how often it was shown
        size_t pointerEvents = 0;
        MouseEvent lastPointer;  // when pointerEvents > 0; its point on the screen, like the area
    };
    // A tab collection; an inner one is named "Outer.Inner" and follows its outer one.
    struct Tabs {
        std::string name;
        int depth = 0;
        std::vector<std::string> tabs;
        int32_t selected = -1;
    };
    struct Button {
        std::string name;
        bool pressed = false;
        bool selected = false;
        int32_t command = 0;
    };
    struct Buttons {
        std::string name;
        std::vector<Button> buttons;
        std::vector<int32_t> commands;  // the commands run through the set, in order
    };
    struct Scrollable {
        std::string name;
        double position[2] = {0, 0};
        double pageSize[2] = {0, 0};
    };
    // A window open in a window collection (the screen's or a workspace's):
    // a message window's text, or another window's name alone.
    struct Shown {
        std::string collection;
        std::string name;
        std::string message;
        bool isMessage = false;
    };
    // An object with an active state that no window shows.
    struct Panel {
        std::string name;
        bool active = false;
    };

    std::vector<Window> windows;
    std::vector<Tabs> tabs;
    std::vector<Buttons> buttons;
    std::vector<Scrollable> scrollables;
    std::vector<Shown> shown;
    std::vector<Panel> panels;
};

// The state of the objects, each under its name, in that order; objects of
// other kinds are passed over, and one object given twice counts once.
ScreenState screenStateOf(const std::vector<std::pair<std::string, IUnknown*>>& objects);

}  // namespace host
