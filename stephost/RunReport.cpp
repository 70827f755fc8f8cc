#include "stephost/RunReport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "host/HostObject.h"

namespace stephost {

namespace {

std::string fixed(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, std::isfinite(value) ? value : 0.0);
    return text;
}

// The length of the well-formed UTF-8 sequence at `at`; 0 for none.
size_t sequenceAt(const std::string& text, size_t at) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    if (byte(at) < 0x80) return 1;
    const size_t length = (byte(at) & 0xE0) == 0xC0   ? 2
                          : (byte(at) & 0xF0) == 0xE0 ? 3
                          : (byte(at) & 0xF8) == 0xF0 ? 4
                                                      : 0;
    if (length == 0 || at + length > text.size()) return 0;
    uint32_t code = byte(at) & (0x7F >> length);
    for (size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) return 0;
        code = (code << 6) | (byte(at + i) & 0x3F);
    }
    const uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < least[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
    return length;
}

// Text for HTML, SVG and XML alike: markup characters as references, and
// what XML cannot carry (controls other than tab and line ends, bytes that
// are not UTF-8) as U+FFFD.
std::string escaped(const std::string& text) {
    std::string result;
    result.reserve(text.size());
    for (size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        const size_t length = sequenceAt(text, at);
        if (length != 1) {
            result += length == 0 ? "\xEF\xBF\xBD" : text.substr(at, length);
            at += length == 0 ? 0 : length - 1;
            continue;
        }
        switch (c) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            case '\'':
                result += "&#39;";
                break;
            default:
                if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r') {
                    result += "\xEF\xBF\xBD";
                } else {
                    result += c;
                }
        }
    }
    return result;
}

