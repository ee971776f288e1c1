#!/usr/bin/env python3
"""Prints what measure.py measured as one table, and writes docs/benchmarks.md and its chart.

Arguments: the JSON file of measure.py, and --write for the documents. What stands in docs/benchmarks.md between the
comments `<!-- written by scripts/bench: NAME -->` and `<!-- end -->` is replaced; all else is kept.
"""
import collections
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

import chart

ROOT = pathlib.Path(__file__).resolve().parent.parent
MIB = 2**20

# Contenders that do less than the task, so that nothing can be much faster; all others are peers.
LIMITS = {"memcpy", "sum alone", "make_shared alone"}

# Tasks, the peer, and the ratio that ours may reach at most. The first that matches counts. Without a peer it is our
# own size in bytes.
TARGETS = [
    (r"convert, 10\^6: double to bool", "NumPy astype", 0.3),
    (r"convert, 10\^6: double to u?int", "NumPy astype", 1.5),
    (r"convert, 10\^6:", "NumPy astype", 1.2),
    (r"convert, 1\.6x10\^7:", "NumPy astype", 1.1),
    (r"convert in Exact.* to (int32|float|uint8|bool)$", "our Cast", 2.5),
    (r"reorder: double", "NumPy copy", 0.4),
    (r"reorder: float 1000x1000", "NumPy copy", 0.45),
    (r"reorder: float 20\^5", "NumPy copy", 0.7),
    (r"reorder: float 2\^20", "NumPy copy", 0.4),
    (r"reorder: float 1000000x3", "NumPy copy", 1.0),
    (r"slice:", "NumPy copy", 1.2),
    (r"slice:", "NumPy ix_", 0.3),
    (r"make, copy, destroy:", "std::variant", 4),
    (r"make, copy, destroy:", "nlohmann::json", 0.9),
    (r"copy and drop: shared array", "std::shared_ptr", 0.9),
    (r"flat call:", "without guard", 1.3),
    (r"text, 10\^5:", "std::ostringstream", 0.2),
    (r"text, 10\^5:", "{fmt}", 0.9),
    (r"text, 10\^5:", "strtod", 0.35),
    (r"text, 10\^6: print", "bare << loop", 1.1),
    (r"intern", "boost::flyweight", 0.6),
    (r"tree .* (build|freeze)", "nlohmann::json", 0.6),
    (r"tree .* (deep copy|drop)", "nlohmann::json", 0.3),
    (r"find", "nlohmann::json", 0.5),
    (r"identical, .* int32", "memcmp", 1.1),
    (r"identical, ", "memcmp", 1.6),
    (r"identical, ", "NumPy array_equal", 1.0),
    (r"peak memory:", None, MIB),
]

TIMES = [("s", 1e9), ("ms", 1e6), ("us", 1e3), ("ns", 1)]
SIZES = [("MiB", MIB), ("KiB", 1024), ("B", 1)]
PEER_PACKAGES = ["libc6", "python3-numpy", "nlohmann-json3-dev", "libfmt-dev", "libboost-dev"]

# What the README shows: a task and the peer.
SUMMARY = {
    ("convert, 10^6: double to int32", "NumPy astype"),
    ("convert, 1.6x10^7: int32 to double", "NumPy astype"),
    ("reorder: double 4096x4096", "NumPy copy"),
    ("reorder: float 1000000x3", "NumPy copy"),
    ("slice: 512x512 step 2 of 1024x1024", "NumPy copy"),
    ("make, copy, destroy: text of 8", "nlohmann::json"),
    ("copy and drop: shared array", "std::shared_ptr"),
    ("text, 10^5: double to text", "{fmt}"),
    ("text, 10^5: text to double", "strtod"),
    ("intern a known text: of 40", "boost::flyweight"),
    ("tree of 110,000 nodes: build", "nlohmann::json"),
}

# A row of the table: a task of ours beside one peer. Peer and limit are (name, value, ratio) with None for what is not
# there; `met` is None without a target or without a measured peer.
Row = collections.namedtuple("Row", "task unit ours peer limit target met")


def target_of(task, peer):
    matching = (ratio for pattern, name, ratio in TARGETS if name == peer and re.match(pattern, task))
    return next(matching, None)


def rows_of(task, result):
    ours, limits, peers = None, [], []
    for name, measured in result["contenders"].items():
        value, ratio = (measured["value"], measured["ratio"]) if measured else (None, None)
        if name == "ours":
            ours = value
        else:
            (limits if name in LIMITS else peers).append((name, value, ratio))
    limit = limits[0] if limits else (None, None, None)
    for peer in peers or [(None, None, None)]:
        name, value, ratio = peer
        target = target_of(task, name)
        compared = ours if name is None else ratio
        met = None if target is None or compared is None else compared <= target
        yield Row(task, result["unit"], ours, peer, limit, target, met)


def readable(value, unit):
    units = TIMES if unit == "ns" else SIZES
    name, size = next((u for u in units if value >= u[1]), units[-1])
    # Three digits, but no fewer than all before the point.
    number = f"{value / size:.0f}" if value / size >= 100 else f"{value / size:.3g}"
    return f"{number} {name}"


