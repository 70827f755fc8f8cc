#!/usr/bin/env python3
"""The demonstration's HTML report as a person sees it: stephost writes it and
the JUnit XML, headless Chromium opens the page from a file URL without a
console message, and the page it renders holds an entry and a picture of the
screen per step, the windows and tabs the demonstration leaves. A screenshot
is left in build/<preset>/report/ for people to look at.

usage: report_browser_test.py BUILD_DIR SOURCE_DIR"""
import html.parser
import os
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

build, source = sys.argv[1], sys.argv[2]
out = os.path.join(build, "report")
os.makedirs(out, exist_ok=True)
page, junit, screenshot = (os.path.join(out, name) for name in ("demo-report.html", "demo-junit.xml", "demo-report.png"))
failures = []


def check(condition, what):
    if not condition:
        failures.append(what)


run = subprocess.run([os.path.join(build, "stephost"), "run", "--report", page, "--junit", junit, "examples/demo.xml"],
                     cwd=source, capture_output=True, text=True, timeout=120)
if run.returncode != 0:
    sys.exit("stephost run failed (%d):\n%s%s" % (run.returncode, run.stdout, run.stderr))


def chromium(*words):
    # A profile of its own, so that runs beside each other do not share one.
    with tempfile.TemporaryDirectory() as profile:
        return subprocess.run(["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--user-data-dir=" + profile,
                               "--enable-logging=stderr", "--v=0", *words, "file://" + page],
                              capture_output=True, text=True, timeout=120)


class Elements(html.parser.HTMLParser):
    """Each element's tag and attributes, with the step entry it stands in, and
    the text of each entry's title."""

    def __init__(self):
        super().__init__()
        self.elements, self.titles, self.step, self.in_title = [], {}, None, False

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        classes = attributes.get("class", "").split()
        if tag == "section" and "step" in classes:
            self.step = attributes.get("id")
        self.in_title = tag == "span" and "title" in classes
        self.elements.append((tag, classes, attributes, self.step))

    def handle_data(self, data):
        if self.in_title:
            self.titles[self.step] = self.titles.get(self.step, "") + data

    def handle_endtag(self, tag):
        self.in_title = False


dom = chromium("--dump-dom")
console = [line for line in dom.stderr.splitlines() if ":CONSOLE" in line]
check(dom.returncode == 0, "chromium --dump-dom failed: " + dom.stderr[-2000:])
check(not console, "console messages:\n" + "\n".join(console))
parsed = Elements()
parsed.feed(dom.stdout)
html_element = [attributes for tag, _, attributes, _ in parsed.elements if tag == "html"]
check(html_element and html_element[0].get("data-ready") == "yes", "the page's script did not run to its end")


def having(tag, klass, step=None):
    return [(attributes, where) for name, classes, attributes, where in parsed.elements
            if name == tag and klass in classes and (step is None or where == step)]


entries = having("section", "step")
pictures = having("svg", "screen")
check(len(entries) == 15, "%d step entries, not 15" % len(entries))
check(sorted(where for _, where in pictures) == sorted(a["id"] for a, _ in entries),
      "not one picture in each step entry: %s" % [where for _, where in pictures])
check(parsed.titles.get("step-1") == "bring the measuring panel forward", "step 1's title: %r" % parsed.titles.get("step-1"))
active = [a["data-name"] for a, _ in having("g", "active", "step-1") if "window" in a["class"].split()]
check(active == ["PanelWindow"], "step 1 leaves PanelWindow active, the picture shows %s" % active)
tabs = {a["data-name"]: a.get("data-selected") for a, _ in having("g", "tabs", "step-5")}
check(tabs.get("Views") == "Measurement" and tabs.get("Views.Measurement") == "Plot",
      "after step 5 the plot is in front, the picture shows %s" % tabs)
check(having("g", "changed", "step-5") and all("tabs" in a["class"].split() or "tab" in a["class"].split()
                                               for a, _ in having("g", "changed", "step-5")),
      "step 5 changed the tabs alone: %s" % [a["class"] for a, _ in having("g", "changed", "step-5")])
waits = [(a["data-step"], float(a["data-ms"])) for a, _ in having("rect", "wait")]
check(len(having("rect", "bar")) == 15 and [step for step, _ in waits] == ["3", "4"] and
      waits[0][1] >= 300 and waits[1][1] >= 200, "the timeline: %d bars, the operator's waits %s (scripted 300 and 200 ms)"
      % (len(having("rect", "bar")), waits))
dialogs = [a.get("data-kind") for a, _ in having("g", "dialog", "step-3")]
check(dialogs == ["confirm"], "step 3's confirmation is drawn: %s" % dialogs)

shot = chromium("--screenshot=" + screenshot, "--window-size=1280,2400", "--hide-scrollbars")
check(shot.returncode == 0 and os.path.getsize(screenshot) > 10000, "no screenshot: " + shot.stderr[-2000:])

suite = ElementTree.parse(junit).getroot().find("testsuite")
cases = suite.findall("testcase")
check(len(cases) == 15 and suite.get("tests") == "15", "%d test cases, not 15" % len(cases))
check(cases[0].get("name") == "bring the measuring panel forward" and cases[0].get("classname") == "GCUIActivate",
      "the first case: %s" % cases[0].attrib)
check(not suite.findall(".//failure"), "the demonstration fails no step")

if failures:
    sys.exit("\n".join(failures))
print("report checked in Chromium; screenshot: " + screenshot)
