#!/usr/bin/env python3
"""Makes tables and a plot of the benchmarks' figures.

Prints the tables.  --document also writes them between the markers of a Markdown file, --plot draws
the time against the number of blocks, and --check fails if steady figures exceed a limit.
"""

import argparse
import collections
import datetime
import json
import os
import platform
import re
import statistics
import subprocess
import sys

# Each peer's name in the benchmarks and in the tables.
PEERS = {"std_map": "map", "std_unordered_map": "hash", "tbb_hash_map": "TBB"}

# Each workload's name in the benchmarks and in the tables.
WORKLOADS = [
    ("retrieve_hot", "retrieve one line, always the same"),
    ("retrieve_random_10k", "retrieve at random, 10,000 lines"),
    ("retrieve_random_60k", "retrieve at random, 60,000 lines"),
    ("retrieve_first_block", "retrieve one line in the first of 1,000 blocks"),
    ("retrieve_last_block", "retrieve one line in the last of 1,000 blocks"),
    ("retrieve_miss", "retrieve a missing line"),
    ("retrieve_two_threads", "retrieve at random, 10,000 lines, two threads"),
    ("register_empty", "register into an empty database"),
    ("register_1000_blocks", "register between 1,000 blocks"),
    ("register_1000_blocks_first", "register before 1,000 blocks"),
    ("register_1000_blocks_last", "register after 1,000 blocks"),
    ("register_standing", "register in a reserved block"),
    ("register_standing_locked", "the same, entry locked"),
    ("register_standing_held", "the same, deregistered while held"),
    ("iterate_dense", "advance, 60,000 lines"),
    ("iterate_sparse", "advance, six lines far apart"),
    ("item_get_1", "get the only item"),
    ("item_get_8", "get one of 8 items"),
    ("item_get_64", "get one of 64 items"),
    ("resize_5000", "resize a block of 5,000 ids"),
    ("make_and_destroy", "create and destroy a database"),
]

BLOCK_COUNTS = [1, 3, 10, 30, 100, 300, 1000]

# A workload, a divisor, and the limit of the quotient.  The library's time for the workload is divided by
# another subject's time for it, or by the library's time for another workload.
LIMITS = [
    ("retrieve_hot", "floor", 1.15),
    ("retrieve_random_10k", "floor", 1.3),
    ("retrieve_random_60k", "floor", 1.4),
    ("retrieve_random_10k", "std_map", 0.3),
    ("retrieve_last_block", "retrieve_first_block", 1.15),
    ("retrieve_miss", "floor", 2),
    ("register_1000_blocks", "register_empty", 1.15),
    ("register_1000_blocks_first", "register_empty", 1.15),
    ("register_1000_blocks_last", "register_empty", 1.15),
    ("register_empty", "floor", 1.4),
    ("register_standing", "floor", 1.3),
    ("iterate_dense", "floor", 1.8),
    ("iterate_sparse", "floor", 3),
    ("item_get_8", "floor", 1.5),
    ("resize_5000", "floor", 1.15),
    ("make_and_destroy", "retrieve_hot", 1100),
]
# How far the median of a steady figure's repetitions may lie above the lowest.
STEADY = 0.10

# What is measured of a subject's memory, and the most bytes that the library may take.
MEMORY_SETS = [
    ("empty", "an empty database", 4 * 1024),
    ("five_lines", "a database of five lines", 32 * 1024),
    ("five_lines_churned", "the same, after many were replaced", 32 * 1024),
    ("dense_10k", "a line, of 10,000 in 1,000 blocks", 116),
    ("dense_60k", "a line, of 60,000 in 6,000 blocks", None),
    ("sparse_1k", "a line, of 1,000 in 1,000 blocks", None),
]


class Figures:
    """The lowest times of a run, by "workload/subject": those that were disturbed least."""

    def __init__(self, rounds, memory):
        repetitions = collections.defaultdict(list)
        for entry in (entry for times in rounds for entry in times["benchmarks"]):
            if entry["run_type"] != "iteration":
                continue
            assert entry["time_unit"] == "ns"
            name = "/".join(entry["run_name"].split("/")[:2])
            repetitions[name].append(entry["real_time" if entry["threads"] > 1 else "cpu_time"])
        self.memory = memory
        self.repetitions = min(map(len, repetitions.values()))
        self.times = {name: min(times) for name, times in repetitions.items()}
        self.scatter = {name: statistics.median(times) / min(times) - 1
                        for name, times in repetitions.items()}

    def steady(self, name):
        return self.scatter[name] <= STEADY

    def time(self, workload, subject):
        return self.times.get(f"{workload}/{subject}")


def number(value):
    if value is None:
        return ""
    return f"{value:,.0f}" if value >= 1000 else f"{value:.1f}"


def markdown(head, rows):
    """A table whose first column is text and whose other columns are figures."""
    width = [max(len(str(row[i])) for row in [head, *rows]) for i in range(len(head))]

    def line(cells):
        padded = [
            str(cell).ljust(width[i]) if i == 0 else str(cell).rjust(width[i])
            for i, cell in enumerate(cells)
        ]
        return "| " + " | ".join(padded) + " |"

    rule = ["-" * width[0]] + ["-" * (w - 1) + ":" for w in width[1:]]
    return "\n".join([line(head), line(rule), *map(line, rows)])


