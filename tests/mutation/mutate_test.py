#!/usr/bin/env python3
"""tools/mutate with a made-up source and runner: mutants caught, survivors, and that a seed repeats its draw.

usage: mutate_test.py COMPILER
"""
import json
import os
import random
import re
import subprocess
import sys
import tempfile
import unittest

TOOLS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tools")
COMPILER = sys.argv[1]
sys.dont_write_bytecode = True
sys.path.insert(0, TOOLS)
from mutation.places import Mutant, Source, changed_number, changed_unit, draws, string_changes  # noqa: E402
from mutation.record import difference  # noqa: E402

BEACON = """\
// beacond's "period", in seconds: 5 < 30.
#include "beacon.h"
static_assert(sizeof(int) == 4, "no place");

int period(int asked) {
    if (asked < 5) return 30;
    return asked;
}

int sum_to(int last) {
    int sum = 0;
    for (int i = 1; i <= last; i++) sum += i;
    return sum;
}

const char* label() { return "beacon"; }
"""
# Does not test the label.
RUNNER = """\
#include <cstdio>
#include "beacon.h"
int main() {
    const bool good = period(0) == 30 && period(4) == 30 && period(5) == 5 && period(7) == 7 && sum_to(4) == 10;
    if (!good) std::puts("FAILED beacon.case:");
    return good ? 0 : 1;
}
"""
CONFIG = r"""
sources = ["src/*.cc"]
without = ["src/runner.cc"]
cpu_seconds = 1
[[runner]]
program = "runner"
failure = '^FAILED (\S+\.case):'
"""
NINJA = """\
rule compile
  command = {compiler} -O0 -Wall -Werror -o $out -c $in
rule link
  command = {compiler} $in -o $out
build beacon.o: compile {src}/beacon.cc
build runner.o: compile {src}/runner.cc
build runner: link beacon.o runner.o
"""


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


