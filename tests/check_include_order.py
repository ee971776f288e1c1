"""Checks who includes whom: a folder may include itself and what stands to its left in the order of the layers."""
import pathlib
import re
import sys

LAYERS = ["types", "indexing", "abi", "variant", "convert", "properties", "customtypes", "format"]
# The flat functions stand at the top of the library and see everything; their public header does not.
TOP = "src/abi"

root = pathlib.Path(__file__).resolve().parent.parent
failures = []
seen = 0
for base in ("include/pyx", "src"):
    for path in sorted((root / base).rglob("*")):
        parts = path.relative_to(root / base).parts
        if path.suffix not in (".h", ".cpp", ".def") or len(parts) != 2:
            continue
        if f"{base}/{parts[0]}" == TOP:
            continue
        for included in re.findall(r'#include [<"](?:pyx/)?(\w+)/\w+\.\w+[>"]', path.read_text()):
            # Headers of the system have folders, too.
            if included not in LAYERS:
                continue
            seen += 1
            if LAYERS.index(included) > LAYERS.index(parts[0]):
                failures.append(f"{path.relative_to(root)} includes {included}/, which stands above {parts[0]}/")

print("\n".join(failures) or f"{seen} includes follow the order")
sys.exit(bool(failures) or seen == 0)
