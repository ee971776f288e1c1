"""The tasks beside NumPy. All contenders of a task read the same memory, which belongs to the library."""
import ctypes
import math

from library import TYPES, Array, Slice

try:
    import numpy
except ImportError:
    numpy = None

USUAL_PAIRS = [
    ("int32", "double"),
    ("double", "int32"),
    ("int64", "double"),
    ("double", "int64"),
    ("float", "double"),
    ("double", "float"),
    ("uint8", "double"),
    ("double", "uint8"),
    ("double", "bool"),
    ("double", "complexDouble"),
]
REORDERED = [
    ("double", "4096x4096", (4096, 4096)),
    ("double", "256x256x256", (256, 256, 256)),
    ("float", "1000x1000", (1000, 1000)),
    ("float", "20^5", (20,) * 5),
    ("float", "2^20 (rank 20)", (2,) * 20),
    ("float", "1000000x3", (1_000_000, 3)),
]
SLICED = [
    ("512x512 step 2 of 1024x1024", (1024, 1024), slice(None, None, 2)),
    ("512x512 block of 1024x1024", (1024, 1024), slice(256, 768)),
    ("64x64x64 step 2 of 128x128x128", (128, 128, 128), slice(None, None, 2)),
    ("64x64x64 block of 128x128x128", (128, 128, 128), slice(32, 96)),
]


def numpy_tasks(library):
    """(task, whether it is done in fresh pages, function that prepares it), the last giving {contender: work}, with
    None for NumPy where it is missing."""
    for power, count, fresh in (("10^6", 10**6, False), ("1.6x10^7", 16 * 10**6, True)):
        for source, target in USUAL_PAIRS:
            yield f"convert, {power}: {source} to {target}", fresh, conversion(library, source, target, count)
    for element_type, name, shape in REORDERED:
        yield f"reorder: {element_type} {name}", math.prod(shape) > 10**7, reordering(library, element_type, shape)
    for name, shape, positions in SLICED:
        yield f"slice: {name}", False, slicing(library, shape, positions)
    for name in ("int32", "double", "complexDouble"):
        yield f"identical, 10^3, from Python: {name}", False, identity(library, name, 10**3)
        yield f"identical, 10^6: {name}", False, identity(library, name, 10**6)
    yield "equivalent, 10^6: double and int32", False, equivalence(library, "double", "int32", 10**6)


def as_numpy(ours):
    """The memory of ours as an array of NumPy, if there is one."""
    if numpy is None:
        return None
    memory = (ctypes.c_char * ours.size).from_address(ours.address)
    memory.keeper = ours
    return numpy.frombuffer(memory, ours.dtype).reshape(ours.shape)


def conversion(library, source, target, count):
    def prepare():
        ours = Array(library, source, (count,))
        theirs = as_numpy(ours)
        _, _, dtype, size = TYPES[target]
        return {
            "ours": lambda: ours.convert(target),
            "NumPy astype": numpy and (lambda: theirs.astype(dtype)),
            # As many bytes are read and written in all.
            "memcpy": lambda: library.copyBytes(ours.address, ours.size, (ours.size + count * size) // 2),
        }

    return prepare


def reordering(library, element_type, shape):
    def prepare():
        ours = Array(library, element_type, shape)
        theirs = as_numpy(ours)
        return {
            "ours": ours.reorder,
            "NumPy copy": numpy and (lambda: theirs.copy(order="F")),
            "memcpy": lambda: library.copyBytes(ours.address, ours.size, ours.size),
        }

    return prepare


def slicing(library, shape, positions):
    def prepare():
        ours = Slice(library, shape, positions)
        theirs = as_numpy(ours)
        ranges = (positions,) * len(shape)
        lists = numpy and [numpy.arange(length)[positions] for length in shape]
        return {
            "ours": ours.run,
            "NumPy copy": numpy and (lambda: theirs[ranges].copy()),
            "NumPy ix_": numpy and (lambda: theirs[numpy.ix_(*lists)]),
            "memcpy": lambda: library.copyBytes(ours.address, ours.size, ours.result_size),
        }

    return prepare


def identity(library, element_type, count):
    def prepare():
        left, right = (Array(library, element_type, (count,)) for _ in range(2))
        contenders = comparison(left, right, left.is_identical_to)
        if count >= 10**6:
            # It compares no numbers, but reads as many bytes.
            memcmp = ctypes.CDLL(None).memcmp
            memcmp.argtypes = ctypes.c_void_p, ctypes.c_void_p, ctypes.c_size_t
            contenders["memcmp"] = lambda: memcmp(left.address, right.address, left.size)
        return contenders

    return prepare


def equivalence(library, left_type, right_type, count):
    def prepare():
        left, right = (Array(library, element_type, (count,)) for element_type in (left_type, right_type))
        return comparison(left, right, left.is_equivalent_to)

    return prepare


def comparison(left, right, compare):
    theirs = as_numpy(left), as_numpy(right)
    return {
        "ours": lambda: compare(right),
        "NumPy array_equal": numpy and (lambda: numpy.array_equal(*theirs)),
    }
