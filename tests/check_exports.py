"""Compares the names that the library exports with the committed list, and looks for what must not be in it.

Arguments: the shared library, the version script.
"""
import re
import subprocess
import sys

library, version_script = sys.argv[1:]


def names(*options):
    lines = subprocess.run(["nm", *options, library], check=True, capture_output=True, text=True).stdout.splitlines()
    return {line.split()[-1].split("@")[0] for line in lines}


text = re.sub(r"#.*", "", open(version_script, encoding="utf-8").read())
listed = set(re.findall(r"(\w+);", text.split("local:")[0]))
exported = names("-D", "--defined-only")
# A client may be linked with another C++ runtime, in which stored exceptions are not understood.
undefined = subprocess.run(["nm", "-uDC", library], check=True, capture_output=True, text=True).stdout
forbidden = re.findall(r".*(?:exception_ptr|nested_exception|__future_base).*", undefined)

failures = [f"exported but not listed: {name}" for name in sorted(exported - listed)]
failures += [f"listed but not exported: {name}" for name in sorted(listed - exported)]
failures += [f"uses {name.strip()}" for name in forbidden]
print("\n".join(failures) or f"{len(exported)} exported names are as listed")
sys.exit(bool(failures) or not listed)
