#!/usr/bin/env python3
"""Makes a table of callgrind's counts of the works, and compares it with the one in a document.

Fails where the library's own part of a work, its instructions less those of the floor, has grown by
more than the tolerance; a short one, by a single instruction.
"""

import argparse
import glob
import re
import subprocess
import sys

import report

TOLERANCE = 0.03
SHORT = 100

# The cache that is simulated, the same on every machine.
CACHE = ["--I1=32768,8,64", "--D1=32768,8,64", "--LL=8388608,16,64"]

# The works that are counted: what the tables call each is in report.py.
WORKS = [
    "retrieve_hot", "retrieve_random_10k", "retrieve_random_60k", "retrieve_first_block",
    "retrieve_last_block", "retrieve_miss", "register_empty", "register_1000_blocks",
    "register_standing", "register_standing_locked", "iterate_dense", "iterate_sparse",
    "item_get_8", "resize_5000", "make_and_destroy",
]
WITH_FLOOR = set(WORKS) - {
    "retrieve_first_block", "retrieve_last_block", "register_1000_blocks", "make_and_destroy",
}


def names():
    for work in WORKS:
        yield f"{work}/library"
        if work in WITH_FLOOR:
            yield f"{work}/floor"


def read_counts(dumps, calls):
    """Instructions and misses of the first data cache, a call, by "work/subject"."""
    totals = {}
    for path in dumps:
        with open(path, encoding="latin-1") as file:  # names of other libraries' functions
            text = file.read()
        trigger = re.search(r"Trigger: Client Request: (\S+) (\d)", text)
        events = re.search(r"^events: (.*)", text, re.MULTILINE)[1].split()
        sums = re.search(r"^totals: (.*)", text, re.MULTILINE)[1].split()
        if trigger:
            # Zeros at the end are left out.
            known = dict(zip(events, map(int, sums)))
            totals[trigger[1], int(trigger[2])] = {event: known.get(event, 0) for event in events}
    counts = {}
    for name in names():
        once, twice = totals[name, 1], totals[name, 2]
        instructions = (twice["Ir"] - once["Ir"]) / calls
        misses = max(0, sum(twice[e] - once[e] for e in ("D1mr", "D1mw"))) / calls
        counts[name] = (instructions, misses)
    return counts


def table(counts):
    texts = dict(report.WORKS)
    rows = []
    for work in WORKS:
        library, misses = counts[f"{work}/library"]
        floor, floor_misses = counts.get(f"{work}/floor", (0, 0))
        own = library - floor
        shown = [f"{floor:.0f}", f"{own:.0f}"] if work in WITH_FLOOR else ["", f"{own:.0f}"]
        misses = [f"{misses:.1f}", f"{floor_misses:.1f}" if work in WITH_FLOOR else ""]
        rows.append([texts[work], f"{library:.0f}", *shown, *misses])
    head = ["work", "library", "floor", "own part", "library misses", "floor misses"]
    return report.markdown(head, rows)


def own_parts(text):
    """The own parts in a table, by the text of the work."""
    cells = [[cell.strip() for cell in line.split("|")[1:-1]] for line in text.splitlines()[2:]]
    return {row[0]: float(row[3]) for row in cells}


def section(path, name):
    with open(path, encoding="utf-8") as file:
        return re.search(f"<!-- begin {name} -->\n(.*?)\n<!-- end {name} -->", file.read(), re.DOTALL)[1]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("program", help="the program that runs the works")
    parser.add_argument("scratch", help="prefix of the files that callgrind writes")
    parser.add_argument("document", help="Markdown file with the table to compare with")
    parser.add_argument("--compiler", default="c++", help="what the program was built with")
    parser.add_argument("--calls", type=int, default=500, help="calls of each work")
    parser.add_argument("--renew", action="store_true", help="write the table into the document")
    options = parser.parse_args()

    subprocess.run(["valgrind", "--quiet", "--tool=callgrind", "--cache-sim=yes", *CACHE,
                    "--instr-atstart=no", f"--callgrind-out-file={options.scratch}",
                    f"--log-file={options.scratch}.log", options.program, str(options.calls),
                    *names()], check=True)
    counted = table(read_counts(glob.glob(f"{options.scratch}.[0-9]*"), options.calls))
    compiler = report.first_line([options.compiler, "--version"])
    print(counted)
    if options.renew:
        report.write_sections(options.document, {"cost": counted, "cost compiler": compiler})
        return
    known_compiler = section(options.document, "cost compiler")
    if known_compiler != compiler:
        print(f"not compared: {options.document} has the counts of {known_compiler}, not {compiler}")
        return
    known = own_parts(section(options.document, "cost"))
    grown = [f"{work}: its own part was {known[work]:.0f} instructions, and is {own:.0f}"
             for work, own in own_parts(counted).items()
             if own > known[work] + (TOLERANCE * known[work] if known[work] >= SHORT else 0)]
    if grown:
        sys.exit("\n".join(["dearer than in the table:", *grown]))


if __name__ == "__main__":
    main()
