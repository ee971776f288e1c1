"""Compares the virtual operations of the classes whose operations clients of other builds call by their place, as the
compiler lays them out, with the promised ones.

Arguments: a g++, and a file to leave behind when they agree, with the headers that it depends on listed beside it.
"""
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).parents[1]
# A destructor has two places.
DATA = """~ ~ copy destruct makeUnique numberAllocatedElements dimensions isScalarStorage dataOrdering wellKnownDataType
    storedTypeInfo customTypeOperations reorderData reshapeNoRealloc reshapeToZVariant constStoredData mutableStoredData
    convertDataTo""".split()
COUNTED_DATA = [*DATA, "duplicate", "isUnique"]
PROMISED = {
    "Internal::ScalarVariantDataNonCounted<double": DATA,
    # What the library builds serves clients of 1.0 and 1.1 as well.
    "Internal::InlineScalar<double": [*DATA, "copyTo", "relocateTo"],
    "Internal::ScalarVariantDataRefCounted<double": COUNTED_DATA,
    "Internal::VectorVariantData<double": COUNTED_DATA,
    "Internal::StdVectorVariantData<double": COUNTED_DATA,
    "Internal::ExternalVariantStorageAdaptor": COUNTED_DATA,
    "Internal::TransmuteRealToComplexVariant": COUNTED_DATA,
    "Internal::TransmuteComplexToRealVariant": COUNTED_DATA,
    "Internal::NullVariantData": DATA,
    "IndexRange": "~ ~ indicesForDimension isValidForDimension clone".split(),
    "ExternalBuffer<double": """~ ~ numberAllocatedElements dimensions dataOrdering wellKnownDataType reshapeNoRealloc
        reshapeToZVariant constStoredData mutableStoredData adaptorDestroyed""".split(),
}

SOURCE = """
#include <pyx/pyx.h>
#include <variant/ExternalVariantStorageAdaptor.h>
#include <variant/InlineScalar.h>
#include <variant/NullVariantData.h>
#include <variant/TransmuteVariant.h>
template class Quorvane::Pyx::ExternalBuffer<double>;
template class Quorvane::Pyx::Internal::InlineScalar<double>;
"""
compiler, stamp = sys.argv[1:]
with tempfile.TemporaryDirectory() as folder:
    subprocess.run([compiler, "-std=c++20", f"-I{ROOT}/include", f"-I{ROOT}/src", "-fsyntax-only",
                    "-fdump-lang-class=classes.txt", "-MMD", "-MF", f"{stamp}.d", "-MT", stamp, "-x", "c++", "-"],
                   check=True, cwd=folder, input=SOURCE, text=True)
    dump = pathlib.Path(folder, "classes.txt").read_text()

failures = []
for name, promised in PROMISED.items():
    table = re.search(rf"^Vtable for Quorvane::Pyx::{name}(?:[,>].*)?\n.* entries\n((?:\d.*\n)+)", dump, re.M)
    # The first two places tell where the object begins and what its class is.
    places = table[1].splitlines()[2:] if table else []
    found = ["~" if "::~" in place else place.rsplit("::", 1)[-1] for place in places]
    if found != promised:
        failures.append(f"{name}: promised {promised}, found {found}")
if failures:
    sys.exit("\n".join(failures))
pathlib.Path(stamp).touch()
