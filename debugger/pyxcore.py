"""Shows the objects of PyxCore in gdb as what they hold: values by type, shape and elements, trees as trees, paths and
interned texts as their text.

    (gdb) source debugger/pyxcore.py
    (gdb) print grid
    $1 = double[2, 3] = {1, 2, 3, 4, 5, 6}

Values are asked by the operations of their data objects, so the program must be running; only the thread at hand runs
meanwhile. Nothing need be known of the classes behind them, of which the library carries no debug information.
"""
import contextlib
import re

import gdb
import gdb.printing

NAMESPACE = "Quorvane::Pyx::"
ROW_MAJOR = 0

# The places of the operations of IVariantData, which are fixed, behind the two of its destructor; and their results.
OPERATIONS = {
    "numberAllocatedElements": (5, "unsigned long"),
    "dimensions": (6, NAMESPACE + "ArrayDimensionsView"),
    "isScalarStorage": (7, "bool"),
    "dataOrdering": (8, "unsigned int"),
    "wellKnownDataType": (9, NAMESPACE + "WellKnownType"),
    "storedTypeInfo": (10, "void*"),
    "constStoredData": (15, "void*"),
}


def ask(data, operation):
    """The result of an operation of the data object at this address."""
    operations = require_data_object(int(data))
    place, result = OPERATIONS[operation]
    function = word_at(operations + 8 * place)
    with contextlib.ExitStack() as settings:
        for name, wanted in (("language", "c++"), ("scheduler-locking", "on"), ("unwindonsignal", "on")):
            settings.enter_context(gdb.with_parameter(name, wanted))
        return gdb.parse_and_eval(f"(({result} (*)(void*)){function})((void*){int(data)})")


def require_data_object(address):
    """The table of operations of a data object. Raises gdb.error for other memory, as that of a variable without a
    value yet, since what stands there must not be called."""
    operations = word_at(address)
    if not class_name(word_at(operations - 8)).startswith("N8Quorvane3Pyx8Internal"):
        raise gdb.error("no data object")
    return operations


def class_name(information):
    """The mangled name in the std::type_info at the address."""
    name = gdb.Value(word_at(information + 8)).cast(gdb.lookup_type("char").pointer())
    return name.string("latin-1", errors="replace", length=-1).lstrip("*")


def word_at(address):
    return int(next(read(address, "unsigned long", 1)))


def read(address, built_in, count):
    """Elements of a built-in type."""
    pointer = gdb.Value(int(address)).cast(gdb.lookup_type(built_in).pointer())
    return (pointer[i] for i in range(count))


def lengths_of(view):
    return [int(length) for length in read(view["lengths_"], "unsigned long", int(view["count_"]))]


def type_name(well_known_type):
    """The name of the element type, as its enumerator spells it."""
    return str(well_known_type["value_"]).rpartition("::")[2].rstrip("_")


def component_of(name):
    """The built-in C++ type of an element or of its components, from the name of a number type."""
    component = name.removeprefix("complex")
    integer = re.fullmatch(r"(unsigned)?Int(8|16|32|64)", component, re.I)
    if integer is None:
        return component.lower()
    width = {"8": "char", "16": "short", "32": "int", "64": "long long"}[integer[2]]
    return ("unsigned " if integer[1] else "signed ") + width


def elements_of(name, data, count):
    """The texts of the first elements of a data object, one by one."""
    stored = int(ask(data, "constStoredData"))
    if name == "customType":
        yield from custom_elements(data, stored, count)
    elif name == "string":
        # A pointer, a length, and sixteen bytes for short texts.
        for start in range(stored, stored + 32 * count, 32):
            characters, length = (int(word) for word in read(start, "unsigned long", 2))
            yield repr(gdb.Value(characters).cast(gdb.lookup_type("char").pointer()).string(length=length))
    elif name in ("duration", "timePoint"):
        for start in range(stored, stored + 16 * count, 16):
            yield "(%d, %d)" % tuple(read(start, "unsigned long", 2))
    else:
        is_complex = name.startswith("complex")
        numbers = read(stored, component_of(name), count * (2 if is_complex else 1))
        texts = (number_text(number) for number in numbers)
        yield from (f"({real},{imaginary})" for real, imaginary in zip(texts, texts)) if is_complex else texts


def number_text(number):
    # Integers of one byte would be shown as characters.
    return str(int(number)) if number.type.sizeof == 1 and number.type.code == gdb.TYPE_CODE_INT else str(number)


def custom_class(data):
    """The name of the class of custom elements."""
    information = int(ask(data, "storedTypeInfo"))
    demangled = gdb.execute(f"demangle -- _ZTI{class_name(information)}", to_string=True)
    return demangled.strip().removeprefix("typeinfo for ")


def custom_elements(data, stored, count):
    try:
        pointer = gdb.Value(stored).cast(gdb.lookup_type(custom_class(data)).pointer())
    except gdb.error:
        return
    yield from (pointer[i].format_string() for i in range(count))


