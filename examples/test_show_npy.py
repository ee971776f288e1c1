#!/usr/bin/env python3
"""Runs show_npy (the program given as the argument) on good and on damaged .npy files and checks what it says."""
import itertools
import os
import pathlib
import struct
import subprocess
import sys
import tempfile

program = os.path.abspath(sys.argv[1])
sample_folder = pathlib.Path(__file__).resolve().parent / "data"
faults = []


def check(condition, text):
    if not condition:
        faults.append(text)


def npy(header, data=b"", version=b"\1\0"):
    header = header.encode("latin-1") if isinstance(header, str) else header
    return b"\x93NUMPY" + version + struct.pack("<H", len(header)) + header + data


def header(descr, shape, fortran_order=False):
    return f"{{'descr': '{descr}', 'fortran_order': {fortran_order}, 'shape': {shape}, }}\n"


def run(*files):
    """Exit code, output lines and error lines of one run."""
    result = subprocess.run([program, *files], capture_output=True, timeout=60)
    return result.returncode, result.stdout.decode().splitlines(), result.stderr.decode().splitlines()


def run_on(content):
    pathlib.Path("file.npy").write_bytes(content)
    return run("file.npy")


def check_output(name, code, output, errors, *expected_texts):
    """The expected texts must be in the output, in which blanks and line breaks count as one blank."""
    check(code == 0 and not errors, f"{name}: exit code {code}, {errors}")
    check(all(len(line) <= 80 for line in output), f"{name}: a line is longer than 80 columns")
    plain = f" {' '.join(' '.join(output).split())} "
    for text in expected_texts:
        check(f" {text} " in plain, f"{name}: no '{text}' in:\n" + "\n".join(output))


def check_good(name, content, *expected_texts):
    code, output, errors = run_on(content)
    check_output(name, code, output, errors, *expected_texts)
    return [line.split() for line in output]


def check_bad(name, content, reason):
    code, output, errors = run_on(content)
    check(code == 1 and not output, f"{name}: exit code {code}, {len(output)} lines of output")
    check(len(errors) == 1 and errors[0].startswith("show_npy: file.npy: ") and reason in errors[0],
          f"{name}: expected one line with '{reason}', got {errors}")


def check_element_types():
    """All types, both byte orders, both orderings: the elements come out in storage order and reordered."""
    cases = []
    for size, signed, unsigned in (1, "b", "B"), (2, "h", "H"), (4, "i", "I"), (8, "q", "Q"):
        high = 2 ** (8 * size - 1)
        for kind, letter, name, numbers in (("i", signed, f"int{8 * size}", [high - 1, -high, 1, 2, 3, 4]),
                                            ("u", unsigned, f"unsignedInt{8 * size}", [2 * high - 1, 0, 1, 2, 3, 4])):
            cases.append((f"{kind}{size}", name, letter, numbers, " ".join(map(str, numbers))))
    reals, real_texts = [1.5, -0.25, 0, 3, 1024, -7.5], "1.5 -0.25 0 3 1024 -7.5"
    parts, complex_texts = [1, 2.5, -1, -2, 0, 0, 4, 0, 0, 1, 0.5, 0.5], "1+2.5i -1-2i 0 4 0+1i 0.5+0.5i"
    cases += [("f4", "float", "f", reals, real_texts), ("f8", "double", "d", reals, real_texts),
              ("c8", "complexFloat", "f", parts, complex_texts), ("c16", "complexDouble", "d", parts, complex_texts),
              # Any byte but 0 is true.
              ("b1", "bool", "B", [0, 1, 2, 255, 0, 1], "0 1 1 1 0 1")]

    for (numpy_name, name, letter, numbers, text), fortran_order in itertools.product(cases, (False, True)):
        for byte_order in "|<>" if numpy_name[1:] == "1" else "<>":
            data = struct.pack(f"{byte_order.replace('|', '<')}{len(numbers)}{letter}", *numbers)
            case = f"{byte_order}{numpy_name}, fortran_order {fortran_order}"
            lines = check_good(case, npy(header(byte_order + numpy_name, (2, 3), fortran_order), data), f"type {name}",
                               "shape 2 x 3, 6 elements", f"ordering {'column' if fortran_order else 'row'}-major")
            texts = text.split()
            row_major = [texts[i] for i in (0, 2, 4, 1, 3, 5)] if fortran_order else texts
            column_major = texts if fortran_order else [texts[i] for i in (0, 3, 1, 4, 2, 5)]
            for ordering, expected in ("row-major", row_major), ("column-major", column_major):
                shown = [line[line.index(ordering) + 1:] for line in lines[5:] if ordering in line]
                shown = [text for text in shown[0] if text != "..."] if len(shown) == 1 else []
                check(len(shown) >= 2 and shown == expected[:len(shown)],
                      f"{case}: {ordering}: {shown} in place of {expected}")


