"""PyxCore values in Python, over the flat C interface of the library.

    from pyxcore import Variant
    value = Variant(numpy.arange(6.0).reshape(2, 3))
    value.numpy()[1]                   # reads where the elements stand, without a copy
    value.writable()[0, 0] = 7         # copies of the value do not see it
    value.convert("int32")[1, 2]

The library is found by the usual search for `libPyxCore.so`, or where the environment variable PYXCORE_LIBRARY says.
"""
import ctypes
import functools
import os

import numpy as np

__all__ = ["DURATION", "ELEMENT_TYPES", "TIME_POINT", "Record", "Variant", "flat_function"]

# The first that fits names the kind of a failure. A record points at the text, so it stays.
_KINDS = ((MemoryError, b"bad_alloc"), (LookupError, b"out_of_range"), (ValueError, b"invalid_argument"),
          (Exception, b"runtime_error"))


class Record(ctypes.Structure):
    """What a function of flat form fills when it fails."""

    _fields_ = [("kind", ctypes.c_char_p), ("message", ctypes.c_char * 200)]

    def fill(self, error):
        """Records a failure of a function that was written in Python."""
        self.kind = next(kind for known, kind in _KINDS if isinstance(error, known))
        self.message = str(error).encode()[:199]


class _Dimensions(ctypes.Structure):
    _fields_ = [("lengths", ctypes.POINTER(ctypes.c_uint64)), ("count", ctypes.c_uint64)]

    @classmethod
    def of(cls, shape):
        return cls((ctypes.c_uint64 * len(shape))(*shape), len(shape))


class _Text(ctypes.Structure):
    """A std::string of the library's build, libstdc++."""

    _fields_ = [("characters", ctypes.c_void_p), ("size", ctypes.c_uint64), ("buffer", ctypes.c_char * 16)]


_EXCEPTIONS = {
    b"bad_alloc": MemoryError,
    b"out_of_range": IndexError,
    b"invalid_argument": ValueError,
    b"length_error": ValueError,
}


def flat_function(function, result, *arguments):
    """A function of flat form that raises what its record tells; the arguments are those behind the record."""
    function.restype, function.argtypes = result, (ctypes.POINTER(Record), *arguments)

    @functools.wraps(function)
    def call(*values):
        record = Record()
        outcome = function(record, *values)
        if record.kind is not None:
            raise _EXCEPTIONS.get(record.kind, RuntimeError)(record.message.decode(errors="replace"))
        return outcome

    return call


class _Library:
    def __init__(self):
        library = ctypes.CDLL(os.environ.get("PYXCORE_LIBRARY", "libPyxCore.so"))
        handle, code, word = ctypes.c_void_p, ctypes.c_uint16, ctypes.c_uint32
        count, shape, pointer, flag = ctypes.c_uint64, _Dimensions, ctypes.c_void_p, ctypes.c_bool
        self.construct_null = library.ZVariantData_C_API_constructNull
        self.construct_null.restype = handle

        def declare(name, result, *arguments):
            return flat_function(getattr(library, "ZVariantData_C_API_" + name), result, *arguments)

        self.construct_scalar = declare("constructScalar", handle, pointer, code)
        self.construct_array = declare("constructArray", handle, pointer, code, count, shape, word)
        self.copy = declare("copy", handle, handle)
        self.destruct = declare("destruct", None, handle)
        self.type_code = declare("wellKnownDataType", code, handle)
        self.is_scalar = declare("isScalarStorage", flag, handle)
        self.allocated = declare("numberAllocatedElements", count, handle)
        self.dimensions = declare("dimensions", shape, handle)
        self.ordering = declare("dataOrdering", word, handle)
        self.const_data = declare("constStoredData", pointer, handle)
        self.mutable_data = declare("mutableStoredData", handle, handle, ctypes.POINTER(pointer))
        self.convert = declare("convertDataTo", handle, handle, code, word)
        self.reorder = declare("reorderData", handle, handle, word)
        self.reshape = declare("reshapeToZVariant", handle, handle, handle, shape, word)
        self.is_identical = declare("isIdenticalTo", flag, handle, handle)
        self.is_equivalent = declare("isEquivalentTo", flag, handle, handle, word)
        self.view_as_complex = declare("constructTransmuteRealToComplexVariant", handle, handle)
        self.view_as_real = declare("constructTransmuteComplexToRealVariant", handle, handle)


_library = _Library()


def _complex(component):
    return np.dtype([("real", component), ("imag", component)])


