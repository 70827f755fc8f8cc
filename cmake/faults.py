#!/usr/bin/env python3
"""A second fault sampler, apart from cmake/mutants.py: other kinds of
faults, another way of drawing them, its own build folder and runner.

Plants one fault at a time in a line of a source file (not a header) of
module/, runtime/, parameters/, execution/ or steps/, rebuilds the native test binary in build/faults, runs
the suite until its first failure and writes caught or missed to
build/faults.txt. A fault that does not compile is drawn again.

    cmake/faults.py --count 150 --seed 7
    cmake/faults.py --count 150 --seed 7 --again OLD.txt --base REV

With --again, after tests were added or changed at no cost to any test that
caught a fault (the sources under test unchanged since REV, where OLD.txt was
taken), a fault caught before keeps its verdict and every other is run again.

Kinds: a constant zeroed, a returned value replaced by its type's default,
an if forced true or false, + and - (or * and /, ++ and --) swapped, an
assignment removed, & and | swapped, break and continue swapped. Draws pick
a file first, each file alike, then one of its sites not drawn before.
Faults listed in cmake/mutants-equivalent.txt are written as "same" and not
counted. Every file is restored after its fault, also when interrupted.
"""

import argparse
import os
import random
import re
import signal
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SOURCES = ("module", "runtime", "parameters", "execution", "steps")

SWAPS = {"+": "-", "-": "+", "*": "/", "/": "*", "+=": "-=", "-=": "+=", "++": "--", "--": "++",
         "&": "|", "|": "&", "&=": "|=", "|=": "&=", "break": "continue", "continue": "break"}


def code_of(line, in_comment):
    """The line with its comments and literal texts turned into spaces, so
    that nothing inside them is taken for code; and whether a block comment
    goes on after it."""
    out, i = [], 0
    while i < len(line):
        if in_comment:
            end = line.find("*/", i)
            stop = len(line) if end < 0 else end + 2
            out.append(" " * (stop - i))
            i, in_comment = stop, end < 0
        elif line.startswith("//", i):
            out.append(" " * (len(line) - i))
            break
        elif line.startswith("/*", i):
            in_comment = True
        elif line[i] in "\"'":
            j = i + 1
            while j < len(line) and line[j] != line[i]:
                j += 2 if line[j] == "\\" else 1
            out.append(line[i] + " " * (min(j, len(line)) - i - 1) + (line[i] if j < len(line) else ""))
            i = j + 1
        else:
            out.append(line[i])
            i += 1
    return "".join(out)[: len(line)], in_comment


def condition_span(code, start):
    """The span of the parenthesised condition opened at start, on this line."""
    depth = 0
    for i in range(start, len(code)):
        depth += {"(": 1, ")": -1}.get(code[i], 0)
        if depth == 0:
            return start + 1, i
    return None


def faults_in(code):
    """(kind, start, end, replacement-or-None) for every fault the line can take;
    None lets the draw choose (an if forced true or false)."""
    found = []
    for m in re.finditer(r"(?<![\w.'])([1-9]\d*)(?![\w.'])", code):
        found.append(("constant zeroed", m.start(), m.end(), "0"))
    # A value that already is its type's default would change nothing.
    m = re.match(r"^(\s*return )(?!(\{\}|0|false|nullptr|S_OK|\w+\(\));)(.+);\s*$", code)
    if m:
        found.append(("result defaulted", m.end(1), len(code.rstrip()) - 1, "{}"))
    for m in re.finditer(r"\bif \(", code):
        span = condition_span(code, m.end() - 1)
        if span:
            found.append(("if forced", span[0], span[1], None))
    for m in re.finditer(r"(?<= )(\+=|-=|&=|\|=|\+|-|\*|/|&|\|)(?= )|(\+\+|--)(?=\w)|(?<=\w)(\+\+|--)", code):
        kind = "bits swapped" if m.group(0)[0] in "&|" else "arithmetic swapped"
        found.append((kind, m.start(), m.end(), SWAPS[m.group(0)]))
    for m in re.finditer(r"\b(break|continue);", code):
        found.append(("break and continue swapped", m.start(1), m.end(1), SWAPS[m.group(1)]))
    if re.match(r"^\s*[\w.\->\[\]*]+ (=|\+=|-=|\|=|&=) [^=].*;\s*$", code):
        found.append(("assignment removed", 0, len(code), None))
    return found


