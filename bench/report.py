#!/usr/bin/env python3
"""Makes tables and a plot of what the benchmarks have measured.

Prints the tables; with --document also writes them between the markers of a Markdown file, and with
--plot draws the cost against the number of blocks.  With --check fails where a limit does not hold.
"""

import argparse
import collections
import datetime
import itertools
import json
import os
import platform
import re
import statistics
import subprocess
import sys

PEERS = [
    ("std_map", "std::map"),
    ("std_unordered_map", "std::unordered_map"),
    ("tbb_hash_map", "tbb::concurrent_hash_map"),
]

# Name of the work, and what the tables call it.
WORKS = [
    ("retrieve_hot", "retrieve and unlock: one line, always the same"),
    ("retrieve_random_10k", "retrieve and unlock: at random, 10,000 lines in 1,000 blocks"),
    ("retrieve_random_60k", "retrieve and unlock: at random, 60,000 lines in six categories"),
    ("retrieve_first_block", "retrieve and unlock: one line, in the first of 1,000 blocks"),
    ("retrieve_last_block", "retrieve and unlock: one line, in the last of 1,000 blocks"),
    ("retrieve_miss", "retrieve a line that is not registered, 1,000 blocks"),
    ("retrieve_two_threads", "retrieve and unlock: at random, 10,000 lines, two threads"),
    ("register_empty", "register and deregister: no other block"),
    ("register_1000_blocks", "register and deregister: in the midst of 1,000 blocks"),
    ("register_1000_blocks_first", "register and deregister: ahead of 1,000 blocks"),
    ("register_1000_blocks_last", "register and deregister: behind 1,000 blocks"),
    ("register_standing", "register and deregister: in a block that stands"),
    ("register_standing_locked", "the same, entries handed over locked"),
    ("register_standing_held", "the same, deregistered while held"),
    ("iterate_dense", "advance: 60,000 lines in six categories"),
    ("iterate_sparse", "advance: six lines in six blocks of 10,001 ids"),
    ("item_get_1", "get the only item"),
    ("item_get_8", "get one of 8 items"),
    ("item_get_64", "get one of 64 items"),
    ("resize_5000", "resize a full block of 5,000 ids: one up, one down"),
    ("make_and_destroy", "make a database with a line in each category, and destroy it"),
]

# What the trace points cost: works that are measured with them and without.
GATE_WORKS = [
    ("gate_retrieve_hot", "retrieve and unlock: one line, always the same"),
    ("gate_retrieve_random_10k", "retrieve and unlock: at random, 10,000 lines in 1,000 blocks"),
    ("gate_register_standing", "register and deregister: in a block that stands"),
    ("gate_item_get_8", "get one of 8 items"),
]

BLOCK_COUNTS = [1, 3, 10, 30, 100, 300, 1000]

# What is compared with what, at most how many times as much, and what is aimed at.
LIMITS = [
    ("retrieve_hot/library", "retrieve_hot/floor", 1.15, None),
    ("retrieve_random_10k/library", "retrieve_random_10k/floor", 1.3, 1.15),
    ("retrieve_random_60k/library", "retrieve_random_60k/floor", 1.4, 1.2),
    ("retrieve_random_10k/library", "retrieve_random_10k/std_map", 0.3, None),
    ("retrieve_last_block/library", "retrieve_first_block/library", 1.15, None),
    ("retrieve_miss/library", "retrieve_miss/floor", 2, None),
    ("register_1000_blocks/library", "register_empty/library", 1.15, None),
    ("register_1000_blocks_first/library", "register_empty/library", 1.15, None),
    ("register_1000_blocks_last/library", "register_empty/library", 1.15, None),
    ("register_empty/library", "register_empty/floor", 1.4, None),
    ("register_standing/library", "register_standing/floor", 1.3, None),
    ("iterate_dense/library", "iterate_dense/floor", 1.8, 1.5),
    ("iterate_sparse/library", "iterate_sparse/floor", 3, 2),
    ("item_get_8/library", "item_get_8/floor", 1.5, None),
    ("resize_5000/library", "resize_5000/floor", 1.15, None),
    ("make_and_destroy/library", "retrieve_hot/library", 1100, None),
]
GATE_LIMIT = 1.03
# What a subject of a comparison may scatter: how far its median lies above its lowest figure.
QUIET = 0.10