def _words(name):
    # A title tells apart the two dtypes, which are otherwise equal.
    return np.dtype([((name, "first"), "u8"), ("second", "u8")])


DURATION = _words("duration")
TIME_POINT = _words("timePoint")
_TEXT = 0x0010

# Name of an element type -> its code and how NumPy holds one element. Complex numbers of integers, durations and time
# points are records of two fields; texts are Python strings.
ELEMENT_TYPES = {
    "double": (0x0001, np.dtype("f8")),
    "float": (0x0002, np.dtype("f4")),
    "bool": (0x4003, np.dtype("?")),
    "string": (_TEXT, np.dtype(object)),
    "duration": (0x0030, DURATION),
    "timePoint": (0x0040, TIME_POINT),
    "complexDouble": (0x8001, np.dtype("c16")),
    "complexFloat": (0x8002, np.dtype("c8")),
    "complexBool": (0xC003, _complex("?")),
}
for _exponent, _size in enumerate((1, 2, 4, 8)):
    for _name, _flag, _kind in (("Int", 0, "i"), ("UnsignedInt", 0x4000, "u")):
        _bits, _code, _dtype = 8 * _size, _flag + 4 + _exponent, np.dtype(f"{_kind}{_size}")
        ELEMENT_TYPES[f"{_name[0].lower()}{_name[1:]}{_bits}"] = (_code, _dtype)
        ELEMENT_TYPES[f"complex{_name}{_bits}"] = (_code + 0x8000, _complex(_dtype))

_NAMES = {code: name for name, (code, _) in ELEMENT_TYPES.items()}
_MODES = {"exact": 0, "cast": 1, "castOrText": 2}


def _code_of(element_type):
    """The code of a name or a dtype."""
    if isinstance(element_type, str) and element_type in ELEMENT_TYPES:
        return ELEMENT_TYPES[element_type][0]
    dtype = np.dtype(element_type)
    if dtype.kind in "US":
        return _TEXT
    for code, held in ELEMENT_TYPES.values():
        if held == dtype and held.fields == dtype.fields:
            return code
    raise TypeError(f"{dtype} is no element type of PyxCore")


