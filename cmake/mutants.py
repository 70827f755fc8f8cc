#!/usr/bin/env python3
"""A small seeded mutation sampler for the module's sources.

Draws one-line mutants from module/, runtime/, parameters/, execution/ and
steps/, rebuilds the native test binary for each (only what changed), runs
the suite until its first failure and records whether the mutant was killed.
A mutant that does not compile is drawn again and not counted.

    cmake/mutants.py --count 150 --seed 1 [--build build/mutants] [--out build/mutants.txt]
    cmake/mutants.py --count 150 --seed 1 --again OLD.txt --base REV

With --again, a sample taken at REV is taken again after changes to the
tests alone: the same seed draws the same mutants, a mutant killed before by
a test whose file (and the support headers it includes) is unchanged since
REV keeps its verdict, and every other mutant (survivors, crashes, time-outs,
kills by changed or removed tests) is built and run again.

Operators: a comparison flipped, && and || swapped, a success code made a
failure, true and false swapped, an off-by-one (a bound or a number), a
negation dropped, a call statement removed. Every file is restored after its
mutant, also when the run is interrupted.
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
FOLDERS = ["module", "runtime", "parameters", "execution", "steps"]

# Each operator: a name, a pattern over a line with its texts and comments
# blanked, and how a match is replaced. Comparisons and shifts are told apart
# from template brackets by the blanks clang-format puts around operators.
FLIPS = {"<": ">=", ">": "<=", "<=": ">", ">=": "<", "==": "!=", "!=": "=="}
BOUNDS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
OPERATORS = [
    ("comparison flipped", re.compile(r"(?<= )(<=|>=|==|!=|<|>)(?= )"), lambda m, r: FLIPS[m.group(1)]),
    ("bound moved by one", re.compile(r"(?<= )(<=|>=|<|>)(?= )"), lambda m, r: BOUNDS[m.group(1)]),
    ("&& and || swapped", re.compile(r"(?<= )(&&|\|\|)(?= )"), lambda m, r: "||" if m.group(1) == "&&" else "&&"),
    ("success made failure", re.compile(r"\b(S_OK|SUCCEEDED)\b"), lambda m, r: "E_FAIL" if m.group(1) == "S_OK" else "FAILED"),
    ("failure made success", re.compile(r"\b(E_FAIL|FAILED)\b"), lambda m, r: "S_OK" if m.group(1) == "E_FAIL" else "SUCCEEDED"),
    ("true and false swapped", re.compile(r"\b(true|false)\b"), lambda m, r: "false" if m.group(1) == "true" else "true"),
    ("number moved by one", re.compile(r"(?<![\w.])(\d+)(?![\w.])"), lambda m, r: str(int(m.group(1)) + r.choice((1, -1)))),
    ("negation dropped", re.compile(r"(?<=[(\s])!(?!=)"), lambda m, r: ""),
]
CALL_STATEMENT = re.compile(r"^\s*(?!(return|delete|case|else|do|if|for|while|switch)\b)(?![A-Z0-9_]+\()[A-Za-z_][\w:]*(\s*(\.|->)\s*[A-Za-z_]\w*)*\s*\(.*\);\s*$")


def blank_texts_and_comments(line, in_block):
    """The line with string and character literals and comments replaced by
    blanks of the same length, and whether a block comment goes on."""
    out = []
    i = 0
    quote = None
    while i < len(line):
        c = line[i]
        if in_block:
            if line.startswith("*/", i):
                in_block = False
                out.append("  ")
                i += 2
            else:
                out.append(" ")
                i += 1
        elif quote:
            if c == "\\":
                out.append("  ")
                i += 2
                continue
            if c == quote:
                quote = None
            out.append(" " if c != quote else c)
            i += 1
        elif line.startswith("//", i):
            out.append(" " * (len(line) - i))
            break
        elif line.startswith("/*", i):
            in_block = True
            out.append("  ")
            i += 2
        elif c in "\"'":
            quote = c
            out.append(c)
            i += 1
        else:
            out.append(c)
            i += 1
    return "".join(out)[: len(line)], in_block


def mutation_sites(files):
    """Every (file, line index, operator index, match start) the operators
    can change; calls removed are operator index -1."""
    sites = []
    for path in files:
        with open(os.path.join(ROOT, path), encoding="utf-8") as f:
            lines = f.read().split("\n")
        in_block = False
        for index, line in enumerate(lines):
            code, in_block = blank_texts_and_comments(line, in_block)
            stripped = code.strip()
            # Preprocessor lines, compile-time checks and pure virtual
            # declarations give mutants that do not compile.
            if not stripped or stripped.startswith("#") or "static_assert" in code or "virtual" in code:
                continue
            for op_index, (_, pattern, _) in enumerate(OPERATORS):
                for match in pattern.finditer(code):
                    sites.append((path, index, op_index, match.start()))
            if CALL_STATEMENT.match(code) and "=" not in code.split("(")[0]:
                sites.append((path, index, -1, 0))
    return sites


def mutate(line, op_index, start, rng):
    """The mutated line and a description of the change."""
    if op_index < 0:
        return re.match(r"^\s*", line).group(0) + ";", "call removed: " + line.strip()
    name, pattern, replace = OPERATORS[op_index]
    code, _ = blank_texts_and_comments(line, False)
    match = pattern.match(code, start)
    new = line[: match.start()] + replace(match, rng) + line[match.end():]
    return new, "%s: %s -> %s" % (name, line.strip(), new.strip())


def run(command, cwd, timeout, env=None):
    try:
        done = subprocess.run(command, cwd=cwd, env=env, timeout=timeout, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, errors="replace")
        return done.returncode, done.stdout
    except subprocess.TimeoutExpired as expired:
        return None, expired.stdout or ""


def build(build_dir):
    code, output = run(["cmake", "--build", build_dir, "--target", "flukokzad_tests"], ROOT, 900)
    return code == 0, output


def run_suite(build_dir, shards, timeout):
    """Runs the test binary in shards that stop at their first failure; the
    other shards are stopped as soon as one fails. Returns (killed, why)."""
    env = dict(os.environ, FLUKO_STRESS_DIVISOR="20", GTEST_TOTAL_SHARDS=str(shards))
    binary = os.path.join(build_dir, "tests", "flukokzad_tests")
    processes = []
    for shard in range(shards):
        shard_env = dict(env, GTEST_SHARD_INDEX=str(shard))
        log = open(os.path.join(build_dir, "mutant-shard-%d.log" % shard), "w+")
        processes.append((subprocess.Popen([binary, "--gtest_fail_fast", "--gtest_brief=1"], cwd=build_dir,
                                           env=shard_env, stdout=log, stderr=subprocess.STDOUT,
                                           start_new_session=True), log))
    deadline = time.time() + timeout
    killed, why = False, ""
    while processes:
        for process, log in list(processes):
            status = process.poll()
            if status is None:
                continue
            processes.remove((process, log))
            if status != 0:
                log.seek(0)
                failed = re.findall(r"\[  FAILED  \] (\S+)", log.read())
                killed = True
                why = failed[0] if failed else ("crash (status %d)" % status)
        if killed or time.time() > deadline:
            if not killed:
                killed, why = True, "time-out after %d s" % timeout
            for process, log in processes:
                os.killpg(process.pid, signal.SIGKILL)
                process.wait()
            processes = []
        time.sleep(0.1)
    return killed, why


def test_files_changed(base):
    """The test files changed since base, a support header that lost or
    changed a line counting as a change of every file that includes it."""
    def git(*arguments):
        return subprocess.run(["git"] + list(arguments), cwd=ROOT, stdout=subprocess.PIPE, text=True,
                              check=True).stdout
    if git("diff", "--name-only", base, "--", *FOLDERS).strip():
        sys.exit("the module's sources changed since %s: take the sample anew" % base)
    changed = set(git("diff", "--name-only", base, "--", "tests").split())
    # A support header that only gained lines (a helper moved in from a test)
    # changes none of the tests that include it.
    headers = [path for path in changed if path.startswith("tests/support/") and
               any(line.startswith("-") and not line.startswith("---")
                   for line in git("diff", base, "--", path).split("\n"))]
    for path in git("ls-files", "tests").split():
        if path.endswith(".cpp") and any('"support/%s"' % os.path.basename(h) in open(os.path.join(ROOT, path)).read()
                                         for h in headers):
            changed.add(path)
    return changed


def defining_file(test):
    """The test file that defines a test gtest names "Suite.Name", also in
    its typed ("Suite/Type.Name") and parameterised ("Prefix/Suite.Name/0")
    forms, or None."""
    if "." not in test:
        return None
    left, right = test.split(".", 1)
    suites = [part for part in left.split("/") if re.match(r"^\w+$", part)]
    name = right.split("/")[0]
    if not suites or not re.match(r"^\w+$", name):
        return None
    pattern = re.compile(r"\b(?:%s)\s*,\s*%s\s*\)" % ("|".join(suites), name))
    for folder, _, names in os.walk(os.path.join(ROOT, "tests")):
        for file_name in names:
            path = os.path.join(folder, file_name)
            if file_name.endswith(".cpp") and pattern.search(open(path, encoding="utf-8").read()):
                return os.path.relpath(path, ROOT)
    return None


def earlier_verdicts(record, changed):
    """From an earlier record: change description -> its line, for the kills
    that stand (killed by a test defined in an unchanged file)."""
    kept = {}
    for line in open(record, encoding="utf-8"):
        # A kill kept from a sample before that one ends "(as at REV)": it
        # stands as long as its test file is unchanged since this base too.
        found = re.match(r"killed\s+(\S+)\s+(.*)  by (\S+)  \(\d+ s\)(?:  \(as at \w+\))?$", line.rstrip("\n"))
        if not found:
            continue
        where, change, test = found.groups()
        path = defining_file(test.rstrip(","))
        if path and path not in changed:
            kept[(where, change)] = re.sub(r"  \(as at \w+\)$", "", line.rstrip("\n"))
    return kept


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=150, help="mutants to run (default 150)")
    parser.add_argument("--seed", type=int, default=1, help="the seed of the draw (default 1)")
    parser.add_argument("--build", default=os.path.join(ROOT, "build", "mutants"), help="build folder")
    parser.add_argument("--out", default=os.path.join(ROOT, "build", "mutants.txt"), help="the record")
    parser.add_argument("--shards", type=int, default=2, help="test processes at once (default 2)")
    parser.add_argument("--files", nargs="*", help="only these sources (paths from the project root)")
    parser.add_argument("--again", help="an earlier record of the same seed and count, taken at --base")
    parser.add_argument("--base", help="with --again: the commit the earlier record was taken at")
    parser.add_argument("--equivalent", default=os.path.join(ROOT, "cmake", "mutants-equivalent.txt"),
                        help="mutants known to change nothing a test can see: recorded, not run, not counted")
    args = parser.parse_args()

    files = args.files or sorted(
        os.path.relpath(os.path.join(folder, name), ROOT)
        for top in FOLDERS
        for folder, _, names in os.walk(os.path.join(ROOT, top))
        for name in names
        if name.endswith((".cpp", ".h")))
    if not os.path.exists(os.path.join(args.build, "build.ninja")):
        code, output = run(["cmake", "-S", ROOT, "-B", args.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                            "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -g0"], ROOT, 600)
        if code != 0:
            sys.exit("cannot configure %s:\n%s" % (args.build, output))
    ok, output = build(args.build)
    if not ok:
        sys.exit("the unmutated sources do not build:\n" + output[-3000:])
    started = time.time()
    killed, why = run_suite(args.build, args.shards, 1800)
    baseline = time.time() - started
    if killed:
        sys.exit("the unmutated suite fails (%s); fix that first" % why)
    timeout = int(baseline * 3 + 60)

    kept = {}
    if args.again:
        if not args.base:
            sys.exit("--again needs --base, the commit the earlier sample was taken at")
        kept = earlier_verdicts(args.again, test_files_changed(args.base))
        # Kept verdicts are marked with the commit itself, not a name like HEAD that moves.
        args.base = subprocess.run(["git", "rev-parse", "--short=7", args.base], cwd=ROOT, stdout=subprocess.PIPE,
                                   text=True, check=True).stdout.strip()

    equivalent = set()
    if os.path.exists(args.equivalent):
        for line in open(args.equivalent, encoding="utf-8"):
            found = re.match(r"(\S+:\d+)  (.*)$", line.rstrip("\n"))
            if found and not line.startswith("#"):
                equivalent.add(found.groups())

    rng = random.Random(args.seed)
    sites = mutation_sites(files)
    record = open(args.out, "w")
    record.write("# seed %d, %d mutants drawn from %d sites in %d files; suite %.0f s, time-out %d s\n"
                 % (args.seed, args.count, len(sites), len(files), baseline, timeout))
    record.flush()
    # Each draw picks an operator, then one of its sites not drawn before,
    # so that numbers (a third of all sites) do not crowd out the rest.
    by_operator = {}
    for site in sites:
        by_operator.setdefault(site[2], []).append(site)
    for group in by_operator.values():
        rng.shuffle(group)
    counted = killed_count = not_compiling = same = 0
    while counted < args.count and any(by_operator.values()):
        group = by_operator[rng.choice(sorted(key for key, left in by_operator.items() if left))]
        path, index, op_index, start = group.pop()
        full = os.path.join(ROOT, path)
        with open(full, encoding="utf-8") as f:
            original = f.read()
        lines = original.split("\n")
        mutated, change = mutate(lines[index], op_index, start, rng)
        if mutated == lines[index]:
            continue
        lines[index] = mutated
        if ("%s:%d" % (path, index + 1), change) in equivalent:
            record.write("%-8s %s:%d  %s\n" % ("same", path, index + 1, change))
            record.flush()
            same += 1
            continue
        before = kept.get(("%s:%d" % (path, index + 1), change))
        if before:
            counted += 1
            killed_count += 1
            record.write(before + "  (as at %s)\n" % args.base)
            record.flush()
            print("[%d/%d] %s  (as at %s)" % (counted, args.count, before, args.base), flush=True)
            continue
        try:
            with open(full, "w", encoding="utf-8") as f:
                f.write("\n".join(lines))
            began = time.time()
            ok, _ = build(args.build)
            if not ok:
                not_compiling += 1
                continue
            killed, why = run_suite(args.build, args.shards, timeout)
        finally:
            with open(full, "w", encoding="utf-8") as f:
                f.write(original)
        counted += 1
        killed_count += killed
        line = "%-8s %s:%d  %s%s  (%.0f s)\n" % ("killed" if killed else "survived", path, index + 1, change,
                                                  ("  by " + why) if killed else "", time.time() - began)
        record.write(line)
        record.flush()
        print("[%d/%d] %s" % (counted, args.count, line), end="", flush=True)
    summary = ("# %d of %d killed (%.1f %%); %d equivalent mutants listed, not counted; %d mutants did not compile "
               "and were drawn again\n" % (killed_count, counted, 100.0 * killed_count / max(counted, 1), same,
                                            not_compiling))
    record.write(summary)
    print(summary, end="")
    build(args.build)  # the restored sources, so the folder is left as the tree is


if __name__ == "__main__":
    main()