# What the memory of a subject is measured with, and at most how many bytes the library takes.
MEMORY_SETS = [
    ("empty", "an empty database", 4 * 1024),
    ("five_lines", "a database with a line in each of five categories", 32 * 1024),
    ("five_lines_churned", "the same, after many have come and gone", 32 * 1024),
    ("dense_10k", "a line, of 10,000 in 1,000 blocks of 10", 116),
    ("dense_60k", "a line, of 60,000 in 6,000 blocks of 10", None),
    ("sparse_1k", "a line, of 1,000 in 1,000 blocks of 10", None),
]


class Figures:
    """The lowest figures of a run, by "work/subject": those that were disturbed least."""

    def __init__(self, rounds, memory):
        all_times = collections.defaultdict(list)
        all_gates = collections.defaultdict(list)
        for entry in itertools.chain(*(times["benchmarks"] for times in rounds)):
            if entry["run_type"] != "iteration":
                continue
            assert entry["time_unit"] == "ns"
            name = "/".join(entry["run_name"].split("/")[:2])
            # One thread is timed by its processor time, several by the time that passes.
            all_times[name].append(entry["real_time" if entry["threads"] > 1 else "cpu_time"])
            if name.endswith("/both"):
                all_gates[name.split("/")[0]].append(entry)
        self.memory = memory
        self.repetitions = min(map(len, all_times.values()))
        self.times = {name: min(times) for name, times in all_times.items()}
        self.scatter = {name: statistics.median(times) / min(times) - 1
                        for name, times in all_times.items()}
        self.gates = {work: {key: statistics.median(entry[key] for entry in entries)
                             for key in ("closed_gate", "no_trace_points", "ratio")}
                      for work, entries in all_gates.items()}

    def time(self, work, subject):
        return self.times.get(f"{work}/{subject}")

    def ratio(self, measured, base):
        return self.times[measured] / self.times[base]

    def verdict(self, figure, limit, *names):
        """Whether a limit holds; "busy" where it may be for the noise that it does not."""
        if figure <= limit:
            return "yes"
        return "busy" if any(self.scatter[name] > QUIET for name in names) else "NO"


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


def works_table(figures):
    floor_limits = {
        measured.split("/")[0]: limit
        for measured, base, limit, _ in LIMITS
        if base.endswith("/floor")
    }
    rows = []
    for work, text in WORKS:
        library = figures.time(work, "library")
        floor = figures.time(work, "floor")
        ratio = library / floor if floor else None
        limit = floor_limits.get(work)
        subjects = (f"{work}/library", f"{work}/floor")
        holds = "" if limit is None else figures.verdict(ratio, limit, *subjects)
        rows.append(
            [text, number(library), number(floor), f"{ratio:.2f}" if ratio else ""]
            + [number(figures.time(work, peer)) for peer, _ in PEERS]
            + [limit or "", holds]
        )
    head = ["work", "library ns", "floor ns", "ratio", *(text for _, text in PEERS)]
    return markdown(head + ["limit", "holds"], rows)


def describe(name):
    work, subject = name.split("/")
    subjects = dict(PEERS, library="library", floor="floor")
    return f"{work} {subjects[subject]}"


def limits(figures):
    """Yields what is compared, the figure, the limit, the aim, and whether the limit holds."""
    for measured, base, limit, aim in LIMITS:
        ratio = figures.ratio(measured, base)
        yield (f"{describe(measured)} : {describe(base)}", f"{ratio:.3f}", limit, aim,
               figures.verdict(ratio, limit, measured, base))
    for work, _ in GATE_WORKS:
        ratio = figures.gates[work]["ratio"]
        yield (f"{work} closed gate : no trace points", f"{ratio:.3f}", GATE_LIMIT, None,
               figures.verdict(ratio, GATE_LIMIT, f"{work}/both"))
    for key, text, limit in MEMORY_SETS:
        if limit is not None:
            resident = figures.memory["library"][key]
            yield (f"resident bytes of {text}", number(resident), f"{limit:,}", None,
                   figures.verdict(resident, limit))