class Variant:
    """A null, a scalar or an N-dimensional array, whose elements are shared by its copies until one is written."""

    def __init__(self, value=None, element_type=None):
        """Copies a scalar or an array; None gives a null. Arrays keep their ordering where NumPy has it at hand."""
        if value is None:
            self._handle = _library.construct_null()
            return
        array = np.asarray(value, dtype=None if element_type is None else ELEMENT_TYPES[element_type][1])
        code = _code_of(element_type or ("string" if array.dtype.kind in "OUS" else array.dtype))
        column_major = array.ndim > 1 and array.flags.f_contiguous and not array.flags.c_contiguous
        order = "F" if column_major else "C"
        array = np.asarray(array, order=order)
        elements, kept = _texts(array, order) if code == _TEXT else (array.ctypes.data, array)
        if array.ndim == 0:
            self._handle = _library.construct_scalar(elements, code)
        else:
            shape = _Dimensions.of(array.shape)
            self._handle = _library.construct_array(elements, code, array.size, shape, int(column_major))
        del kept

    @classmethod
    def adopt(cls, handle):
        """The value of a handle, whose reference it takes over."""
        variant = cls.__new__(cls)
        variant._handle = handle
        return variant

    @classmethod
    def share(cls, handle):
        """The value of a handle that stays its owner's; shares the data."""
        return cls.adopt(_library.copy(handle))

    def release(self):
        """Hands the handle to the caller, who ends it by destruct; the value must not be used any more."""
        handle, self._handle = self._handle, None
        return handle

    def __copy__(self):
        return Variant.adopt(_library.copy(self._handle))

    def __del__(self):
        handle = getattr(self, "_handle", None)
        if handle is not None and _library is not None:
            _library.destruct(handle)

    @property
    def element_type(self):
        """The name of the element type; None for a null."""
        return _NAMES.get(_library.type_code(self._handle))

    @property
    def is_null(self):
        return _library.type_code(self._handle) == 0

    @property
    def shape(self):
        """() for a scalar."""
        if _library.is_scalar(self._handle):
            return ()
        dimensions = _library.dimensions(self._handle)
        return tuple(dimensions.lengths[: dimensions.count])

    @property
    def order(self):
        """"C" for row-major and "F" for column-major, as NumPy calls them."""
        return "F" if _library.ordering(self._handle) else "C"

    def numpy(self):
        """The elements as a read-only array that looks at the data and keeps them; texts are copied."""
        data = _library.const_data(self._handle)
        if self.is_null:
            raise ValueError("A null value has no elements.")
        if self.element_type == "string":
            return self._texts(data)
        # The array holds a reference of its own, so that writing to this value leaves it alone.
        array = self._array_at(data, keeper=self.__copy__())
        array.flags.writeable = False
        return array

    def writable(self):
        """The elements as an array to write to, valid as long as this value is not copied or used for writing again."""
        stored = ctypes.c_void_p()
        if self.is_null or self.element_type == "string":
            raise TypeError("Only arrays and scalars of plain elements can be written in place.")
        self._handle = _library.mutable_data(self._handle, ctypes.byref(stored))
        return self._array_at(stored.value, keeper=self)

    def _array_at(self, data, keeper):
        dtype, shape = ELEMENT_TYPES[self.element_type][1], self.shape
        size = dtype.itemsize * int(np.prod(shape, dtype=object))
        if size == 0:
            return np.empty(shape, dtype)
        if np.prod(shape, dtype=object) > _library.allocated(self._handle):
            raise IndexError("Indices out of bounds.")
        memory = (ctypes.c_char * size).from_address(data)
        memory.keeper = keeper
        return np.frombuffer(memory, dtype).reshape(shape, order=self.order)

    def _texts(self, data):
        count = min(int(np.prod(self.shape, dtype=object)), _library.allocated(self._handle))
        texts = (_Text * count).from_address(data) if count else ()
        array = np.empty(count, dtype=object)
        array[:] = [ctypes.string_at(text.characters, text.size).decode() for text in texts]
        return array.reshape(self.shape, order=self.order)

    def __array__(self, dtype=None):
        return np.asarray(self.numpy(), dtype)

    def __getitem__(self, index):
        """As NumPy indexes: an element, or a view of the elements."""
        element = self.numpy()[index]
        return element.item() if isinstance(element, np.generic) and element.dtype.fields is None else element

    def __len__(self):
        return len(self.numpy())

    def convert(self, element_type, mode="cast"):
        """The same shape in another element type, given by its name or a dtype. Raises TypeError when refused."""
        handle = _library.convert(self._handle, _code_of(element_type), _MODES[mode])
        if handle is None:
            raise TypeError(f"Cannot convert {self.element_type} to {element_type} in the mode {mode}.")
        return Variant.adopt(handle)

    def reordered(self, order):
        """The same values stored row-major ("C") or column-major ("F")."""
        return self._consume(lambda handle: _library.reorder(handle, "CF".index(order)))

    def reshaped(self, shape, order="C"):
        """A new array of the first elements in storage order; elements without a source are default."""
        return self._consume(
            lambda handle: _library.reshape(self._handle, handle, _Dimensions.of(shape), "CF".index(order))
        )

    def as_complex(self):
        """A view of the same data as complex numbers, pairs along the fastest dimension."""
        return self._view(_library.view_as_complex)

    def as_real(self):
        """A view of the same data as real numbers."""
        return self._view(_library.view_as_real)

    def _consume(self, call):
        """The result of a call that consumes the reference that it is given, but for when it fails."""
        copy = self.__copy__()
        result = call(copy._handle)
        copy._handle = None
        return Variant.adopt(result)

    def _view(self, call):
        """As _consume, but the reference is consumed also when the call fails, unless the view itself has no memory."""
        handle = _library.copy(self._handle)
        try:
            return Variant.adopt(call(handle))
        except MemoryError as error:
            if str(error) == "std::bad_alloc":
                _library.destruct(handle)
            raise

    def is_identical_to(self, other):
        return _library.is_identical(self._handle, other._handle)

    def is_equivalent_to(self, other, mode="cast"):
        return _library.is_equivalent(self._handle, other._handle, _MODES[mode])

    def __eq__(self, other):
        return isinstance(other, Variant) and self.is_identical_to(other)

    __hash__ = None

    def __repr__(self):
        if self.is_null:
            return "Variant(None)"
        elements = np.array2string(self.numpy(), separator=", ", threshold=20)
        return f"Variant({elements}, {self.element_type!r})"


def _texts(array, order):
    """The address of std::string objects that look at the texts of the array, and what keeps them alive."""
    encoded = [str(text).encode() for text in array.flatten(order)]
    texts = (_Text * len(encoded))()
    for text, characters in zip(texts, encoded):
        text.characters = ctypes.cast(ctypes.c_char_p(characters), ctypes.c_void_p)
        text.size = len(characters)
    return ctypes.cast(texts, ctypes.c_void_p), (texts, encoded)
