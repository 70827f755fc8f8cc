#include "stephost/StepMeanings.h"

namespace stephost {

namespace {

// One line per class, input and parameter, in the order the module declares
// them. Result codes are those Execute returns, which TurnOn hands back for
// a synchronous step.
const Meaning kMeanings[] = {
    {"GCUIActivate", "", "Activates or deactivates one object of the host's user interface."},
    {"GCUIActivate", "ActivateObject",
     "the object to activate: itself, through a moniker, or the object a host window shows; unbound or not "
     "activatable, the step does nothing and returns 0"},
    {"GCUIActivate", "Activate",
     "nonzero activates (Activate(1)), 0 deactivates; the step returns what the object's Activate returns"},

    {"GCUIButtonSelect", "", "Runs a button's command or sets its selected state, as the operator would."},
    {"GCUIButtonSelect", "Buttons",
     "the button bar, toolbar or toolbar host; a refreshable one is redrawn after the step, which always returns 0"},
    {"GCUIButtonSelect", "Button",
     "the button: its index or its name (the collection decides); a negative number clears the selected state "
     "(property 15) of every button"},
    {"GCUIButtonSelect", "Select",
     "nonzero presses or selects the button, 0 releases or deselects it; a toolbar runs the button's command "
     "whatever it says"},

    {"GCUIConfirm", "",
     "Asks the operator a question in a confirmation window and records the answer, waiting with or without a "
     "time-out, or only showing the window."},
    {"GCUIConfirm", "Message", "the question shown"},
    {"GCUIConfirm", "Style", "the buttons offered: 0 OK, 1 OK and Cancel, 2 Yes and No (any other value: OK)"},
    {"GCUIConfirm", "TimeOut",
     "seconds from the step's start after which it stops waiting, writes Response -1 and sends Enter to the window; "
     "0 or less: no time-out"},
    {"GCUIConfirm", "Wait",
     "nonzero: without a time-out, wait until the operator answers; 0 without a time-out: show the window and end "
     "at once (a later answer is not recorded)"},
    {"GCUIConfirm", "Response",
     "the answer: the window's response code (1 OK, 2 Cancel, 6 Yes, 7 No), -1 after a time-out; a run that ends "
     "without an answer leaves it as it was"},

    {"GCUIEdit", "",
     "Opens the host's property frame on up to eight bound objects, in a viewer or a pop-up window, and records "
     "whether the operator applied or cancelled."},
    {"GCUIEdit", "Edit1",
     "an object to edit (a moniker, host window or tree node stands for the object it names or shows)"},
    {"GCUIEdit", "Edit2", "a second object to edit"},
    {"GCUIEdit", "Edit3", "a third object to edit"},
    {"GCUIEdit", "Edit4", "a fourth object to edit"},
    {"GCUIEdit", "Edit5", "a fifth object to edit"},
    {"GCUIEdit", "Edit6", "a sixth object to edit"},
    {"GCUIEdit", "Edit7", "a seventh object to edit"},
    {"GCUIEdit", "Edit8", "an eighth object to edit"},
    {"GCUIEdit", "OptionalViewer",
     "a smart viewer to show the frame in instead of a pop-up window; the step then neither waits nor writes "
     "ReturnCode"},
    {"GCUIEdit", "AccessLevel", "stored, not consulted"},
    {"GCUIEdit", "Caption", "caption of the pop-up window"},
    {"GCUIEdit", "SetPages",
     "nonzero: the frame shows the pages PageName1 to Flags5 give, up to the first empty class name; 0: the "
     "objects' own pages"},
    {"GCUIEdit", "ItemSize", "item size of the property list, in the frame's units; applied when greater than 0"},
    {"GCUIEdit", "SaveLocation",
     "nonzero: the pop-up window opens where it stood when it was last closed (forgotten when the step's pages "
     "are opened)"},
    {"GCUIEdit", "ShowClose", "the close button: 0 Off, 1 Show, 2 ShowAndCloseOnApply"},
    {"GCUIEdit", "ShowHelp", "nonzero: a help button"},
    {"GCUIEdit", "ShowSaveLoad", "the save and load buttons: 0 Off, 1 Save, 2 Load, 3 Both (any of 1 to 3 shows both)"},
    {"GCUIEdit", "WindowLess", "stored, not consulted"},
    {"GCUIEdit", "Wait",
     "nonzero: the editor opens on a worker thread and the step runs until it is closed; 0: it opens on the "
     "caller's thread and the step ends at once"},
    {"GCUIEdit", "ReturnCode", "0 once the editor is open, 1 after an apply, -1 after a cancel; a close keeps it"},
    {"GCUIEdit", "HelpFile", "the frame's help file"},
    {"GCUIEdit", "PageName1", "caption of page 1"},
    {"GCUIEdit", "Page1", "class name of page 1; empty: no pages are set"},
    {"GCUIEdit", "Arg1", "argument of page 1"},
    {"GCUIEdit", "Flags1", "flags of page 1, the frame's"},
    {"GCUIEdit", "PageName2", "caption of page 2"},
    {"GCUIEdit", "Page2", "class name of page 2; empty: pages 2 to 5 are left out"},
    {"GCUIEdit", "Arg2", "argument of page 2"},
    {"GCUIEdit", "Flags2", "flags of page 2"},
    {"GCUIEdit", "PageName3", "caption of page 3"},
    {"GCUIEdit", "Page3", "class name of page 3; empty: pages 3 to 5 are left out"},
    {"GCUIEdit", "Arg3", "argument of page 3"},
    {"GCUIEdit", "Flags3", "flags of page 3"},
    {"GCUIEdit", "PageName4", "caption of page 4"},
    {"GCUIEdit", "Page4", "class name of page 4; empty: pages 4 and 5 are left out"},
    {"GCUIEdit", "Arg4", "argument of page 4"},
    {"GCUIEdit", "Flags4", "flags of page 4"},
    {"GCUIEdit", "PageName5", "caption of page 5"},
    {"GCUIEdit", "Page5", "class name of page 5; empty: page 5 is left out"},
    {"GCUIEdit", "Arg5", "argument of page 5"},
    {"GCUIEdit", "Flags5", "flags of page 5"},

    {"GCUIInput", "",
     "Asks the operator for a text, a number, a password or a file name on the on-screen keyboard or in the file "
     "chooser, or puts a file at the head of the recent file list."},
    {"GCUIInput", "Caption", "caption of the keyboard's pop-up window or of the file chooser"},
    {"GCUIInput", "Type",
     "what is asked: 0 String, 1 Password, 2 SystemPassword (Input becomes the access level the password grants), "
     "3 Integer, 4 Double, 5 FileLoad, 6 FileSave (an existing name ending in a number is proposed with the next "
     "number), 7 SetRecentFileOnly (nothing is asked)"},
    {"GCUIInput", "ExtIfFile", "the file chooser's filter list: description|patterns pairs, ended by ||"},
    {"GCUIInput", "Input",
     "before the run the proposed text or file name (six blanks for a password); after an answer, the answer"},
    {"GCUIInput", "TimeOut", "stored, not consulted"},
    {"GCUIInput", "Wait",
     "nonzero: the step runs until the window is closed; 0: it ends once the window is open, and a later answer "
     "still writes Input"},
    {"GCUIInput", "ReturnCode",
     "1 when an answer was applied, 0 while none was (or the window closed without one), -1 when the file chooser "
     "could not be opened (the step then returns E_FAIL)"},

    {"GCUIMessage", "",
     "Shows a short text in the host's message window, in place of any message a Message step showed, or clears "
     "it; always returns 0."},
    {"GCUIMessage", "Message", "the text to show; empty: only the message window a Message step opened is closed"},

    {"GCUIPointer", "",
     "Sends one pointer event to a window of the active workspace, or to the whole workspace, at a point given in "
     "percent of its area; returns the event's result, E_FAIL when nothing takes pointer events."},
    {"GCUIPointer", "Window Name",
     "the workspace window to point into; fewer than two characters: the whole workspace"},
    {"GCUIPointer", "%X",
     "horizontal position in percent of the area's width, from the window's left edge (not clamped)"},
    {"GCUIPointer", "%Y", "vertical position in percent of the area's height, from the window's top edge"},
    {"GCUIPointer", "Button", "0 Left (button code 1), 1 Right (button code 2)"},
    {"GCUIPointer", "State", "0 OVER (a move, state 0), 1 UP (state 2), 2 DOWN (state 3)"},
    {"GCUIPointer", "Modifier", "nonzero: the event carries the modifier (code 8)"},

    {"GCUIPropRead", "",
     "Reads the bound object's properties into the step's own parameters, which each run first removes; always "
     "returns 0."},
    {"GCUIPropRead", "UIParametric",
     "the object to read: one parameter per property, named from the host's string table, or a copy of its "
     "parameters; an entity stands for its renderable object"},

    {"GCUIPropWrite", "",
     "Writes the step's parameters, which the program gives it, into the bound object's properties of the same "
     "names (case ignored)."},
    {"GCUIPropWrite", "UIParametric",
     "the object to write: property by property, else through its parametric interface (whose result the step "
     "returns), else into its parameters of the same names; 0 otherwise"},

    {"GCUIRefresh", "", "Makes one displayed object redraw itself."},
    {"GCUIRefresh", "RefreshableObject", "the object to redraw; unbound or not refreshable, the step returns E_FAIL"},
    {"GCUIRefresh", "Immediate", "nonzero: redraw at once (Refresh(9)); 0: the ordinary way (Refresh(0))"},

    {"GCUIScroll", "", "Reads or sets the scroll position and page size of one axis of a scrollable object."},
    {"GCUIScroll", "ScrollableObject",
     "the object to scroll, itself (no window in between); unbound or not scrollable, the step returns E_FAIL"},
    {"GCUIScroll", "Operation",
     "0 Read copies the position and page size into Pos and PageSize; 1 SetPos, 2 SetSize and 3 SetPosAndSize set "
     "them from those parameters"},
    {"GCUIScroll", "Axis", "which axis of the object (its low 16 bits)"},
    {"GCUIScroll", "Pos", "scroll position, in the object's units: written by Read, read by SetPos and SetPosAndSize"},
    {"GCUIScroll", "PageSize", "page size, in the object's units: written by Read, read by SetSize and SetPosAndSize"},

    {"GCTabGetSelected", "",
     "Finds out which tab of a tabbed window is in front and gives its index, name and tab to later steps; always "
     "returns 0."},
    {"GCTabGetSelected", "TabbedWindows", "the tab collection to look at, itself (no window in between)"},
    {"GCTabGetSelected", "Index", "index of the tab in front; -1 when the bound object is no tab collection"},
    {"GCTabGetSelected", "Name", "name of the tab in front"},
    {"GCTabGetSelected", "Item", "the tab in front; the bound object itself when it is no tab collection"},

    {"GCTabSelect", "",
     "Brings a tab of a tabbed window to the front and, when it holds tabs of its own, selects one of those; "
     "always returns 0."},
    {"GCTabSelect", "TabbedWindows",
     "the tab collection; the binding's item names the tab (found by name, else by the binding's index)"},
    {"GCTabSelect", "SubTab", "index of the inner tab to select when the selected tab holds tabs; not range-checked"},

    {"GCUIVerb", "",
     "Runs a verb of the bound object as if chosen from its menu; answers 8 (run), 9 (stop) and 3 (edit) act on the "
     "object as a step. Always returns 0."},
    {"GCUIVerb", "VerbObject", "the object whose verb runs, itself; another Verb step offers Run (8) and Edit (3)"},
    {"GCUIVerb", "Action",
     "the verb's identifier, one of the bound object's verbs; offered through the step's parametric page and "
     "stored as STEPUIVerbRunAction"},
};

}  // namespace

const char* meaningOf(const std::string& className, const std::string& name) {
    for (const Meaning& meaning : kMeanings) {
        if (className == meaning.className && name == meaning.name) return meaning.text;
    }
    return nullptr;
}

const Meaning* allMeanings(size_t& count) {
    count = sizeof kMeanings / sizeof kMeanings[0];
    return kMeanings;
}

}  // namespace stephost