def limits_table(figures):
    rows = [[text, figure, limit, aim or "", holds]
            for text, figure, limit, aim, holds in limits(figures)]
    return markdown(["compared", "measured", "limit", "aim", "holds"], rows)


def gate_table(figures):
    rows = []
    for work, text in GATE_WORKS:
        entry = figures.gates[work]
        rows.append(
            [text, number(entry["closed_gate"]), number(entry["no_trace_points"])]
            + [f"{entry['ratio']:.3f}"]
        )
    return markdown(["work", "closed gate ns", "no trace points ns", "ratio"], rows)


def block_costs(figures):
    subjects = [("library", "library"), ("floor", "floor"), *PEERS]
    costs = [
        [count] + [figures.time(f"retrieve_blocks_{count}", subject) for subject, _ in subjects]
        for count in BLOCK_COUNTS
    ]
    return [text for _, text in subjects], costs


def blocks_table(figures):
    names, costs = block_costs(figures)
    rows = [[f"{row[0]:,}", *map(number, row[1:])] for row in costs]
    return markdown(["blocks", *(f"{name} ns" for name in names)], rows)


def memory_table(figures):
    subjects = [("library", "library"), *PEERS]
    rows = [[text, *(number(figures.memory[subject][key]) for subject, _ in subjects)]
            for key, text, _ in MEMORY_SETS]
    return markdown(["resident bytes of", *(text for _, text in subjects)], rows)


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


def write_sections(path, sections):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    for name, content in sections.items():
        pattern = re.compile(f"(<!-- begin {name} -->\n).*?(<!-- end {name} -->)", re.DOTALL)
        text, found = pattern.subn(lambda match: f"{match[1]}{content}\n{match[2]}", text)
        if found != 1:
            sys.exit(f"{path}: one pair of markers '{name}' is wanted, not {found}")
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def draw(path, figures):
    names, costs = block_costs(figures)
    data = "\n".join(" ".join(map(str, row)) for row in costs)
    curves = ", ".join(
        f"$costs using 1:{i + 2} with linespoints linestyle {i + 1} title '{name}'"
        for i, name in enumerate(names)
    )
    script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "blocks.gp")
    commands = f"$costs << end\n{data}\nend\nset output '{path}'\nload '{script}'\nplot {curves}\n"
    subprocess.run(["gnuplot"], input=commands, check=True, text=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("memory", help="the JSON of the memory count")
    parser.add_argument("times", nargs="+", help="the JSON of the benchmarks, a file a round")
    parser.add_argument("--compiler", default="c++", help="what the benchmarks were built with")
    parser.add_argument("--document", help="Markdown file whose sections are to be written")
    parser.add_argument("--plot", help="SVG file to draw")
    parser.add_argument("--check", action="store_true", help="fail where a limit does not hold")
    options = parser.parse_args()

    figures = Figures(list(map(read_json, options.times)), read_json(options.memory))
    sections = {
        "machine": machine(figures, options.compiler),
        "works": works_table(figures),
        "limits": limits_table(figures),
        "blocks": blocks_table(figures),
        "gate": gate_table(figures),
        "memory": memory_table(figures),
    }
    for content in sections.values():
        print(content, end="\n\n")
    verdicts = [verdict for *_, verdict in limits(figures)]
    print(f"{verdicts.count('yes')} of {len(verdicts)} limits hold")
    if "busy" in verdicts:
        print("The machine was busy: where a limit is marked so, the repetitions scatter by more "
              f"than {QUIET:.0%}. Run this again when it is quiet.")
    if options.document:
        write_sections(options.document, sections)
    if options.plot:
        draw(options.plot, figures)
    if options.check and "NO" in verdicts:
        sys.exit(1)


if __name__ == "__main__":
    main()
