"""A plugin in Python, and the program that loads the host as a library and hands it this plugin after others:

    PYTHONPATH=examples/python describe.py HOST_LIBRARY [PLUGIN_MODULE ...]
"""
import ctypes
import sys

from pyxcore import Record, Variant, flat_function


class Task(ctypes.Structure):
    _fields_ = [("grid", ctypes.c_void_p), ("paths", ctypes.c_void_p),
                ("values", ctypes.POINTER(ctypes.c_void_p)), ("setting_count", ctypes.c_uint64)]


class Result(ctypes.Structure):
    _fields_ = [("array", ctypes.c_void_p), ("text", ctypes.c_void_p)]


PluginFunction = ctypes.CFUNCTYPE(None, ctypes.POINTER(Record), ctypes.POINTER(Task), ctypes.POINTER(Result))


def describe(grid, settings):
    """The mean of each column, and a sentence about the row with the greatest sum."""
    stations, unit = settings["/stations"].numpy().tolist(), settings["/unit"].numpy().item()
    sums = grid.numpy().sum(axis=1)
    name = stations[sums.argmax()]
    return Variant(grid.numpy().mean(axis=0)), Variant(f"column means; most fell at {name}: {sums.max():g} {unit}")


@PluginFunction
def run_plugin(record, task, result):
    # An exception that left this function would be lost.
    try:
        task = task.contents
        paths = Variant.share(task.paths).numpy()
        settings = {path: Variant.share(task.values[i]) for i, path in enumerate(paths)}
        array, text = describe(Variant.share(task.grid), settings)
        result.contents.array, result.contents.text = array.release(), text.release()
    except Exception as error:  # pylint: disable=broad-except
        record.contents.fill(error)


def main():
    host = ctypes.CDLL(sys.argv[1])
    use_module = flat_function(host.useModule, None, ctypes.c_char_p)
    use_function = flat_function(host.useFunction, None, ctypes.c_char_p, PluginFunction)
    for module in sys.argv[2:]:
        use_module(module.encode())
    use_function(b"describe.py", run_plugin)


if __name__ == "__main__":
    main()
