#!/usr/bin/env python3
"""Measures NumPy at tasks of the benchmarks, and writes the results to a JSON file in the form that table.py reads.

Arguments: the JSON file, and a pattern; only tasks that it matches are measured. Without NumPy the results say so.
"""
import json
import re
import statistics
import sys
import time

REPETITIONS = 15
SHORTEST_NANOSECONDS = 10_000_000


def strided(*lengths, start=0, stop=None, step=2):
    """The copy of a strided slice along every axis."""

    def prepare(np):
        array = np.ones(lengths)
        axes = (slice(start, stop, step),) * len(lengths)
        return lambda: array[axes].copy()

    return prepare


def every_second_by_index(*lengths):
    """The same elements as `strided`, by lists of indices."""

    def prepare(np):
        array = np.ones(lengths)
        positions = [np.arange(0, length, 2) for length in lengths]
        return lambda: array[np.ix_(*positions)]

    return prepare


def equality(left, right):
    """The comparison of 10^6 equal elements of two types."""

    def prepare(np):
        numbers = np.arange(10**6) % 100
        first, second = numbers.astype(left), numbers.astype(right)
        return lambda: np.array_equal(first, second)

    return prepare


ELEMENT_TYPES = {"int32": "i4", "double": "f8", "complexDouble": "c16"}

# Task, contender, and what takes numpy and gives a function that does the work once and makes its result anew.
CONTENDERS = [
    ("slice 512x512 step 2 of 1024x1024", "NumPy", strided(1024, 1024)),
    ("slice 512x512 step 2 of 1024x1024", "NumPy ix_", every_second_by_index(1024, 1024)),
    ("slice 64x64x64 step 2 of 128x128x128", "NumPy", strided(128, 128, 128)),
    ("slice 64x64x64 step 2 of 128x128x128", "NumPy ix_", every_second_by_index(128, 128, 128)),
    ("slice 512x512 block of 1024x1024", "NumPy", strided(1024, 1024, start=256, stop=768, step=1)),
    *[(f"slice 10^{n} of 2*10^{n}", "NumPy", strided(2 * 10**n)) for n in range(3, 8)],
    *[
        (f"{question} {name}, 10^6", "NumPy array_equal", equality(dtype, dtype))
        for question in ("identical", "equivalent")
        for name, dtype in ELEMENT_TYPES.items()
    ],
    ("equivalent double and int32, 10^6", "NumPy array_equal", equality("f8", "i4")),
]


def measure(work):
    """Processor time of one call in nanoseconds: the median of the repetitions."""
    calls, elapsed = 1, 0
    while True:
        elapsed = time_of(work, calls)
        if elapsed >= SHORTEST_NANOSECONDS:
            break
        calls *= 2
    return statistics.median(time_of(work, calls) / calls for _ in range(REPETITIONS))


def time_of(work, calls):
    start = time.process_time_ns()
    for _ in range(calls):
        work()
    return time.process_time_ns() - start


def main():
    path, pattern = sys.argv[1:]
    try:
        import numpy
    except ImportError:
        numpy = None
    results = []
    for task, contender, prepare in CONTENDERS:
        if re.search(pattern, task):
            results.append((task, contender, measure(prepare(numpy)) if numpy else None))
    with open(path, "w", encoding="utf-8") as file:
        json.dump(results, file)


main()
