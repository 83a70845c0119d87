#!/usr/bin/env python3
"""Counts the instructions of the workloads with callgrind, and compares them with the table in a document.

A workload's own part is its instructions less those of its floor.  Fails if an own part has grown.
"""

import argparse
import glob
import re
import subprocess
import sys
import tempfile

import report

# An own part may grow by this share; one below SHORT instructions may not grow.
TOLERANCE = 0.03
SHORT = 100

# A multiple of seven, so that passes over six lines are whole: six advances to a line, and one to the end.
CALLS = 210

# The workloads that are counted.
WORKLOADS = [
    "retrieve_hot", "retrieve_random_10k", "retrieve_random_60k", "retrieve_first_block",
    "retrieve_last_block", "retrieve_miss", "register_empty", "register_1000_blocks",
    "register_standing", "register_standing_locked", "iterate_dense", "iterate_sparse",
    "item_get_8", "resize_5000", "make_and_destroy",
]
WITHOUT_FLOOR = {
    "retrieve_first_block", "retrieve_last_block", "register_1000_blocks", "make_and_destroy",
}


def count(program):
    """Returns the instructions of one call, by "workload/subject"."""
    names = [f"{workload}/{subject}" for workload in WORKLOADS for subject in ("library", "floor")
             if subject == "library" or workload not in WITHOUT_FLOOR]
    totals = {}
    with tempfile.TemporaryDirectory() as scratch:
        subprocess.run(["valgrind", "--quiet", "--tool=callgrind", "--instr-atstart=no",
                        f"--callgrind-out-file={scratch}/counts", program, str(CALLS), *names], check=True)
        for path in glob.glob(f"{scratch}/counts.*"):
            with open(path, encoding="latin-1") as file:  # names of other libraries' functions
                dump = file.read()
            if trigger := re.search(r"^desc: Trigger: Client Request: (\S+) ([12])$", dump, re.M):
                totals[trigger[1], trigger[2]] = int(re.search(r"^totals: (\d+)", dump, re.M)[1])
    return {name: (totals[name, "2"] - totals[name, "1"]) / CALLS for name in names}


def table(counts, counts_without_trace_points):
    rows = []
    for workload, text in report.WORKLOADS:
        if workload in WORKLOADS:
            library = counts[f"{workload}/library"]
            own = library - counts.get(f"{workload}/floor", 0)
            trace_points = library - counts_without_trace_points[f"{workload}/library"]
            rows.append([text, *(f"{figure:.0f}" for figure in (library, own, trace_points))])
    return report.markdown(["call", "library", "own", "trace"], rows)


def may_reach(published):
    return published if published < SHORT else published * (1 + TOLERANCE)


def own_parts(text):
    """Returns the own parts in a table, by the text of the workload."""
    rows = [[cell.strip() for cell in row.split("|")[1:-1]] for row in text.splitlines()[2:]]
    return {row[0]: float(row[2]) for row in rows}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("programs", help="directory of the programs that run the workloads")
    parser.add_argument("document", help="Markdown file with the table")
    parser.add_argument("--compiler", default="c++", help="what the programs were built with")
    parser.add_argument("--renew", action="store_true", help="write the table into the document")
    options = parser.parse_args()

    counted = table(count(f"{options.programs}/ttydb_cost"),
                    count(f"{options.programs}/ttydb_without_trace_points_cost"))
    compiler = report.first_line([options.compiler, "--version"])
    print(counted)
    if options.renew:
        report.write_sections(options.document, {"cost": counted, "cost compiler": compiler})
        return
    published_compiler = report.section(options.document, "cost compiler")
    if published_compiler != compiler:
        print(f"not compared: {options.document} has the counts of {published_compiler}, not {compiler}")
        return
    published = own_parts(report.section(options.document, "cost"))
    grown = [f"{workload}: own part {own:.0f} instructions, {published[workload]:.0f} in the table"
             for workload, own in own_parts(counted).items()
             if own > may_reach(published[workload])]
    if grown:
        sys.exit("\n".join(["grown:", *grown]))


if __name__ == "__main__":
    main()