class ValuePrinter:
    """ZVariant and ZVariantAbi: `double 42`, `double[2, 3] = {1, 2, 3, 4, 5, 6}`."""

    def __init__(self, value):
        self.data = value["storage_"]["variantData"]

    def to_string(self):
        if int(self.data) == 0:
            return "moved from"
        try:
            return self.summary()
        except gdb.error as error:
            return f"<{str(error).splitlines()[0]}>"

    def summary(self):
        name = self.name()
        if name == "unknown":
            return "null"
        title = custom_class(self.data) if name == "customType" else name
        if self.is_scalar():
            return f"{title} {next(elements_of(name, self.data, 1), '')}".strip()
        ordering = "" if int(ask(self.data, "dataOrdering")) == ROW_MAJOR else " column-major"
        return f"{title}{self.shape()}{ordering}"

    def children(self):
        try:
            if int(self.data) == 0 or self.name() == "unknown" or self.is_scalar():
                return
            shown = 1 if self.shape() else 0
            for length in self.shape():
                shown *= length
            # The number of elements may wrap, and a shape may promise more than there are.
            count = min(shown % 2**64, int(ask(self.data, "numberAllocatedElements")))
            for i, text in enumerate(elements_of(self.name(), self.data, count)):
                yield f"[{i}]", text
        except gdb.error:
            # The summary has told it.
            return

    def name(self):
        return type_name(ask(self.data, "wellKnownDataType"))

    def is_scalar(self):
        return bool(ask(self.data, "isScalarStorage"))

    def shape(self):
        return lengths_of(ask(self.data, "dimensions"))

    def display_hint(self):
        return "array"


def interned_text(value):
    view = value["view_"]
    return None if int(view["_M_str"]) == 0 else view["_M_str"].string(length=int(view["_M_len"]))


class InternedStringPrinter:
    def __init__(self, value):
        self.text = interned_text(value)

    def to_string(self):
        return "no text" if self.text is None else self.text

    def display_hint(self):
        return None if self.text is None else "string"


def alternative(variant):
    """The alternative that a std::variant holds; None when it is valueless."""
    index = int(variant["_M_index"])
    held = variant["_M_u"]
    try:
        for _ in range(index):
            held = held["_M_rest"]
        # The alternative itself, or a buffer in which it stands.
        stored = held["_M_first"]["_M_storage"]
    except gdb.error:
        return None
    return stored.address.cast(variant.type.strip_typedefs().template_argument(index).pointer()).dereference()


def vector_elements(vector):
    start, finish = vector["_M_impl"]["_M_start"], vector["_M_impl"]["_M_finish"]
    return (start[i] for i in range(int(finish - start)))


class NodePrinter:
    """A node of either tree: what it holds."""

    def __init__(self, value):
        self.content = value["content_"]

    def to_string(self):
        content = self.content
        if has_field(content, "_M_ptr"):
            if int(content["_M_ptr"]) == 0:
                return "null"
            content = content["_M_ptr"]["content"]
        held = alternative(content)
        return "null" if held is None or held.type.strip_typedefs().name == "std::monostate" else held


def has_field(value, name):
    """Of its class or of a base of it."""
    try:
        value[name]
        return True
    except gdb.error:
        return False


class ListPrinter:
    """A list of either tree."""

    def __init__(self, value):
        self.nodes = entries_of(value, "nodes")

    def to_string(self):
        return "list" if self.nodes else "empty list"

    def children(self):
        yield from ((f"[{i}]", node) for i, node in enumerate(self.nodes))

    def display_hint(self):
        return "array"


class MapPrinter:
    """A map of either tree."""

    def __init__(self, value):
        self.entries = entries_of(value, "entries")

    def to_string(self):
        return "map" if self.entries else "empty map"

    def children(self):
        for i, entry in enumerate(self.entries):
            yield f"[{i}].key", entry["key"]
            yield f"[{i}].value", entry["value"]

    def display_hint(self):
        return "map"


def entries_of(value, name):
    """The vector `name_` of a working list or map, or `name` behind the handle of a frozen one."""
    if has_field(value, name + "_"):
        return list(vector_elements(value[name + "_"]))
    data = value["data_"]["_M_ptr"]
    return [] if int(data) == 0 else list(vector_elements(data[name]))


class PathPrinter:
    def __init__(self, value):
        self.steps = [alternative(segment["step_"]) for segment in vector_elements(value["segments_"])]

    def to_string(self):
        return "{" + ", ".join(interned_text(step) if step.type.code == gdb.TYPE_CODE_STRUCT else str(int(step))
                               for step in self.steps) + "}"


class TypePrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return type_name(self.value)


class ShapePrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return str(lengths_of(self.value))


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("PyxCore")
    for classes, printer in (
        ("ZVariantGeneric<.*>", ValuePrinter),
        ("InternedString", InternedStringPrinter),
        ("F?PropertyNode", NodePrinter),
        ("F?PropertyList", ListPrinter),
        ("F?PropertyMap", MapPrinter),
        ("PropertyPath", PathPrinter),
        ("WellKnownType", TypePrinter),
        ("ArrayDimensionsView", ShapePrinter),
    ):
        collection.add_printer(printer.__name__, f"^{NAMESPACE}{classes}$", printer)
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