def check_shapes():
    for descr, shape, data, *expected_texts in [
        ("<f8", "()", struct.pack("<d", 2.5), "shape a scalar, 1 element", "the value 2.5"),
        (">i4", "()", struct.pack(">i", -70000), "-70000", "int16 Exact refuses, Cast alters 1, -70000 to -4464"),
        ("<i4", "(0,)", b"", "shape 0, 0 elements"),
        # Lengths that no memory holds, but no elements.
        ("<f8", "(9223372036854775808, 0, 9223372036854775808)", b"",
         "shape 9223372036854775808 x 0 x 9223372036854775808, 0 elements"),
        # Long rows, many columns and wide numbers.
        ("<c8", "(500,)", struct.pack("<1000f", *range(1000)), "shape 500, 500 elements"),
        ("<f4", "(90, 300)", bytes(90 * 300 * 4), "shape 90 x 300, 27000 elements"),
        ("<i8", "(3, 6)", struct.pack("<18q", *[-2 ** 63] * 18), "shape 3 x 6, 18 elements"),
        ("<f8", "(2, 2)", struct.pack("<4d", *map(float, "nan inf -inf 1".split())), "[0] │ nan inf", "[1] │ -inf 1"),
        ("|u1", "(2, 1, 2, 3, 4)", bytes(range(48)), "shape 2 x 1 x 2 x 3 x 4, 48 elements"),
        # Narrow pictures.
        ("|u1", "(200, 2, 1)", bytes(range(200)) * 2, "[11]"),
        ("<c8", "(30, 3, 1)", struct.pack("<180f", *range(180)), "magnitude[1] direction[1]"),
        # No number is a span of time.
        ("<f8", "(1,)", struct.pack("<d", 1), "Cannot convert Quorvane::Pyx::ZVariantAbi of type 'double' (size: 1)"),
    ]:
        check_good(f"{descr} {shape}", npy(header(descr, shape), data), *expected_texts)
    check_good("keys in another order, other quotation marks and blanks",
               npy('{\n"shape":(2 ,1),"fortran_order" :False ,\t"descr": "<u2"}  \n', struct.pack("<2H", 300, 7)),
               "type unsignedInt16", "shape 2 x 1, 2 elements")


def check_damaged_files():
    data = struct.pack("<6d", *range(6))
    good_header = header("<f8", (2, 3))
    good = npy(good_header, data)
    for length in range(len(good)):
        check_bad(f"the first {length} bytes", good[:length], "")

    for name, content, reason in [
        ("another magic", b"\x93NUMPX" + good[6:], "not a .npy file"),
        ("version 2.0", npy(good_header, data, b"\2\0"), "version 2.0 is not supported"),
        ("version 1.1", npy(good_header, data, b"\1\1"), "version 1.1 is not supported"),
        ("one byte too many", good + b"\0", "take 48 bytes, and the file holds 49"),
        ("one byte missing", good[:-1], "more elements than the file holds"),
    ]:
        check_bad(name, content, reason)

    for descr in "<U4", "|O", "<f2", "<f16", "<M8[ns]", "|V8", "=f8", "|f8", "f8", "<", "", "<i3", "<b1x", "<\n\x1b[1m":
        check_bad(f"element type {descr!r}", npy(header(descr, (2, 3)), data), "element type")

    for reason, shapes in {
        "negative": ["(-1, 3)"],
        # 2 * (2^63 + 3) wraps to the right number, 6.
        "more elements than the file holds": ["(7,)", "(4294967296, 4294967296)", "(2305843009213693952, 8)",
                                              "(4611686018427387904, 2, 2)", "(2, 9223372036854775811)"],
        "beyond 64 bits": ["(18446744073709551616,)"],
        "take 40 bytes, and the file holds 48": ["(5,)"],
        "take 8 bytes, and the file holds 48": ["()"],
        "take 0 bytes, and the file holds 48": ["(0,)"],
        "does not read as a dict": ["(6)", "[6]", "(6.0,)", "(,)", "(2 3)", "6"],
    }.items():
        for shape in shapes:
            check_bad(f"shape {shape}", npy(header("<f8", shape), data), reason)

    rest = "'fortran_order': False, 'shape': (6,)}"
    for reason, headers in {
        "does not read as a dict": ["", "[1, 2]", "{", b"\xff\xfe\0{'descr'", f"{{'descr': '<f8', {rest} x",
                                    "{'descr': '<f8', 'fortran_order': 0, 'shape': (6,)}", f"{{'descr': '<f8' {rest}",
                                    f"{{'descr': '<f8\\'', {rest}"],
        "lacks": ["{}", "{'descr': '<f8', 'shape': (6,)}"],
        "unknown or repeated key": [f"{{'descr': '<f8', 'descr': '<f8', {rest}",
                                    f"{{'other': 1, 'descr': '<f8', {rest}"],
        "fields": [f"{{'descr': [('a', '<f8')], {rest}"],
    }.items():
        for text in headers:
            check_bad(f"header {text!r}", npy(text, data), reason)


def check_several_files():
    pathlib.Path("good.npy").write_bytes(npy(header("<i4", "(2,)"), bytes(8)))
    os.mkdir("folder.npy")
    for bad in "missing.npy", "folder.npy":
        code, output, errors = run("good.npy", bad, "good.npy")
        check(code == 1 and len(errors) == 1 and errors[0].startswith(f"show_npy: {bad}: "),
              f"{bad}: exit code {code}, {errors}")
        check(sum("good.npy" in line for line in output) == 2, f"the files beside {bad} are not shown")
    for file, *texts in [("digits.npy", "shape 1797 x 8 x 8, 115008 elements", "░░▓▓ ▒▒▒▒ ▒▒██████░░ ▒▒██▓▓ ░░██▓▓"),
                         ("iris.npy", "ordering column-major", "mean │ 5.843 3.057 3.758 1.199"),
                         ("spectrum.npy", "type complexDouble", "magnitude direction")]:
        check_output(file, *run(sample_folder / file), *texts)


with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    check_element_types()
    check_shapes()
    check_damaged_files()
    check_several_files()

print(*faults, sep="\n")
sys.exit(bool(faults))