def cells(row):
    def value_cell(name, value):
        if name is None:
            return ""
        return "not installed" if value is None else readable(value, row.unit)

    def ratio_cell(ratio):
        return "" if ratio is None else f"{ratio:.2f}"

    target = ""
    if row.target is not None:
        target = f"{row.target:g}" if row.peer[0] else readable(row.target, "B")
    return (
        row.task,
        readable(row.ours, row.unit),
        row.peer[0] or "",
        value_cell(*row.peer[:2]),
        row.limit[0] or "",
        value_cell(*row.limit[:2]),
        ratio_cell(row.peer[2]),
        ratio_cell(row.limit[2]),
        target,
        {True: "yes", False: "NO", None: ""}[row.met],
    )


def markdown_table(head, lines):
    """Columns are aligned, numbers to the right; a column is of numbers when its head ends with a colon."""
    right = [name.endswith(":") for name in head]
    table = [[name.rstrip(":") for name in head], *lines]
    widths = [max(len(line[column]) for line in table) for column in range(len(head))]
    rule = [("-" * (width - 1) + ":") if to_right else "-" * width for width, to_right in zip(widths, right)]
    table.insert(1, rule)
    return "\n".join(
        "| " + " | ".join(f"{cell:{'>' if r else '<'}{w}}" for cell, w, r in zip(line, widths, right)) + " |"
        for line in table
    )


def task_table(rows):
    head = ("task", "ours:", "peer", "peer's:", "limit", "limit's:", "ours/peer:", "ours/limit:", "target:", "met")
    with_target = [row for row in rows if row.met is not None]
    met = sum(row.met for row in with_target)
    summary = f"\n\n{met} of {len(with_target)} targets are met." if with_target else ""
    return markdown_table(head, [cells(row) for row in rows]) + summary


def summary_table(rows):
    head = ("task", "ours:", "beside", "theirs:", "ours/theirs:")
    lines = [cells(row) for row in rows if (row.task, row.peer[0]) in SUMMARY]
    return markdown_table(head, [(*line[:4], line[6]) for line in lines])


def growth_table(results):
    """Time for each element, by task and number of elements."""
    growth = collections.defaultdict(dict)
    for task, result in results.items():
        work, power = task.removeprefix("growth, ").split(": ")
        growth[work][power] = result["contenders"]["ours"]["value"] / 10 ** int(power.removeprefix("10^"))
    powers = list(next(iter(growth.values())))
    lines = [[work, *(f"{times[power]:.3g} ns" for power in powers)] for work, times in growth.items()]
    return markdown_table(["for each element", *(power + ":" for power in powers)], lines)


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=False).stdout.strip()


def compiler_flags():
    """{flags: folders of src that are compiled with them}"""
    folders = collections.defaultdict(set)
    for entry in json.loads((ROOT / "build/bench/compile_commands.json").read_text(encoding="utf-8")):
        source = pathlib.Path(entry["file"]).relative_to(ROOT)
        if source.parts[0] == "src":
            flags = [word for word in shlex.split(entry["command"]) if re.match(r"-(O|f|m|std|DNDEBUG)", word)]
            folders[" ".join(flags)].add(source.parts[1])
    return folders


def found(pattern, path):
    """The group of the pattern in a file of the system."""
    match = re.search(pattern, pathlib.Path(path).read_text(encoding="utf-8"))
    return match[1] if match else "unknown"


def machine():
    cpu = found("model name\\s*: (.*)", "/proc/cpuinfo")
    huge_pages = found("\\[(\\w+)\\]", "/sys/kernel/mm/transparent_hugepage/enabled")
    kernel = ".".join(os.uname().release.split(".")[:2])
    installed = output_of("dpkg-query", "--show", "--showformat", "${Package} ${Version}, ", *PEER_PACKAGES)
    flags = compiler_flags()
    lines = [
        f"- {cpu}, {os.cpu_count()} cores, Linux {kernel}, huge pages: {huge_pages}",
        f"- {output_of('g++', '--version').splitlines()[0]}",
        *(f"- `{words}`" + f" ({', '.join(sorted(names))})" * (len(flags) > 1) for words, names in flags.items()),
        f"- {installed.rstrip(', ')}",
    ]
    return "\n".join(lines)


def write_documents(sections, rows):
    for document in ("README.md", "docs/benchmarks.md"):
        path = ROOT / document
        text = path.read_text(encoding="utf-8")
        for name, content in sections.items():
            pattern = rf"(<!-- written by scripts/bench: {name} -->\n).*?(<!-- end -->)"
            text = re.sub(pattern, lambda match: f"{match[1]}{content}\n{match[2]}", text, flags=re.DOTALL)
        path.write_text(text, encoding="utf-8")
    compared = [(row.task, row.peer[0], row.peer[2], row.met) for row in rows if row.peer[2]]
    (ROOT / "docs/benchmarks.svg").write_text(chart.draw(compared), encoding="utf-8")


def main():
    results = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
    growth = {task: result for task, result in results.items() if task.startswith("growth")}
    rows = [row for task, result in results.items() if task not in growth for row in rows_of(task, result)]
    # Tasks of one verb together, in the order in which they were first met.
    verbs = [re.match(r"\w+", row.task)[0] for row in rows]
    rows.sort(key=lambda row: verbs.index(re.match(r"\w+", row.task)[0]))
    sections = {"machine": machine()}
    if rows:
        sections["tasks"] = task_table(rows)
        sections["summary"] = summary_table(rows)
        print(sections["tasks"])
    if growth:
        sections["growth"] = growth_table(growth)
        print("\n" + sections["growth"])
    if "--write" in sys.argv[2:]:
        write_documents(sections, rows)


if __name__ == "__main__":
    main()
