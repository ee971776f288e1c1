"""Lets gdb print the objects of gdb_printers.cpp, running and from a core file, and compares what it says.

Arguments: gdb, the program, the file with the printers.
"""
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent

TREE = 'map = {["name"] = string \'lattice\', ["tags"] = list = {int32 1, null}, ["none"] = empty map}'
EXPECTED = {
    "null": "null",
    "columns": "double[2, 3] column-major = {1, 4, 2, 5, 3, 6}",
    "adopted": "int16[2] = {-1, 7}",
    "view": "complexDouble[2, 1] = {(1,2), (3,4)}",
    "parts": "double[2, 2] = {1, 2, 3, 4}",
    "empty": "float[]",
    "text": "string \"it's\"",
    "sensors": "Sensor[2] = {{channel = 1, gain = 0.5}, {channel = 2, gain = 1.5}}",
    "live": "int32[2] = {8, 9}",
    "snapshot": "complexInt8[1, 2] = {(8,0), (9,0)}",
    "foreign": "<elements in a client's storage>",
    # What is no value.
    "*(Quorvane::Pyx::ZVariant*)&path": "<no data object>",
    "tree": TREE,
    "frozen": TREE,
    "nothing": "null",
    "path": "{tags, 1}",
    "key": '"tags"',
    "noKey": "no text",
    "type": "complexInt16",
    "source": "moved from",
    "target": "double[2, 3] = {1, 2, 3, 4, 5, 6}",
    "shape": "[2, 3]",
}


def add_element_types():
    """For each type a scalar of 1, twice, and an array of 1 and 0."""
    table = (ROOT / "include/pyx/types/element_types.def").read_text(encoding="utf-8")
    rows = re.findall(r"^PYXCORE_ELEMENT_TYPE\((\w+), \w+, \w+, (\w+),", table, flags=re.M)
    texts = {"boolean": ("true", "false"), "complex": ("(1,0)", "(0,0)"), "text": ("'one'", "''"),
             "complexBoolean": ("(true,false)", "(false,false)"), "opaque": ("(1,2)", "(0,0)")}
    for i, (name, family) in enumerate(rows):
        one, zero = texts.get(family, ("1", "0"))
        place = f"everyType._M_impl._M_start[{i}]"
        EXPECTED[f"{place}.inlineScalar"] = EXPECTED[f"{place}.countedScalar"] = f"{name} {one}"
        EXPECTED[f"{place}.array"] = f"{name}[2] = {{{one}, {zero}}}"


def compare(gdb, printers, commands, *program):
    """With what gdb prints when the commands have brought it to `stopHere`."""
    commands = [*commands, f"source {printers}", "up", *(f"print {name}" for name in EXPECTED)]
    options = [word for line in commands for word in ("-ex", line)]
    result = subprocess.run([gdb, "-q", "-nx", "-batch", "-iex", "set auto-load off", *options, *program],
                            capture_output=True, text=True, check=False)
    printed = re.findall(r"^\$\d+ = (.*)$", result.stdout, flags=re.M)
    failures = [f"{name}\n  is  {text}\n  not {EXPECTED[name]}" for name, text in zip(EXPECTED, printed)
                if text != EXPECTED[name]]
    if failures or len(printed) != len(EXPECTED):
        sys.exit("\n".join([result.stdout, result.stderr, *failures]))


def main():
    gdb, program, printers = sys.argv[1:]
    add_element_types()
    with tempfile.TemporaryDirectory() as directory:
        core = f"{directory}/core"
        # Containers may not switch off that addresses are random.
        compare(gdb, printers, ["set disable-randomization off", "break stopHere", "run",
                                f"generate-core-file {core}"], program)
        compare(gdb, printers, [], program, core)


if __name__ == "__main__":
    main()