class MadeUp(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.root, self.build = os.path.join(self.folder.name, "tree"), os.path.join(self.folder.name, "build")
        src = os.path.join(self.root, "src")
        write(src + "/beacon.cc", BEACON)
        write(src + "/beacon.h", "int period(int asked);\nint sum_to(int last);\nconst char* label();\n")
        write(src + "/runner.cc", RUNNER)
        write(self.root + "/config.toml", CONFIG)
        write(self.build + "/build.ninja", NINJA.format(compiler=COMPILER, src=src))
        write(self.build + "/compile_commands.json", json.dumps([
            {"directory": self.build, "file": f"{src}/{name}.cc",
             "command": f"{COMPILER} -O0 -Wall -Werror -o {name}.o -c {src}/{name}.cc"} for name in ("beacon", "runner")]))

    def mutate(self, *words):
        return subprocess.run([TOOLS + "/mutate", "--root", self.root, "--build", self.build, "--config",
                               self.root + "/config.toml", "--equivalent", self.root + "/equivalent", *words],
                              capture_output=True, text=True, check=False)

    def test_a_campaign(self):
        results, section = self.root + "/results.json", self.root + "/section.md"
        played = self.mutate("--seed", "1", "--count", "20", "--results", results, "--record", section)
        self.assertEqual(played.returncode, 1, played.stderr + played.stdout)  # the label's mutants survive
        with open(results, encoding="utf-8") as file:
            tried = json.load(file)["tried"]
        self.assertEqual(len(tried), 20)
        self.assertEqual(len({(one["start"], one["end"], one["text"]) for one in tried}), 20)
        caught = {one["caught_by"] for one in tried}
        self.assertIn("beacon.case", caught)
        self.assertIn("runner does not end", caught)
        for one in tried:
            if one["line"] == 16:
                self.assertEqual(one["caught_by"], "", one)
            if one["operator"] == "comparison" and one["line"] == 6:
                self.assertEqual(one["caught_by"], "beacon.case", one)
        self.assertIn("SURVIVED src/beacon.cc:16 (string)", played.stdout)
        self.assertRegex(played.stderr, r"mutate: 20 of 20, \d+ caught, \d+ drawn again")

        survived = sum(not one["caught_by"] for one in tried)
        with open(section, encoding="utf-8") as file:
            text = file.read()
        self.assertTrue(text.startswith("## Mutation\n"))
        self.assertIn(f"| `tools/mutate --seed 1 --count 20` | 20 | {20 - survived} |", text)
        self.assertEqual(text.count("not examined yet"), survived)

        # The label is tested now, and one survivor has a reason.
        write(self.root + "/src/runner.cc",
              RUNNER.replace("#include <cstdio>", "#include <cstdio>\n#include <cstring>")
              .replace("sum_to(4) == 10;", 'sum_to(4) == 10 && !std::strcmp(label(), "beacon");'))
        other = [one for one in tried if not one["caught_by"] and one["line"] != 16]
        again = self.mutate("--again", results)
        self.assertIn(f"20 mutants: {20 - len(other)} caught", again.stdout)
        with open(self.root + "/src/beacon.cc", encoding="utf-8") as file:
            self.assertEqual(file.read(), BEACON)

    def test_the_same_seed_draws_the_same(self):
        one = self.mutate("--list", "--seed", "5", "--count", "20")
        self.assertEqual(one.returncode, 0, one.stderr)
        self.assertEqual(one.stdout.count("src/beacon.cc:"), 20)
        self.assertEqual(one.stdout, self.mutate("--list", "--seed", "5", "--count", "20").stdout)
        self.assertNotEqual(one.stdout, self.mutate("--list", "--seed", "6", "--count", "20").stdout)
        results = [self.root + "/1.json", self.root + "/2.json"]
        for jobs, path in zip("12", results):
            self.mutate("--seed", "3", "--count", "4", "--jobs", jobs, "--results", path)
        with open(results[0], encoding="utf-8") as first, open(results[1], encoding="utf-8") as second:
            self.assertEqual(json.load(first)["tried"], json.load(second)["tried"])

    def test_tests_that_fail_by_themselves(self):
        write(self.root + "/src/runner.cc", RUNNER.replace("== 10", "== 11"))
        played = self.mutate("--count", "1")
        self.assertEqual(played.returncode, 2)
        self.assertIn("fails without any mutant: beacon.case", played.stderr)
        self.assertEqual(self.mutate("--only", "src/nothing*").returncode, 2)

    def test_equivalents_are_held_against_the_source(self):
        known = "# A comment.\nfile: src/beacon.cc\n|  int period(int asked) {\n| -    if (asked < 5) return 30;\n" \
                "| +    if (asked <= 4) return 30;\n|      return asked;\nThe same numbers.\n"
        write(self.root + "/equivalent", known)
        self.assertEqual(self.mutate("--check").returncode, 0)
        apart = known.replace("| +    if", "| @@\n|  int sum_to(int last) {\n| +    if").replace("|      return asked;\n", "")
        write(self.root + "/equivalent", apart)
        self.assertEqual(self.mutate("--check").returncode, 0)
        write(self.root + "/equivalent", known.replace("return asked;", "return 1;"))
        stale = self.mutate("--check")
        self.assertEqual(stale.returncode, 1)
        self.assertIn("src/beacon.cc: no such lines", stale.stdout)
        write(self.root + "/equivalent", known.replace("The same numbers.\n", ""))
        self.assertIn("no reason", self.mutate("--check").stdout)


class Places(unittest.TestCase):
    def changes(self, text, operator):
        """All changes of one kind, as the text of the whole."""
        source = Source("x.cc", text)
        found = set()
        for place in source.places:
            for number in range(200):
                start, end, changed = place.draw(random.Random(number))
                if place.operator == operator:
                    found.add(source.text[:start] + changed + source.text[end:])
        return found

    def test_kinds(self):
        for text, operator, expected in (
                ("bool f(int a) { return a < 1; }", "comparison",
                 {f"bool f(int a) {{ return a {sign} 1; }}" for sign in ("==", "!=", "<=", ">", ">=")}),
                ("bool f(bool a) { return !a && a; }", "negation", {"bool f(bool a) { return a && a; }"}),
                ("bool f(bool a) { return !a && a; }", "logic", {"bool f(bool a) { return !a || a; }"}),
                ("int f(int a) { return a - 1; }", "arithmetic", {"int f(int a) { return a + 1; }"}),
                ("bool f() { return true; }", "constant", {"bool f() { return false; }"}),
                ("void f() { a(); b(); }", "order", {"void f() { b(); a(); }"}),
                ("void f() { const int x = a(); b(x); }", "order", set()),
                ("void f() { a(); if (x) b(); }", "deletion",
                 {"void f() { {} if (x) b(); }", "void f() { a(); {} }", "void f() { a(); if (x) {} }"}),
                ("void f() { if (x) a(); else b(); }", "else", {"void f() { if (x) a(); else {} }"}),
                ("int t[] = {1, g(2, 3)};", "rows", {"int t[] = {g(2, 3), 1};"}),
                ("R r = {.a = 1, .b = 2};", "rows", set()),
                ("std::vector<int> f(); // \"text\" 1 < 2", "comparison", set()),
                ("#include \"x.h\"\n#define A \"b\"\n[[deprecated(\"c\")]] void f();", "string", set())):
            self.assertEqual(self.changes(text, operator), expected, (text, operator))

    def test_literals(self):
        self.assertEqual([changed_number(text, 1) for text in ("0", "0x0f", "0755", "1'000", "4u", "0x7f")],
                         ["1", "0x10", "0756", "1001", "5u", "0x80"])
        self.assertEqual([changed_number(text, -1) for text in ("0", "0x10", "10u")], ["(-1)", "0x0f", "9u"])
        self.assertEqual([changed_unit(unit) for unit in ("a", "9", "x", r"\n", r"\f", r"\x01", r"\0", "%")],
                         ["b", "x", "y", r"\t", "_", r"\x02", r"\1", "x"])
        self.assertEqual(set(string_changes('"a b"')), {'" b"', '"b b"', '"ab"', '"a  b"', '"a "', '"a c"'})
        self.assertEqual(string_changes('""'), ['"x"'])

    def test_differences(self):
        source = Source("x.cc", "a\nb\nc\nd\ne\nf\ng\n")
        self.assertEqual(difference(source, Mutant("x.cc", "order", 2, 3, "x")), [" a", "-b", "+x", " c"])
        self.assertEqual(difference(source, Mutant("x.cc", "order", 2, 11, "x\nc\nd\ne\ny")),
                         [" a", "-b", "+x", " c", "@@", " e", "-f", "+y", " g"])

    def test_a_draw_ends_when_there_is_nothing_left(self):
        self.assertEqual(len(list(draws([Source("x.cc", "bool f() { return true; }")], random.Random(1)))), 2)
        self.assertTrue(re.fullmatch(r"\{\}|false", next(draws([Source("x.cc", "bool f() { return true; }")],
                                                               random.Random(1))).text))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
