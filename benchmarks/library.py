"""The library of benchmarks, and the library that it measures as any other language calls it: by its flat functions."""
import array
import ctypes
import math

# Name of an element type -> its code, how the standard library and NumPy call it, and its size in bytes.
TYPES = {
    "double": (0x0001, "d", "f8", 8),
    "float": (0x0002, "f", "f4", 4),
    "bool": (0x4003, "B", "?", 1),
    "uint8": (0x4004, "B", "u1", 1),
    "int32": (0x0006, "i", "i4", 4),
    "int64": (0x0007, "q", "i8", 8),
    "complexDouble": (0x8001, "d", "c16", 16),
}
CAST, COLUMN_MAJOR = 1, 1


class Record(ctypes.Structure):
    _fields_ = [("kind", ctypes.c_char_p), ("message", ctypes.c_char * 200)]


class Dimensions(ctypes.Structure):
    _fields_ = [("lengths", ctypes.POINTER(ctypes.c_uint64)), ("count", ctypes.c_uint64)]

    @classmethod
    def of(cls, shape):
        return cls((ctypes.c_uint64 * len(shape))(*shape), len(shape))


HANDLE, CODE, WORD, COUNT = ctypes.c_void_p, ctypes.c_uint16, ctypes.c_uint32, ctypes.c_uint64
FLAT_FUNCTIONS = {
    "constructArray": (HANDLE, HANDLE, CODE, COUNT, Dimensions, WORD),
    "copy": (HANDLE, HANDLE),
    "destruct": (None, HANDLE),
    "constStoredData": (HANDLE, HANDLE),
    "convertDataTo": (HANDLE, HANDLE, CODE, WORD),
    "reorderData": (HANDLE, HANDLE, WORD),
    "isIdenticalTo": (ctypes.c_bool, HANDLE, HANDLE),
    "isEquivalentTo": (ctypes.c_bool, HANDLE, HANDLE, WORD),
}
OWN_FUNCTIONS = {
    "addContenders": (COUNT,),
    "taskOf": (ctypes.c_char_p, COUNT),
    "nameOf": (ctypes.c_char_p, COUNT),
    "isSize": (ctypes.c_bool, COUNT),
    "prepareContender": (None, COUNT),
    "runContender": (ctypes.c_double, COUNT, COUNT),
    "endContender": (None, COUNT),
    "keepMemory": (None,),
    "copyBytes": (None, HANDLE, COUNT, COUNT),
    "makeSlice": (HANDLE, Dimensions, COUNT, COUNT, COUNT),
    "sourceOfSlice": (HANDLE, HANDLE),
    "runSlice": (None, HANDLE),
    "dropSlice": (None, HANDLE),
}


class Library:
    """Has all of these functions by their names; flat ones raise what their record tells."""

    def __init__(self, path):
        dll = ctypes.CDLL(path)
        for name, (result, *arguments) in OWN_FUNCTIONS.items():
            function = dll[name]
            function.restype, function.argtypes = result, arguments
            setattr(self, name, function)
        self.record = Record()
        for name, (result, *arguments) in FLAT_FUNCTIONS.items():
            function = dll["ZVariantData_C_API_" + name]
            function.restype, function.argtypes = result, (ctypes.POINTER(Record), *arguments)
            setattr(self, name, self.checked(function))

    def checked(self, function):
        record = self.record

        def call(*arguments):
            outcome = function(record, *arguments)
            if record.kind is not None:
                raise RuntimeError(record.message.decode())
            return outcome

        return call


class Array:
    """An array of the library; its elements count from 0 to 99 again and again."""

    def __init__(self, library, element_type, shape):
        code, typecode, self.dtype, size = TYPES[element_type]
        numbers = range(100)
        if element_type == "complexDouble":
            numbers = [part for number in numbers for part in (number, 0)]
        count = math.prod(shape)
        elements = array.array(typecode, numbers) * -(-count // 100)
        self.library, self.shape, self.size = library, shape, count * size
        self.handle = library.constructArray(elements.buffer_info()[0], code, count, Dimensions.of(shape), 0)
        self.address = library.constStoredData(self.handle)

    def __del__(self):
        self.library.destruct(self.handle)

    def convert(self, target):
        self.library.destruct(self.library.convertDataTo(self.handle, TYPES[target][0], CAST))

    def reorder(self):
        # The call takes over the reference that it is given.
        self.library.destruct(self.library.reorderData(self.library.copy(self.handle), COLUMN_MAJOR))

    def is_identical_to(self, other):
        return self.library.isIdenticalTo(self.handle, other.handle)

    def is_equivalent_to(self, other):
        return self.library.isEquivalentTo(self.handle, other.handle, CAST)


class Slice:
    """An array of doubles, of which a slice takes the same positions along each axis."""

    dtype = "f8"

    def __init__(self, library, shape, positions):
        along_axis = range(shape[0])[positions]
        self.library, self.shape, self.size = library, shape, 8 * math.prod(shape)
        self.result_size = 8 * len(along_axis) ** len(shape)
        self.handle = library.makeSlice(Dimensions.of(shape), along_axis[0], along_axis[-1], along_axis.step)
        self.address = library.sourceOfSlice(self.handle)

    def __del__(self):
        self.library.dropSlice(self.handle)

    def run(self):
        self.library.runSlice(self.handle)
