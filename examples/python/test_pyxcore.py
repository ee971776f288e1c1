"""Tests of pyxcore.py: every element type, both directions, errors and lifetimes."""
import copy
import gc
import os
import sys
import unittest

import numpy as np

sys.path.insert(0, os.path.dirname(__file__))
from pyxcore import DURATION, ELEMENT_TYPES, TIME_POINT, Record, Variant


def samples(name):
    """Six different elements in a 2 by 3 array."""
    dtype = ELEMENT_TYPES[name][1]
    if dtype == object:
        return np.array([["a", "b" * 40, ""], ["ä", "x\0y", "z"]], dtype=object)
    array = np.zeros((2, 3), dtype)
    for field in dtype.names or [None]:
        part = array if field is None else array[field]
        part[...] = np.arange(6).reshape(2, 3) + (0 if field is None else len(field))
    return array


class PyxCore(unittest.TestCase):
    def test_every_element_type_goes_there_and_back(self):
        self.assertEqual(len(ELEMENT_TYPES), 25)
        for name, (_, dtype) in ELEMENT_TYPES.items():
            for order in "CF":
                array = np.asarray(samples(name), order=order)
                value = Variant(array, name)
                self.assertEqual((value.element_type, value.shape, value.order, value.numpy().dtype),
                                 (name, (2, 3), order, dtype))
                np.testing.assert_array_equal(value.numpy(), array)
                if dtype != object:
                    self.assertEqual(Variant(array).element_type, name)
            scalar = Variant(samples(name)[1, 2], name)
            self.assertEqual((scalar.shape, scalar.element_type), ((), name))
            np.testing.assert_array_equal(scalar.numpy(), samples(name)[1, 2])

    def test_arrays_look_at_the_data_and_keep_them(self):
        value = Variant(np.arange(4, dtype="i4"))
        array = value.numpy()
        self.assertTrue(np.shares_memory(array, value.numpy()) and not array.flags.writeable)
        value.writable()[:] = 9
        other = copy.copy(value)
        view = value.writable()
        view[:] = 7
        del value
        gc.collect()
        self.assertEqual((array.tolist(), other.numpy().tolist(), view.tolist()), ([0, 1, 2, 3], [9] * 4, [7] * 4))

    def test_handles_move_between_modules(self):
        value = Variant(np.arange(4, dtype="i4"))
        shared = Variant.share(value.release())
        self.assertEqual(shared.numpy().tolist(), [0, 1, 2, 3])
        record = Record()
        for error, kind in ((KeyError("k"), b"out_of_range"), (MemoryError("m" * 300), b"bad_alloc"),
                            (ValueError("ä"), b"invalid_argument"), (OSError("f"), b"runtime_error")):
            record.fill(error)
            self.assertEqual((record.kind, record.message), (kind, str(error).encode()[:199]))

    def test_operations(self):
        grid = Variant(np.arange(6.0).reshape(2, 3))
        self.assertEqual(grid.convert("int32").numpy().tolist(), [[0, 1, 2], [3, 4, 5]])
        self.assertEqual(grid.convert(str, "castOrText")[1, 2], "5.0")
        turned = grid.reordered("F")
        self.assertEqual((turned.order, turned[1, 0]), ("F", 3))
        self.assertTrue(grid.is_equivalent_to(turned) and grid != turned and grid == turned.reordered("C"))
        self.assertEqual(grid.reshaped((3, 2))[2].tolist(), [4, 5])
        self.assertEqual(Variant([1.0, 2.0]).as_complex()[0], 1 + 2j)
        self.assertEqual(Variant([1 + 2j]).as_real().numpy().tolist(), [1, 2])
        self.assertEqual(repr(Variant(np.arange(2, dtype="i2"))), "Variant([0, 1], 'int16')")
        self.assertEqual(repr(Variant()), "Variant(None)")
        self.assertEqual((np.asarray(grid) * 2)[1, 1], 8)
        self.assertEqual(len(grid), 2)

    def test_failures_are_natural_exceptions(self):
        numbers = Variant([1.5])
        self.assertRaises(TypeError, numbers.convert, DURATION)
        self.assertRaises(TypeError, numbers.convert, "int32", "exact")
        self.assertRaises(TypeError, Variant, np.zeros(2, "f2"))
        self.assertRaisesRegex(ValueError, "without dimensions", Variant().as_complex)
        self.assertRaisesRegex(RuntimeError, "not allowed", numbers.as_complex().reshaped, (1,))
        self.assertRaises(MemoryError, numbers.reshaped, (2**60,))
        self.assertRaises(IndexError, lambda: numbers[1])
        self.assertRaises(ValueError, Variant().numpy)
        self.assertEqual(Variant(np.zeros((0, 3))).numpy().shape, (0, 3))
        self.assertNotEqual(Variant(np.zeros(1, TIME_POINT), "timePoint"), Variant(np.zeros(1, DURATION), "duration"))


if __name__ == "__main__":
    unittest.main()
