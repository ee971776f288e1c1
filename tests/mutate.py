"""Changes the rules of elements one place at a time, and tells which changes no test notices.

Works on a copy of the sources in a folder of its own. A mutant that does not compile does not count. Fails when more
than one in twenty survives:

    mutate.py source-folder work-folder [number of mutants] [seed]
"""

import pathlib
import random
import re
import resource
import shutil
import subprocess
import sys

# Where the rules of elements stand: conversion, text, comparison, ordering.
RULES = [
    "src/convert/comparison.cpp",
    "src/convert/conversion_matrix.h",
    "src/convert/element_comparison.h",
    "src/convert/number_rules.h",
    "src/convert/number_runs.h",
    "src/convert/reorder.cpp",
    "src/convert/text_rules.cpp",
    "src/convert/transpose.h",
    "src/types/WellKnownType.cpp",
]

# Operators stand between blanks, which tells them from template brackets, references and pointers.
OPERATORS = {
    "==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&",
    "+": "-", "-": "+", "*": "+", "/": "*", "%": "/", "&": "|", "|": "&", "^": "|", "<<": ">>", ">>": "<<",
    "+=": "-=", "-=": "+=", "*=": "+=", "&=": "|=", "|=": "&=",
}
OPERATOR = re.compile(r"(?<= )(" + "|".join(map(re.escape, sorted(OPERATORS, key=len, reverse=True))) + r")(?= )")
WORD = re.compile(r"(?<!\\)\b(true|false|\d+)\b")
ARGUMENTS = re.compile(r"(?<=\()([\w.]+), ([\w.]+)(?=\))")

# Lines that say nothing about elements: their change is no fault, or a fault of speed alone.
NO_RULE = re.compile(r"^\s*(//|#|template|static_assert|using |namespace|constexpr bool isComplex)|BlockLength|longRun"
                     r"|partLength|tileLength|maximumLength|staysFloating|__has_|PYXCORE_|typeid")

# Changes that no test can notice, since another road leads to the same elements, or there is more room than is needed.
NO_CHANGE = re.compile(
    # What is looked at in turn where nothing rules out that it changed.
    r"constexpr Bits magnitude .*>> -> <<|allWithin\(source.*1 -> 2|changed = 0;.*0 -> 1"
    r"|\^ static_cast<Common>.*\^ -> \||convertBlock\(.*length, false.*false -> true|Floating\{1\};.*1 -> 2"
    # What is walked element by element, converted as a whole, moved in another way or given a default before its value.
    r"|count = 1;.*1 -> 2|allocated >= shown.*>= -> >|allocated < shown .*< -> <=|>= count && dispatch.*>= -> >"
    r"|sameOrder = .*\|\| -> &&|rowEnd - row >= 4.*>= -> >|if \(rowEnd - firstRow|fitsVectors ="
    # What strtod reads as std::from_chars would.
    r"|digits = text.*\d -> \d|return digits.*(\d -> \d|<= -> <)|double number = 0;"
    # Both comparisons agree where one is exact, both casts at 2^63, and a type is common to two whichever comes first.
    r"|else if constexpr .*is_integral_v<S> && .*&& -> |\(63\) && value < .*\(64\).*>= -> >"
    r"|getCommonWellKnownType\(left.type|(room = |buffer\[)\d")

# The programs that look at elements, and their arguments.
BRIEFLY = ["--gtest_fail_fast", "--gtest_brief=1"]
TESTS = {
    "internal_tests": BRIEFLY,
    "boundary_tests": [*BRIEFLY, "--gtest_filter=*Compar*:*Equivalence*:*Catalogue*:*Slice*:*ValueText*"],
    **{f"replay_{target}": [f"fuzz/corpus/{target}"] for target in ("flat_functions", "slices", "texts")},
}


def mutants_of(text):
    """All changed forms of a text: (line number, what becomes what, the form)."""
    start = 0
    for number, line in enumerate(text.splitlines(keepends=True), 1):
        code = "" if NO_RULE.search(line) else line.split("//")[0]
        found = [(match, OPERATORS[match[0]]) for match in OPERATOR.finditer(code)]
        for match in WORD.finditer(code):
            flipped = {"true": "false", "false": "true"}.get(match[0])
            found.append((match, flipped or str(int(match[0]) + 1)))
        found += [(match, f"{match[2]}, {match[1]}") for match in ARGUMENTS.finditer(code) if match[1] != match[2]]
        for match, replacement in found:
            begin, end = start + match.start(), start + match.end()
            yield number, f"{line.strip()}  ({match[0]} -> {replacement})", text[:begin] + replacement + text[end:]
        start += len(line)


def runs(command, folder, seconds):
    def limit_memory():
        # A mutant may ask for all there is.
        resource.setrlimit(resource.RLIMIT_AS, (8 << 30, 8 << 30))

    try:
        return subprocess.run(command, cwd=folder, capture_output=True, timeout=seconds,
                              preexec_fn=limit_memory).returncode == 0
    except subprocess.TimeoutExpired:
        return False


def builds(work):
    return runs(["cmake", "--build", "build", "--target", *TESTS], work, 1800)


def passes(work):
    def folder(name):
        return "fuzz" if name.startswith("replay") else "tests"

    return all(runs([f"build/{folder(name)}/{name}", *arguments], work, 300) for name, arguments in TESTS.items())


def main(source, work, wanted=100, seed=1):
    for part in ("CMakeLists.txt", "cmake", "debugger", "docs", "examples", "fuzz", "include", "src", "tests"):
        copy = shutil.copytree if (source / part).is_dir() else shutil.copy2
        if not (work / part).exists():
            work.mkdir(parents=True, exist_ok=True)
            copy(source / part, work / part)
    # What a processor happens to do is no excuse for a cast or an index that the language does not define.
    subprocess.run(["cmake", "-S", ".", "-B", "build", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                    "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -fsanitize=float-cast-overflow,bounds -fno-sanitize-recover=all"],
                   cwd=work, check=True, capture_output=True)
    if not builds(work) or not passes(work):
        sys.exit("the tests fail before anything is changed")
    places = [(path, *mutant) for path in RULES for mutant in mutants_of((source / path).read_text())
              if not NO_CHANGE.search(mutant[1])]
    random.Random(seed).shuffle(places)
    survivors, tried = [], 0
    for path, line, change, text in places:
        if tried == wanted:
            break
        (work / path).write_text(text)
        if builds(work):
            tried += 1
            survived = passes(work)
            print(f"{tried}: {'SURVIVED' if survived else 'caught'}  {path}:{line}: {change}", flush=True)
            if survived:
                survivors.append(f"{path}:{line}: {change}")
        shutil.copy2(source / path, work / path)
        (work / path).touch()
    print(f"{tried - len(survivors)} of {tried} mutants were caught, of {len(places)} places.")
    print("\n".join(survivors))
    return 20 * len(survivors) > tried


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve(), *map(int, sys.argv[3:])))
