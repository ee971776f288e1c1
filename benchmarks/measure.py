#!/usr/bin/env python3
"""Measures the contenders of each task in turn and writes medians to a JSON file, which report.py reads:
{task: {"unit": "ns" or "B", "contenders": {name: {"value": ..., "ratio": ours to this one}}}}, with null for a contender
that is missing.

Arguments: the library of the contenders in C++, the JSON file, and a pattern; only tasks that it matches are measured.
"""
import gc
import json
import math
import random
import re
import statistics
import sys
import time

from library import Library
from numpy_tasks import numpy_tasks

# A contender's turn is one call, or as many as last this long.
TURN_NANOSECONDS = 50_000
# Each task is measured for so long, but in so many turns of each contender.
SECONDS, FEWEST_TURNS, MOST_TURNS = 2.5, 5, 2001


class CppRun:
    """A contender in C++: does the work so many times and gives the nanoseconds of all, or the bytes of a size."""

    def __init__(self, library, index):
        self.library, self.index = library, index
        library.prepareContender(index)

    def __call__(self, calls):
        return self.library.runContender(self.index, calls)

    def __del__(self):
        self.library.endContender(self.index)


def python_run(work):
    """The same for work in Python."""

    def run(calls):
        start = time.thread_time_ns()
        for _ in range(calls):
            work()
        return time.thread_time_ns() - start

    return run


class Task:
    def __init__(self):
        self.preparations = []  # Functions that give {contender: run}, where None stands for what is missing.
        self.is_size = False
        self.in_fresh_pages = False

    def prepare(self):
        return {name: run for preparation in self.preparations for name, run in preparation().items()}


def find_tasks(library):
    """All tasks by name, in the order of the report."""
    tasks = {}
    for name, in_fresh_pages, prepare in numpy_tasks(library):
        task = tasks.setdefault(name, Task())
        task.in_fresh_pages = in_fresh_pages
        task.preparations.append(
            lambda prepare=prepare: {name: work and python_run(work) for name, work in prepare().items()}
        )
    for index in range(library.addContenders()):
        task = tasks.setdefault(library.taskOf(index).decode(), Task())
        task.is_size = library.isSize(index)
        contender = library.nameOf(index).decode()
        task.preparations.append(lambda contender=contender, index=index: {contender: CppRun(library, index)})
    return tasks


def calls_of_a_turn(run):
    run(1)
    calls = 1
    while run(calls) < TURN_NANOSECONDS:
        calls *= 2
    return calls


def measure(task):
    """What the JSON file holds of the task's contenders."""
    contenders = task.prepare()
    runs = {name: run for name, run in contenders.items() if run is not None}
    if task.is_size:
        turns = {name: [run(1)] for name, run in runs.items()}
    else:
        turns = take_turns(runs)
    for name, values in turns.items():
        # Times one after the other meet the same noise of the machine, so that their ratios vary less than they do.
        ratios = [ours / value if value else math.nan for ours, value in zip(turns["ours"], values)]
        contenders[name] = {"value": statistics.median(values), "ratio": statistics.median(ratios)}
    return contenders


def take_turns(runs):
    """{name: nanoseconds of a call in each turn}"""
    # The same number for all: the first call of a turn finds the caches as another contender left them.
    calls = max(calls_of_a_turn(run) for run in runs.values())
    times = {name: [] for name in runs}
    start = time.monotonic()
    for turn in range(MOST_TURNS):
        if turn >= FEWEST_TURNS and time.monotonic() - start > SECONDS:
            break
        # In another order each time, so that nobody always comes after the same one.
        for name in random.sample(list(runs), len(runs)):
            times[name].append(runs[name](calls) / calls)
    return times


def main():
    library_path, results_path, pattern = sys.argv[1:]
    library = Library(library_path)
    tasks = {name: task for name, task in find_tasks(library).items() if re.search(pattern, name)}
    if not tasks:
        sys.exit(f"no task matches {pattern}")
    results = {name: {"unit": "B" if task.is_size else "ns"} for name, task in tasks.items()}
    gc.disable()
    memory_is_kept = False
    # Sizes first, then what needs fresh pages: these ask for a process that keeps no free memory yet.
    for name, task in sorted(tasks.items(), key=lambda item: (not item[1].is_size, not item[1].in_fresh_pages)):
        if not (task.is_size or task.in_fresh_pages or memory_is_kept):
            library.keepMemory()
            memory_is_kept = True
        print(name, file=sys.stderr)
        results[name]["contenders"] = measure(task)
    with open(results_path, "w", encoding="utf-8") as file:
        json.dump(results, file, indent=1)


if __name__ == "__main__":
    main()