def workloads_table(figures):
    rows = []
    for workload, text in WORKLOADS:
        library, floor = (figures.time(workload, subject) for subject in ("library", "floor"))
        rows.append([text, number(library), number(floor), f"{library / floor:.2f}" if floor else ""])
    return markdown(["call", "library", "floor", "ratio"], rows)


def peers_table(figures):
    rows = [[text, *(number(figures.time(workload, subject)) for subject in ("library", *PEERS))]
            for workload, text in WORKLOADS if figures.time(workload, "std_map")]
    return markdown(["call", "library", *PEERS.values()], rows)


def limits(figures):
    """Yields what is compared, the figure as a number and as text, the limit, and whether the figure is steady."""
    texts = dict(WORKLOADS)
    for workload, base, limit in LIMITS:
        measured = f"{workload}/library"
        compared = f"{base}/library" if base in texts else f"{workload}/{base}"
        ratio = figures.times[measured] / figures.times[compared]
        yield (f"{texts[workload]} / {texts.get(base) or PEERS.get(base, base)}", ratio, f"{ratio:.2f}",
               limit, figures.steady(measured) and figures.steady(compared))
    for key, text, limit in MEMORY_SETS:
        if limit is not None:
            resident = figures.memory["library"][key]
            yield f"bytes of {text}", resident, number(resident), limit, True


def limits_table(figures):
    """The limits that hold; below them those that do not, each with the reason."""
    rows, missed = [], []
    for text, figure, shown, limit, steady in limits(figures):
        if figure <= limit:
            rows.append([text, shown, f"{limit:,}"])
        elif steady:
            missed.append(f"- {text} is {shown}: **the limit of {limit:,} is exceeded**.")
        else:
            missed.append(f"- {text} is {shown}. The repetitions scatter by more than {STEADY * 100:.0f} %: "
                          f"this run cannot confirm the limit of {limit:,}.")
    table = markdown(["compared", "figure", "limit"], rows)
    return "\n".join([table, "", "Not held in this run:", "", *missed]) if missed else table


def blocks_rows(figures):
    return [[count, *(figures.time(f"retrieve_blocks_{count}", subject)
                      for subject in ("library", "floor", *PEERS))] for count in BLOCK_COUNTS]


def blocks_table(figures):
    rows = [[f"{count:,}", *map(number, (library, *peers))]
            for count, library, _, *peers in blocks_rows(figures)]
    return markdown(["blocks", "library", *PEERS.values()], rows)


def memory_table(figures):
    rows = [[text, *(number(figures.memory[subject][key]) for subject in ("library", *PEERS))]
            for key, text, _ in MEMORY_SETS]
    return markdown(["bytes of", "library", *PEERS.values()], rows)


def read_json(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def first_line(command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.split("\n")[0]


def machine(figures, compiler):
    with open("/proc/cpuinfo", encoding="utf-8") as info:
        model = re.search(r"model name\s*:\s*(.*)", info.read())
    facts = [
        ("processor", f"{model.group(1) if model else platform.machine()}, {os.cpu_count()} cores"),
        ("system", f"{platform.system()} {platform.release()}, {platform.libc_ver()[0]} "
                   f"{platform.libc_ver()[1]}"),
        ("compiler", first_line([compiler, "--version"])),
        ("date", datetime.date.today().isoformat()),
        ("figures", f"the lowest of {figures.repetitions} repetitions"),
    ]
    return "\n".join(f"- {name}: {value}" for name, value in facts)


def section(path, name):
    with open(path, encoding="utf-8") as file:
        return re.search(f"<!-- begin {name} -->\n(.*?)\n<!-- end {name} -->", file.read(), re.DOTALL)[1]


def write_sections(path, sections):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    for name, content in sections.items():
        pattern = re.compile(f"(<!-- begin {name} -->\n).*?(<!-- end {name} -->)", re.DOTALL)
        text, found = pattern.subn(lambda match: f"{match[1]}{content}\n{match[2]}", text)
        if found != 1:
            sys.exit(f"{path}: needs one pair of markers '{name}', has {found}")
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def draw(path, figures):
    data = "\n".join(" ".join(map(str, row)) for row in blocks_rows(figures))
    script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "blocks.gp")
    commands = f"$times << end\n{data}\nend\nset output '{path}'\nload '{script}'\n"
    subprocess.run(["gnuplot"], input=commands, check=True, text=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("memory", help="JSON of the resident memory")
    parser.add_argument("times", nargs="+", help="JSON of the benchmarks, one file for each round")
    parser.add_argument("--compiler", default="c++", help="what the benchmarks were built with")
    parser.add_argument("--document", help="Markdown file to write the tables into")
    parser.add_argument("--plot", help="SVG file to draw")
    parser.add_argument("--check", action="store_true", help="fail if steady figures exceed a limit")
    options = parser.parse_args()

    figures = Figures(list(map(read_json, options.times)), read_json(options.memory))
    sections = {
        "machine": machine(figures, options.compiler),
        "workloads": workloads_table(figures),
        "peers": peers_table(figures),
        "limits": limits_table(figures),
        "blocks": blocks_table(figures),
        "memory": memory_table(figures),
    }
    print("\n\n".join(sections.values()))
    if options.document:
        write_sections(options.document, sections)
    if options.plot:
        draw(options.plot, figures)
    if options.check and any(figure > limit and steady
                             for _, figure, _, limit, steady in limits(figures)):
        sys.exit("a limit is exceeded")


if __name__ == "__main__":
    main()