def sites_by_file():
    files = {}
    for top in SOURCES:
        for folder, _, names in os.walk(os.path.join(ROOT, top)):
            for name in sorted(names):
                # Headers are left to cmake/mutants.py: a fault in one rebuilds
                # most of the suite, which would make a draw cost minutes.
                if not name.endswith(".cpp"):
                    continue
                path = os.path.relpath(os.path.join(folder, name), ROOT)
                in_comment, sites = False, []
                with open(os.path.join(ROOT, path), encoding="utf-8") as f:
                    for index, line in enumerate(f.read().split("\n")):
                        code, in_comment = code_of(line, in_comment)
                        if code.lstrip().startswith("#") or "static_assert" in code:
                            continue
                        sites += [(index, fault) for fault in faults_in(code)]
                if sites:
                    files[path] = sites
    return files


def plant(line, fault, rng):
    kind, start, end, replacement = fault
    if kind == "assignment removed":
        new = re.match(r"^\s*", line).group(0) + ";"
    else:
        if replacement is None:
            replacement = rng.choice(("true", "false"))
        new = line[:start] + replacement + line[end:]
    return new, "%s: %s -> %s" % (kind, line.strip(), new.strip())


def call(command, timeout):
    try:
        done = subprocess.run(command, cwd=ROOT, timeout=timeout, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True, errors="replace")
        return done.returncode == 0, done.stdout
    except subprocess.TimeoutExpired:
        return False, "time-out"