// At most `letters` characters (not bytes) of a UTF-8 text, "…" after a cut.
std::string cut(const std::string& text, size_t letters) {
    size_t count = 0;
    for (size_t at = 0; at < text.size(); ++at) {
        if ((static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) continue;
        if (++count > letters) return text.substr(0, at) + "\xE2\x80\xA6";
    }
    return text;
}

std::string stepName(const RunRecord::Step& step) { return step.title.empty() ? step.className : step.title; }

std::string outcome(const RunRecord::Step& step) {
    if (!step.ended) return "did not end";
    const std::string name = resultName(step.result);
    return (name.empty() ? "" : name + " ") + "(" + resultCode(step.result) + ")";
}

std::string answerText(const RunRecord::Question& question) {
    if (!question.closed) return "still open";
    if (!question.answered) return "no answer" + (question.why.empty() ? "" : ": " + question.why);
    return question.reply.empty() ? "Enter" : question.reply;
}

// --- The picture of the screen ----------------------------------------------------

// How often the button's command was run through its set.
std::string runs(const host::ScreenState::Buttons& set, const host::ScreenState::Button& button) {
    return std::to_string(std::count(set.commands.begin(), set.commands.end(), button.command));
}

std::string ranText(const std::string& runs) {
    return runs == "0" ? "" : runs == "1" ? ", its command run once" : ", its command run " + runs + " times";
}

// Roughly how wide a text of 11-pixel sans-serif letters is.
double textWidth(const std::string& text) { return 6.2 * static_cast<double>(cut(text, 200).size()); }

class Picture {
public:
    Picture(const host::ScreenState& before, std::vector<std::string>* changes) : m_Changes(changes) {
        keep(before, m_Before);
    }

    std::string draw(const host::ScreenState& screen, const std::vector<RunRecord::Question>& dialogs) {
        std::map<std::string, std::string> now;
        keep(screen, now);
        m_Now = &now;
        const double desktopBottom = desktop(screen);
        double y = 8;
        for (const host::ScreenState::Tabs& tabs : screen.tabs) y = tabStrip(tabs, y);
        for (const host::ScreenState::Buttons& set : screen.buttons) y = buttonRow(set, y);
        for (const host::ScreenState::Scrollable& scrollable : screen.scrollables) y = scrollBars(scrollable, y);
        for (const host::ScreenState::Panel& panel : screen.panels) y = panelBox(panel, y);
        for (const host::ScreenState::Shown& shown : screen.shown) {
            if (!shown.isMessage) y = openWindow(shown, y);
        }
        drawDialogs(dialogs);
        // What is no longer there is a change too, with no element to mark.
        for (const auto& [key, state] : m_Before) {
            if (m_Changes && !now.count(key)) m_Changes->push_back(key.substr(key.find(' ') + 1) + " closed");
        }
        const double height = std::max(desktopBottom + 8, y + 8);
        return "<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"screen\" viewBox=\"0 0 " + fixed(kWidth, 0) + " " +
               fixed(height, 0) + "\" width=\"" + fixed(kWidth, 0) + "\" height=\"" + fixed(height, 0) +
               "\" role=\"img\" aria-label=\"" + escaped(m_Summary) + "\">" + m_Body + "</svg>";
    }

private:
    static constexpr double kWidth = 720;
    static constexpr double kDesktop = 430;  // the screen's width in the picture
    static constexpr double kColumn = 448;   // where the column of controls starts

    // What each element shows, by its key: a change is a difference here.
    static void keep(const host::ScreenState& screen, std::map<std::string, std::string>& state) {
        for (const auto& window : screen.windows) {
            state["window " + window.name] = std::string(window.active ? "active " : "") +
                                             std::to_string(window.shows) + host::areaText(window.area) + window.hosts;
            if (window.pointerEvents > 0) state["pointer " + window.name] = std::to_string(window.pointerEvents);
        }
        for (const auto& tabs : screen.tabs) state["tabs " + tabs.name] = std::to_string(tabs.selected);
        for (const auto& set : screen.buttons) {
            for (const auto& button : set.buttons) {
                state["button " + set.name + "." + button.name] =
                    std::to_string(button.pressed) + std::to_string(button.selected) + " " + runs(set, button);
            }
        }
        for (const auto& scrollable : screen.scrollables) {
            for (int axis = 0; axis < 2; ++axis) {
                state["scroll " + scrollable.name + " " + std::to_string(axis)] =
                    fixed(scrollable.position[axis], 6) + " " + fixed(scrollable.pageSize[axis], 6);
            }
        }
        for (const auto& shown : screen.shown) state["shown " + shown.collection + "." + shown.name] = shown.message;
        for (const auto& panel : screen.panels) state["panel " + panel.name] = panel.active ? "1" : "0";
    }

    // " changed" when the element's state differs from before, told in words.
    std::string changed(const std::string& key, const std::string& words) {
        const auto before = m_Before.find(key);
        const auto now = m_Now->find(key);
        if (before != m_Before.end() && now != m_Now->end() && before->second == now->second) return "";
        if (m_Changes) m_Changes->push_back(words);
        return " changed";
    }

    void text(double x, double y, const std::string& content, const char* cls = "label") {
        m_Body += "<text x=\"" + fixed(x, 1) + "\" y=\"" + fixed(y, 1) + "\" class=\"" + cls + "\">" +
                  escaped(cut(content, 60)) + "</text>";
    }
    void rect(double x, double y, double w, double h, const char* cls) {
        m_Body += "<rect x=\"" + fixed(x, 1) + "\" y=\"" + fixed(y, 1) + "\" width=\"" + fixed(w, 1) + "\" height=\"" +
                  fixed(h, 1) + "\" class=\"" + cls + "\"/>";
    }
    void open(const std::string& cls, const std::string& name, const std::string& more = "") {
        m_Body += "<g class=\"" + cls + "\" data-name=\"" + escaped(name) + "\"" + more + ">";
    }
    void close() { m_Body += "</g>"; }
    void say(const std::string& words) { m_Summary += (m_Summary.empty() ? "" : "; ") + words; }

    // The windows to scale in the screen's frame, message windows along its
    // foot; windows without an area are stacked down its left.
    double desktop(const host::ScreenState& screen) {
        double width = 640, height = 400;
        for (const auto& window : screen.windows) {
            width = std::max(width, double(window.area[0]) + window.area[2]);
            height = std::max(height, double(window.area[1]) + window.area[3]);
        }
        const double scale = kDesktop / width;
        const double top = 8, left = 8;
        const double bottom = top + height * scale;
        rect(left, top, kDesktop, height * scale, "desktop");
        double stacked = top + 10;
        for (const auto& window : screen.windows) {
            // A workspace of the host's that the program never placed shows nothing.
            const bool placed = window.area[2] > 0 && window.area[3] > 0;
            if (!placed && window.hosts.empty() && window.pointerEvents == 0) continue;
            double x = left + window.area[0] * scale, y = top + window.area[1] * scale;
            double w = window.area[2] * scale, h = window.area[3] * scale;
            if (w < 1 || h < 1) {
                x = left + 10;
                y = stacked;
                w = 180;
                h = 60;
                stacked += 70;
            }
            const std::string active = window.active ? " active" : "";
            open("window" + active + changed("window " + window.name, window.name + (window.active ? " active" : "")),
                 window.name);
            rect(x, y, w, h, "frame");
            rect(x, y, w, 18, "titlebar");
            text(x + 6, y + 13, window.name, "caption");
            if (!window.hosts.empty())
                text(x + 6, y + 34, "shows " + window.hosts + (window.active ? " (active)" : ""));
            close();
            say("window " + window.name + (window.active ? ", active" : ""));
            if (window.pointerEvents == 0) continue;
            const double px = left + window.lastPointer.x * scale, py = top + window.lastPointer.y * scale;
            open(
                "pointer" + changed("pointer " + window.name, "a pointer event into " + window.name), window.name,
                " data-x=\"" + fixed(window.lastPointer.x, 1) + "\" data-y=\"" + fixed(window.lastPointer.y, 1) + "\"");
            m_Body += "<circle cx=\"" + fixed(px, 1) + "\" cy=\"" + fixed(py, 1) + "\" r=\"7\"/><path d=\"M" +
                      fixed(px - 11, 1) + " " + fixed(py, 1) + "h22M" + fixed(px, 1) + " " + fixed(py - 11, 1) +
                      "v22\"/>";
            close();
        }
        double y = bottom - 8;
        for (const auto& shown : screen.shown) {
            if (!shown.isMessage) continue;
            const std::string key = "shown " + shown.collection + "." + shown.name;
            open("message" + changed(key, "message: " + shown.message), shown.name);
            rect(left + 20, y - 30, kDesktop - 40, 26, "box");
            text(left + 30, y - 13, shown.message.empty() ? "(no text)" : shown.message, "message-text");
            close();
            say("message \"" + shown.message + "\"");
            y -= 34;
        }
        m_Left = left;
        m_Top = top;
        m_Bottom = bottom;
        return bottom;
    }

    double tabStrip(const host::ScreenState::Tabs& tabs, double y) {
        const double indent = kColumn + 14 * tabs.depth;
        const std::string front =
            tabs.selected >= 0 && size_t(tabs.selected) < tabs.tabs.size() ? tabs.tabs[size_t(tabs.selected)] : "";
        open("tabs" + changed("tabs " + tabs.name, tabs.name + ": " + front + " in front"), tabs.name,
             " data-selected=\"" + escaped(front) + "\"");
        text(indent, y + 11, tabs.name);
        double x = indent;
        for (size_t i = 0; i < tabs.tabs.size(); ++i) {
            const bool selected = int32_t(i) == tabs.selected;
            const double w = textWidth(tabs.tabs[i]) + 16;
            open(selected ? "tab selected" : "tab", tabs.tabs[i]);
            rect(x, y + 16, w, 20, "box");
            text(x + 8, y + 30, tabs.tabs[i], selected ? "strong" : "label");
            close();
            x += w + 3;
        }
        close();
        say(tabs.name + " shows " + (front.empty() ? "no tab" : front));
        return y + 44;
    }

    double buttonRow(const host::ScreenState::Buttons& set, double y) {
        open("buttons", set.name);
        text(kColumn, y + 11, set.name);
        double x = kColumn;
        for (const auto& button : set.buttons) {
            const std::string state =
                std::string(button.pressed ? " pressed" : "") + (button.selected ? " selected" : "");
            const double w = textWidth(button.name) + 18;
            open("button" + state +
                     changed("button " + set.name + "." + button.name,
                             set.name + "." + button.name + (button.pressed ? " pressed" : " up") +
                                 (button.selected ? ", selected" : "") + ranText(runs(set, button))),
                 button.name);
            rect(x, y + 16, w, 22, "box");
            text(x + 9, y + 31, button.name, button.pressed ? "inverse" : "label");
            close();
            if (!state.empty()) say(set.name + "." + button.name + state);
            x += w + 4;
        }
        close();
        return y + 46;
    }

    double scrollBars(const host::ScreenState::Scrollable& scrollable, double y) {
        open("scrollable", scrollable.name);
        text(kColumn, y + 11, scrollable.name);
        y += 16;
        for (int axis = 0; axis < 2; ++axis) {
            const double position = scrollable.position[axis], page = scrollable.pageSize[axis];
            if (position == 0 && page == 0) continue;
            const std::string words = scrollable.name + (axis == 0 ? " across" : " down") + " at " +
                                      fixed(position, 0) + ", page " + fixed(page, 0);
            // The range is not the host's to tell: a page is a quarter of it at least.
            const double range = std::max({position + page, 4 * page, 1.0});
            const double track = 200;
            open("scrollbar" + changed("scroll " + scrollable.name + " " + std::to_string(axis), words),
                 scrollable.name + (axis == 0 ? ".0" : ".1"),
                 " data-position=\"" + fixed(position, 2) + "\" data-page=\"" + fixed(page, 2) + "\"");
            rect(kColumn, y, track, 12, "track");
            rect(kColumn + track * std::max(0.0, position) / range, y, std::max(4.0, track * page / range), 12,
                 "thumb");
            text(kColumn + track + 8, y + 10, (axis == 0 ? "\xE2\x86\x94 " : "\xE2\x86\x95 ") + fixed(position, 0));
            close();
            say(words);
            y += 18;
        }
        close();
        return y + 6;
    }

    double panelBox(const host::ScreenState::Panel& panel, double y) {
        open(std::string("panel") + (panel.active ? " active" : "") +
                 changed("panel " + panel.name, panel.name + (panel.active ? " active" : " inactive")),
             panel.name);
        rect(kColumn, y, 200, 22, "box");
        text(kColumn + 8, y + 15, panel.name + (panel.active ? ": active" : ": inactive"));
        close();
        return y + 30;
    }

    double openWindow(const host::ScreenState::Shown& shown, double y) {
        open("open-window" + changed("shown " + shown.collection + "." + shown.name, shown.name + " opened"),
             shown.name);
        rect(kColumn, y, 200, 22, "box");
        text(kColumn + 8, y + 15, shown.collection + ": " + shown.name);
        close();
        return y + 30;
    }

    // Dialogs stand over the middle of the screen, each a little below the last.
    void drawDialogs(const std::vector<RunRecord::Question>& dialogs) {
        double y = m_Top + 40;
        for (const RunRecord::Question& dialog : dialogs) {
            const double x = m_Left + 60, w = kDesktop - 120;
            const std::string state = dialog.closed ? " closed" : " open";
            open("dialog " + dialog.kind + state + changed("dialog", dialog.kind + ": " + dialog.prompt), dialog.prompt,
                 " data-kind=\"" + escaped(dialog.kind) + "\"");
            rect(x, y, w, 74, "dialog-frame");
            rect(x, y, w, 18, "titlebar");
            text(x + 6, y + 13,
                 dialog.kind == "confirm"    ? "Confirmation"
                 : dialog.kind == "keyboard" ? "Keyboard"
                 : dialog.kind == "file"     ? "File chooser"
                                             : "Property editor",
                 "caption");
            text(x + 10, y + 38, dialog.prompt, "strong");
            text(x + 10, y + 60, (dialog.closed ? "answer: " : "") + answerText(dialog));
            close();
            say(dialog.kind + " \"" + dialog.prompt + "\": " + answerText(dialog));
            y += 84;
            if (y > m_Bottom - 60) break;
        }
    }

    std::vector<std::string>* m_Changes;
    std::map<std::string, std::string> m_Before;
    const std::map<std::string, std::string>* m_Now = nullptr;
    std::string m_Body;
    std::string m_Summary;
    double m_Left = 0, m_Top = 0, m_Bottom = 0;
};

// --- The page ---------------------------------------------------------------------

const char* const kStyle = R"(
:root { color-scheme: light; --ok: #1a7f37; --failed: #cf222e; --changed: #e8590c; --ink: #1f2328; --dim: #59636e; }
* { box-sizing: border-box; }
body { font: 14px/1.45 system-ui, sans-serif; color: var(--ink); margin: 0 auto; max-width: 1180px; padding: 1em 1.5em; }
h1 { font-size: 1.6em; margin: .2em 0; } h2 { font-size: 1.15em; margin: 0 0 .3em; } h3 { font-size: .95em; margin: .8em 0 .2em; }
dl.facts { display: grid; grid-template-columns: max-content 1fr; gap: .1em 1em; margin: .5em 0; }
dl.facts dt { color: var(--dim); } dl.facts dd { margin: 0; }
.result.ok, dd.ok { color: var(--ok); } .result.failed, dd.failed { color: var(--failed); }
a { color: inherit; } :focus-visible { outline: 3px solid #0969da; outline-offset: 2px; }
button { font: inherit; padding: .3em .8em; border: 1px solid #8c959f; border-radius: 6px; background: #f6f8fa; cursor: pointer; }
button[aria-pressed="true"] { background: #ddf4ff; border-color: #0969da; }
svg.timeline { width: 100%; height: auto; border: 1px solid #d0d7de; border-radius: 6px; }
.timeline .bar { fill: #4c8bf5; stroke: #fff; } .timeline .number { fill: #fff; font-size: 11px; pointer-events: none; } .timeline .bar.failed { fill: var(--failed); }
.timeline .wait { fill: #bf8700; } .timeline .lane { fill: var(--dim); font-size: 11px; }
.timeline a:focus .bar, .timeline a:hover .bar { stroke: var(--ink); stroke-width: 2; }
section.step { border: 1px solid #d0d7de; border-left: 6px solid var(--ok); border-radius: 6px; padding: .8em 1em; margin: 1em 0; break-inside: avoid; }
section.step.failed { border-left-color: var(--failed); }
.step h2 .number { display: inline-block; min-width: 2em; color: var(--dim); }
.step h2 .class { font: .8em ui-monospace, monospace; color: var(--dim); margin-left: .6em; }
.columns { display: flex; flex-wrap: wrap; gap: 1em; }
.details { flex: 1 1 320px; min-width: 0; }
figure { flex: 0 1 720px; margin: 0; } figure svg { max-width: 100%; height: auto; }
figcaption { font-size: .85em; color: var(--dim); }
table { border-collapse: collapse; } td, th { padding: .1em .6em .1em 0; text-align: left; vertical-align: top; }
code, td.value { font-family: ui-monospace, monospace; font-size: .9em; overflow-wrap: anywhere; }
ol.calls { margin: 0; padding-left: 1.6em; font-family: ui-monospace, monospace; font-size: .9em; }
.none { color: var(--dim); font-style: italic; }
body.only-failed section.step:not(.failed) { display: none; }
svg.screen { font: 11px sans-serif; }
.screen .desktop { fill: #eef1f4; stroke: #8c959f; }
.screen .frame { fill: #fff; stroke: #57606a; }
.screen .titlebar { fill: #afb8c1; }
.screen .window.active .titlebar, .screen .dialog .titlebar { fill: #0969da; }
.screen .window.active .caption, .screen .dialog .caption { fill: #fff; }
.screen .caption, .screen .strong { font-weight: bold; }
.screen .box { fill: #f6f8fa; stroke: #8c959f; }
.screen .tab.selected .box { fill: #fff; stroke: #0969da; stroke-width: 2; }
.screen .button.pressed .box { fill: #24292f; } .screen .inverse { fill: #fff; }
.screen .button.selected .box { stroke: #0969da; stroke-width: 3; }
.screen .panel.active .box { fill: #dafbe1; }
.screen .message .box { fill: #fff8c5; stroke: #bf8700; }
.screen .track { fill: #d0d7de; } .screen .thumb { fill: #57606a; }
.screen .dialog-frame { fill: #fff; stroke: #24292f; stroke-width: 1.5; }
.screen .dialog.closed { opacity: .75; } .screen .dialog.closed .dialog-frame { stroke-dasharray: 5 3; }
.screen .pointer circle { fill: none; stroke: var(--failed); stroke-width: 2; } .screen .pointer path { stroke: var(--failed); }
.screen .changed > rect:first-of-type, .screen .changed.scrollbar > .thumb { stroke: var(--changed); stroke-width: 3; }
.screen .tabs.changed .tab.selected .box { stroke: var(--changed); stroke-width: 3; }
.screen .pointer.changed circle { stroke: var(--changed); stroke-width: 3; }
@media print {
  body { max-width: none; padding: 0; font-size: 11px; } #only-failed { display: none; }
  body.only-failed section.step:not(.failed) { display: block; }
  section.step { border-left-width: 4px; }
}
)";

// Marks the page as ready once its script ran: a check of the page waits for it.
const char* const kScript = R"(
(function () {
  var button = document.getElementById('only-failed');
  button.addEventListener('click', function () {
    var on = button.getAttribute('aria-pressed') !== 'true';
    button.setAttribute('aria-pressed', on ? 'true' : 'false');
    document.body.classList.toggle('only-failed', on);
  });
  document.documentElement.setAttribute('data-ready', 'yes');
})();
)";

std::string utcDate() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

// One bar per step on a lane scaled to the run's time, and the operator's
// waits on a lane beneath; each bar leads to its step's entry.
std::string timeline(const RunRecord::Run& run) {
    const double width = 1000, left = 70, usable = width - left - 10;
    const double total = std::max(run.duration, 1.0);
    auto at = [&](double t) { return left + usable * std::min(std::max(t, 0.0), total) / total; };
    std::string svg = "<svg class=\"timeline\" viewBox=\"0 0 1000 80\" role=\"group\" aria-label=\"timeline of " +
                      std::to_string(run.steps.size()) + " steps over " + fixed(run.duration, 0) +
                      " ms\"><text x=\"4\" y=\"26\" class=\"lane\">steps</text><text x=\"4\" y=\"60\" "
                      "class=\"lane\">operator</text>";
    for (size_t i = 0; i < run.steps.size(); ++i) {
        const RunRecord::Step& step = run.steps[i];
        const double x = at(step.startAt), w = std::max(2.0, at(step.endAt) - x);
        const bool failed = step.ended && FAILED(step.result);
        svg += "<a href=\"#step-" + std::to_string(i + 1) + "\"><rect class=\"bar" + (failed ? " failed" : "") +
               "\" x=\"" + fixed(x, 1) + "\" y=\"12\" width=\"" + fixed(w, 1) + "\" height=\"22\"><title>" +
               std::to_string(i + 1) + " " + escaped(stepName(step)) + ": " + outcome(step) + ", " +
               fixed(step.endAt - step.startAt, 1) + " ms</title></rect>" +
               (w > 16 ? "<text class=\"number\" x=\"" + fixed(x + 4, 1) + "\" y=\"27\">" + std::to_string(i + 1) +
                             "</text>"
                       : "") +
               "</a>";
    }
    for (const RunRecord::Question& question : run.questions) {
        const double end = question.closed ? question.closedAt : run.duration;
        const double x = at(question.askedAt), w = std::max(2.0, at(end) - x);
        svg += "<a href=\"#step-" + std::to_string(question.step) + "\"><rect class=\"wait\" data-step=\"" +
               std::to_string(question.step) + "\" data-ms=\"" + fixed(end - question.askedAt, 0) + "\" x=\"" +
               fixed(x, 1) + "\" y=\"46\" width=\"" + fixed(w, 1) + "\" height=\"22\"><title>step " +
               std::to_string(question.step) + " asks (" + escaped(question.kind) + ") " + escaped(question.prompt) +
               ": " + escaped(answerText(question)) + " after " + fixed(end - question.askedAt, 0) +
               " ms</title></rect></a>";
    }
    return svg + "</svg>";
}

std::string valueTable(const std::vector<std::pair<std::string, std::string>>& values) {
    if (values.empty()) return "<p class=\"none\">none</p>";
    std::string html = "<table>";
    for (const auto& [name, value] : values) {
        html += "<tr><th scope=\"row\">" + escaped(name) + "</th><td class=\"value\">" + escaped(value) + "</td></tr>";
    }
    return html + "</table>";
}

std::string stepEntry(const RunRecord::Run& run, size_t index) {
    const RunRecord::Step& step = run.steps[index];
    const bool failed = !step.ended || FAILED(step.result);
    const std::string number = std::to_string(index + 1);
    std::string html =
        "<section class=\"step " + std::string(failed ? "failed" : "ok") + "\" id=\"step-" + number +
        "\" aria-labelledby=\"title-" + number + "\"><h2 id=\"title-" + number + "\"><span class=\"number\">" + number +
        "</span><span class=\"title\">" + escaped(stepName(step)) + "</span><span class=\"class\">" +
        escaped(step.className) + "</span></h2><p class=\"result " + (failed ? "failed" : "ok") + "\">" +
        (failed ? "Failed: " : "Succeeded: ") + escaped(outcome(step)) + " in " + fixed(step.milliseconds, 3) + " ms" +
        (step.turnedOff ? ", turned off" : "") + (step.why.empty() ? "" : "; " + escaped(step.why)) +
        "</p><div class=\"columns\"><div "
        "class=\"details\"><h3>Parameters read</h3>" +
        valueTable(step.read) + "<h3>Parameters written</h3>" + valueTable(step.written) + "<h3>Host calls</h3>";
    size_t own = 0;
    std::string calls;
    for (const RunRecord::Call& call : step.calls) {
        if (!call.declared) {
            ++own;
            continue;
        }
        calls += "<li><code>" + escaped(call.object) + "</code> " + escaped(call.call) + "</li>";
    }
    html += calls.empty() ? "<p class=\"none\">none on the program's objects</p>"
                          : "<ol class=\"calls\">" + calls + "</ol>";
    if (own > 0) html += "<p class=\"none\">and " + std::to_string(own) + " on the host's own objects</p>";
    std::string exchange;
    for (const RunRecord::Question& question : run.questions) {
        if (question.step != index + 1) continue;
        exchange +=
            "<li>asked (" + escaped(question.kind) + "): <q>" + escaped(question.prompt) + "</q>" +
            (question.value.empty() ? "" : ", filled with <code>" + escaped(question.value) + "</code>") + "; " +
            (question.answered ? "answered <code>" + escaped(answerText(question)) + "</code>"
                               : escaped(answerText(question))) +
            (question.closed ? " after " + fixed(question.closedAt - question.askedAt, 0) + " ms" : "") + "</li>";
    }
    if (!exchange.empty()) html += "<h3>Operator</h3><ul class=\"operator\">" + exchange + "</ul>";
    html += "</div>";
    if (step.hasScreen) {
        const host::ScreenState* before = &run.before;
        for (size_t i = index; i-- > 0;) {
            if (run.steps[i].hasScreen) {
                before = &run.steps[i].screen;
                break;
            }
        }
        std::vector<std::string> changes;
        const std::string svg = screenSvg(step.screen, *before, step.dialogs, &changes);
        std::string told;
        for (const std::string& change : changes) told += (told.empty() ? "" : "; ") + change;
        html +=
            "<figure>" + svg + "<figcaption>The screen after step " + number + ". " +
            (changes.empty() ? std::string("Nothing on it changed.")
                             : "What changed (outlined in orange where it is still there): " + escaped(told) + ".") +
            "</figcaption></figure>";
    }
    return html + "</div></section>\n";
}

// A step's story as the human trace tells it, for a test case's output.
std::string stepStory(const RunRecord::Run& run, size_t index) {
    const RunRecord::Step& step = run.steps[index];
    std::string text = std::to_string(index + 1) + " " + step.className + " " + step.title + "\n";
    for (const RunRecord::Call& call : step.calls) {
        if (call.declared) text += "  " + call.object + " " + call.call + "\n";
    }
    for (const RunRecord::Question& question : run.questions) {
        if (question.step == index + 1) {
            text +=
                "  operator is asked (" + question.kind + "): " + question.prompt + "; " + answerText(question) + "\n";
        }
    }
    for (const auto& [name, value] : step.written) text += "  wrote " + name + " = " + value + "\n";
    return text + "  " + (step.ended && SUCCEEDED(step.result) ? "done " : "failed ") + outcome(step) + ", " +
           fixed(step.milliseconds, 3) + " ms" + (step.why.empty() ? "" : ": " + step.why) + "\n";
}

}  // namespace

RunRecord::RunRecord(ProgramTrace* trace) : ProgramTrace(stdout), m_Trace(trace) {}

RunRecord::Run RunRecord::run() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Run;
}

RunRecord::Step* RunRecord::stepAt(size_t number) {
    if (number == 0) return nullptr;
    if (m_Run.steps.size() < number) m_Run.steps.resize(number);
    return &m_Run.steps[number - 1];
}

void RunRecord::programStarts(const Program& program) {
    if (m_Trace) m_Trace->programStarts(program);
    startClock();
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Run.program = program;
    m_Run.date = utcDate();
}

void RunRecord::stepStarts(size_t number, const std::string& className, const std::string& title) {
    if (m_Trace) m_Trace->stepStarts(number, className, title);
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (Step* step = stepAt(number)) {
        step->className = className;
        step->title = title;
        step->startAt = elapsed();
    }
}

void RunRecord::stepReads(size_t number, const std::vector<std::pair<std::string, TraceValue>>& parameters) {
    if (m_Trace) m_Trace->stepReads(number, parameters);
    std::vector<std::pair<std::string, std::string>> read;
    for (const auto& [name, value] : parameters) read.emplace_back(name, valueText(shown(value)));
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (Step* step = stepAt(number)) step->read = std::move(read);
}

void RunRecord::hostCall(size_t number, const std::string& label, const std::string& call, bool declared,
                         std::chrono::steady_clock::time_point at) {
    if (m_Trace) m_Trace->hostCall(number, label, call, declared, at);
    const std::string text = shown(call);
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (Step* step = stepAt(number)) step->calls.push_back({label, text, declared});
}

void RunRecord::parameterWritten(size_t number, const std::string& name, const TraceValue& value) {
    if (m_Trace) m_Trace->parameterWritten(number, name, value);
    const std::string text = valueText(shown(value));
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (Step* step = stepAt(number)) step->written.emplace_back(name, text);
}

void RunRecord::asked(const host::OperatorQuestion& question) {
    if (m_Trace) m_Trace->asked(question);
    Question asked;
    asked.step = question.step > 0 ? static_cast<size_t>(question.step) : 0;
    asked.kind = question.kind;
    asked.prompt = host::narrow(question.caption);
    asked.value = question.secret ? std::string() : host::narrow(question.value);
    asked.accepts = question.accepted();
    asked.secret = question.secret;
    asked.askedAt = elapsed();
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Open[question.state.get()] = m_Run.questions.size();
    m_Run.questions.push_back(asked);
}

void RunRecord::replied(const host::OperatorQuestion& question, const std::wstring& answer, bool answered,
                        const std::string& why) {
    if (m_Trace) m_Trace->replied(question, answer, answered, why);
    const std::string text = answered ? reply(question, answer) : std::string();
    const double now = elapsed();
    std::lock_guard<std::mutex> lock(m_Mutex);
    const auto found = m_Open.find(question.state.get());
    if (found == m_Open.end()) return;
    Question& closed = m_Run.questions[found->second];
    m_Open.erase(found);
    closed.closed = true;
    closed.answered = answered;
    closed.reply = text;
    closed.why = why;
    closed.closedAt = now;
}

void RunRecord::stepEnds(size_t number, HRESULT result, double milliseconds, bool turnedOff, const std::string& why) {
    if (m_Trace) m_Trace->stepEnds(number, result, milliseconds, turnedOff, why);
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (Step* step = stepAt(number)) {
        step->ended = true;
        step->endAt = elapsed();
        step->result = result;
        step->milliseconds = milliseconds;
        step->turnedOff = turnedOff;
        step->why = why;
    }
}

void RunRecord::programEnds(size_t failures) {
    if (m_Trace) m_Trace->programEnds(failures);
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Run.failures = failures;
    m_Run.duration = elapsed();
}

void RunRecord::screenAfter(size_t number, const host::ScreenState& state) {
    // A password shown as a message is hidden there too.
    host::ScreenState screen = state;
    for (host::ScreenState::Shown& shown : screen.shown) {
        TraceValue text;
        text.kind = TraceValue::kText;
        text.text = shown.message;
        shown.message = this->shown(text).text;
    }
    std::lock_guard<std::mutex> lock(m_Mutex);
    Step* step = stepAt(number);
    if (!step) {
        m_Run.before = screen;
        return;
    }
    step->screen = screen;
    step->hasScreen = true;
    step->dialogs.clear();
    for (const Question& question : m_Run.questions) {
        if (question.step == number) step->dialogs.push_back(question);
    }
}

std::string screenSvg(const host::ScreenState& screen, const host::ScreenState& before,
                      const std::vector<RunRecord::Question>& dialogs, std::vector<std::string>* changes) {
    return Picture(before, changes).draw(screen, dialogs);
}

std::string reportHtml(const RunRecord::Run& run, const std::string& version) {
    const size_t steps = run.steps.size();
    const bool succeeded = run.failures == 0;
    const std::string name = run.program.name.empty() ? run.program.file : run.program.name;
    std::string html =
        "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><meta name=\"viewport\" "
        "content=\"width=device-width, initial-scale=1\"><title>" +
        escaped(name) + " \xE2\x80\x94 stephost report</title><style>" + kStyle +
        "</style></head>\n<body><header><h1>" + escaped(name) + "</h1><dl class=\"facts\"><dt>Program file</dt><dd>" +
        escaped(run.program.file) + "</dd><dt>Result</dt><dd class=\"" + (succeeded ? "ok" : "failed") +
        "\" id=\"result\">" +
        (succeeded ? "all " + std::to_string(steps) + " steps succeeded"
                   : std::to_string(run.failures) + " of " + std::to_string(steps) + " steps failed") +
        "</dd><dt>Duration</dt><dd>" +
        (run.duration < 1000 ? fixed(run.duration, 1) + " ms" : fixed(run.duration / 1000.0, 3) + " s") +
        "</dd><dt>Date</dt><dd><time>" + run.date + "</time></dd><dt>Module</dt><dd>Flukokzad " + escaped(version) +
        "</dd><dt>Operator</dt><dd>" +
        (run.program.terminal ? std::string("the person at the terminal")
                              : std::to_string(run.program.answers) + " scripted answers") +
        "</dd></dl><p><button type=\"button\" id=\"only-failed\" aria-pressed=\"false\">Show failed steps "
        "only</button></p></header>\n<nav aria-label=\"Timeline\"><h2>Timeline</h2>" +
        timeline(run) + "</nav>\n<main>\n";
    for (size_t i = 0; i < steps; ++i) html += stepEntry(run, i);
    return html + "</main><script>" + kScript + "</script></body></html>\n";
}

std::string junitXml(const RunRecord::Run& run) {
    const std::string name = run.program.name.empty() ? run.program.file : run.program.name;
    const std::string counts = "tests=\"" + std::to_string(run.steps.size()) + "\" failures=\"" +
                               std::to_string(run.failures) + "\" errors=\"0\" skipped=\"0\" time=\"" +
                               fixed(run.duration / 1000.0, 3) + "\"";
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"stephost\" " + counts +
                      ">\n  <testsuite name=\"" + escaped(name) + "\" " + counts + " timestamp=\"" + run.date +
                      "\" file=\"" + escaped(run.program.file) + "\">\n";
    for (size_t i = 0; i < run.steps.size(); ++i) {
        const RunRecord::Step& step = run.steps[i];
        xml += "    <testcase name=\"" + escaped(stepName(step)) + "\" classname=\"" + escaped(step.className) +
               "\" time=\"" + fixed(step.milliseconds / 1000.0, 6) + "\">\n";
        if (!step.ended || FAILED(step.result)) {
            const std::string message = outcome(step) + (step.why.empty() ? "" : ": " + step.why);
            xml += "      <failure message=\"" + escaped(message) + "\" type=\"" + resultCode(step.result) + "\">" +
                   escaped(message) + "</failure>\n";
        }
        xml += "      <system-out>" + escaped(stepStory(run, i)) + "</system-out>\n    </testcase>\n";
    }
    return xml + "  </testsuite>\n</testsuites>\n";
}

}  // namespace stephost
