#!/usr/bin/env python3
"""Prints the results of the benchmarks, from the JSON files that they and numpy_peers.py write, as one table.

Benchmarks are named `task/contender`. The contender `ours` is shown beside each of the others of its task, by the
median of the repetitions; a ratio below 1 means that ours is faster.
"""
import json
import statistics
import sys

UNITS = [("ns", 1.0), ("us", 1e3), ("ms", 1e6), ("s", 1e9)]


def readable_time(nanoseconds):
    unit, size = max((u for u in UNITS if nanoseconds >= u[1]), key=lambda u: u[1], default=UNITS[0])
    return f"{nanoseconds / size:.3g} {unit}"


def medians(path):
    """Processor time in nanoseconds: task -> contender -> median."""
    with open(path, encoding="utf-8") as file:
        report = json.load(file)
    times = {}
    # Results come in the order of interleaving, and families are numbered in the order of the program.
    for result in sorted(report["benchmarks"], key=lambda r: r["family_index"]):
        if result["run_type"] == "iteration":
            time = result["cpu_time"] * dict(UNITS)[result["time_unit"]]
            times.setdefault(result["run_name"], []).append(time)
    tasks = {}
    for name, repetitions in times.items():
        task, contender = name.rsplit("/", 1)
        tasks.setdefault(task, {})[contender] = statistics.median(repetitions)
    return tasks


def add_numpy(tasks, path):
    """Adds what numpy_peers.py measured to the tasks that were run; None where NumPy is missing."""
    with open(path, encoding="utf-8") as file:
        for task, contender, time in json.load(file):
            if task in tasks:
                tasks[task][contender] = time


def rows(tasks):
    yield "task", "ours", "peer", "peer's time", "ratio"
    for task, times in tasks.items():
        if "ours" not in times:
            continue
        ours = times.pop("ours")
        for peer, time in times.items() or [("", None)]:
            if time is None:
                yield task, readable_time(ours), peer, "not installed" if peer else "", ""
            else:
                yield task, readable_time(ours), peer, readable_time(time), f"{ours / time:.2f}"


def main():
    tasks = medians(sys.argv[1])
    add_numpy(tasks, sys.argv[2])
    table = list(rows(tasks))
    widths = [max(len(row[column]) for row in table) for column in range(len(table[0]))]
    align = [str.ljust, str.rjust, str.ljust, str.rjust, str.rjust]
    for row in table:
        print("  ".join(pad(cell, width) for pad, cell, width in zip(align, row, widths)).rstrip())


main()