def suite(build_dir, timeout):
    """Two halves of the suite at once, each stopping at its first failure;
    the first failure stops the other half. Gives the failed test, or None."""
    binary = os.path.join(build_dir, "tests", "flukokzad_tests")
    runs = []
    for half in (0, 1):
        log = open(os.path.join(build_dir, "fault-%d.log" % half), "w+")
        env = dict(os.environ, FLUKO_STRESS_DIVISOR="20", GTEST_TOTAL_SHARDS="2", GTEST_SHARD_INDEX=str(half))
        runs.append((subprocess.Popen([binary, "--gtest_fail_fast", "--gtest_brief=1"], cwd=build_dir, env=env,
                                      stdout=log, stderr=subprocess.STDOUT, start_new_session=True), log))
    deadline, failed = time.time() + timeout, None
    while runs and not failed:
        time.sleep(0.1)
        for process, log in list(runs):
            status = process.poll()
            if status is None:
                continue
            runs.remove((process, log))
            if status != 0:
                log.seek(0)
                names = re.findall(r"\[  FAILED  \] (\S+)", log.read())
                failed = names[0] if names else "crash (status %d)" % status
        if not failed and time.time() > deadline:
            failed = "time-out after %d s" % timeout
    for process, _ in runs:
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()
    return failed


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=150, help="faults to count (default 150)")
    parser.add_argument("--seed", type=int, default=7, help="the seed of the draw (default 7)")
    parser.add_argument("--build", default=os.path.join(ROOT, "build", "faults"))
    parser.add_argument("--out", default=os.path.join(ROOT, "build", "faults.txt"))
    parser.add_argument("--again", help="an earlier record of the same seed and count, taken at --base")
    parser.add_argument("--base", help="with --again: the commit the earlier record was taken at")
    parser.add_argument("--equivalent", default=os.path.join(ROOT, "cmake", "mutants-equivalent.txt"))
    args = parser.parse_args()

    if not os.path.exists(os.path.join(args.build, "build.ninja")):
        ok, output = call(["cmake", "-S", ROOT, "-B", args.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                           "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -g0"], 600)
        if not ok:
            sys.exit(output)
    target = ["cmake", "--build", args.build, "--target", "flukokzad_tests"]
    ok, output = call(target, 1800)
    if not ok:
        sys.exit("the sources as they are do not build:\n" + output[-3000:])
    began = time.time()
    if suite(args.build, 1800):
        sys.exit("the suite fails without a fault; fix that first")
    timeout = int((time.time() - began) * 3 + 60)

    kept = {}
    if args.again:
        changed = subprocess.run(["git", "diff", "--name-only", args.base or "HEAD", "--", *SOURCES], cwd=ROOT,
                                 stdout=subprocess.PIPE, text=True, check=True).stdout
        if not args.base or changed:
            sys.exit("--again needs --base, and the sources under test unchanged since then")
        # Kept verdicts are marked with the commit itself, not a name like HEAD that moves.
        args.base = subprocess.run(["git", "rev-parse", "--short=7", args.base], cwd=ROOT, stdout=subprocess.PIPE,
                                   text=True, check=True).stdout.strip()
        for line in open(args.again, encoding="utf-8"):
            found = re.match(r"caught\s+(\S+  .*?)  by .*?  \(\d+ s\)", line)
            if found:
                kept[found.group(1)] = re.sub(r"  \(as at \w+\)$", "", line.rstrip("\n"))

    same = set()
    if os.path.exists(args.equivalent):
        same = {line.rstrip("\n") for line in open(args.equivalent, encoding="utf-8") if not line.startswith("#")}

    rng = random.Random(args.seed)
    files = sites_by_file()
    for sites in files.values():
        rng.shuffle(sites)
    record = open(args.out, "w")
    record.write("# seed %d, %d faults over %d sites in %d files; time-out %d s\n"
                 % (args.seed, args.count, sum(map(len, files.values())), len(files), timeout))
    counted = caught = not_built = equivalent = 0
    while counted < args.count and files:
        path = rng.choice(sorted(files))
        index, fault = files[path].pop()
        if not files[path]:
            del files[path]
        full = os.path.join(ROOT, path)
        with open(full, encoding="utf-8") as f:
            original = f.read()
        lines = original.split("\n")
        new, change = plant(lines[index], fault, rng)
        if new == lines[index]:
            continue
        where = "%s:%d" % (path, index + 1)
        if "%s  %s" % (where, change) in same:
            record.write("same     %s  %s\n" % (where, change))
            equivalent += 1
            continue
        if "%s  %s" % (where, change) in kept:
            counted += 1
            caught += 1
            record.write("%s  (as at %s)\n" % (kept["%s  %s" % (where, change)], args.base))
            continue
        lines[index] = new
        started = time.time()
        try:
            with open(full, "w", encoding="utf-8") as f:
                f.write("\n".join(lines))
            ok, _ = call(target, 900)
            failed = suite(args.build, timeout) if ok else None
        finally:
            with open(full, "w", encoding="utf-8") as f:
                f.write(original)
        if not ok:
            not_built += 1
            continue
        counted += 1
        caught += failed is not None
        line = "%-8s %s  %s%s  (%.0f s)\n" % ("caught" if failed else "missed", where, change,
                                             "  by " + failed if failed else "", time.time() - started)
        record.write(line)
        record.flush()
        print("[%d/%d] %s" % (counted, args.count, line), end="", flush=True)
    summary = "# %d of %d caught (%.1f %%); %d equivalent, not counted; %d did not build and were drawn again\n" % (
        caught, counted, 100.0 * caught / max(counted, 1), equivalent, not_built)
    record.write(summary)
    print(summary, end="")
    call(target, 1800)  # the restored sources, so that the folder matches the tree


if __name__ == "__main__":
    main()
