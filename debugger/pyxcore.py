"""Shows the objects of PyxCore in gdb as what they hold: values by type, shape and elements, trees as trees, paths and
interned texts as their text.

    (gdb) source debugger/pyxcore.py
    (gdb) print grid
    $1 = double[2, 3] = {1, 2, 3, 4, 5, 6}

Nothing is called in the program, so a core file serves as well. The library carries no debug information: a data object
tells its class by the std::type_info beside its table of operations, and its members are known by their places.
"""
import math
import re
import struct
import typing

import gdb
import gdb.printing

NAMESPACE = "Quorvane::Pyx::"
ROW_MAJOR = 0

# The memory of the classes behind values, as far as it is read, in the notation of the module struct without padding.
# It is the same for all element types; an element inside an object stands behind it, at the next place that is aligned
# for it.
VECTOR = "QQ8x"
LAYOUTS = {
    "NullVariantData": "8x",
    "InlineScalar": "8x",
    "ScalarVariantDataRefCounted": "12x",
    # The number of elements, dimensions, ordering.
    "VectorVariantData": f"16x Q {VECTOR} I 12x",
    # Elements, dimensions, ordering.
    "StdVectorVariantData": f"16x {VECTOR} {VECTOR} I",
    # The data object behind, dimensions.
    "TransmuteRealToComplexVariant": f"16x Q {VECTOR}",
    "TransmuteComplexToRealVariant": f"16x Q {VECTOR}",
    # The client, snapshot.
    "ExternalVariantStorageAdaptor": "16x Q 24x Q",
    # The first element, dimensions, ordering.
    "ExternalBuffer": f"64x Q {VECTOR} I",
}

# By the C++ type: the name of the element type, and its memory.
NUMBERS = {
    "double": ("double", "d"),
    "float": ("float", "f"),
    "signed char": ("int8", "b"),
    "short": ("int16", "h"),
    "int": ("int32", "i"),
    "long long": ("int64", "q"),
    "bool": ("bool", "?"),
    "unsigned char": ("unsignedInt8", "B"),
    "unsigned short": ("unsignedInt16", "H"),
    "unsigned int": ("unsignedInt32", "I"),
    "unsigned long long": ("unsignedInt64", "Q"),
}
COMPLEX_OF = {number: f"std::complex<{number}>" if code in "df" else f"{NAMESPACE}Complex<{number}, void>"
              for number, (_, code) in NUMBERS.items()}
COMPONENT_OF = {complex_number: number for number, complex_number in COMPLEX_OF.items()}
ELEMENT_TYPES = {
    **NUMBERS,
    **{COMPLEX_OF[number]: ("complex" + name[0].upper() + name[1:], 2 * code)
       for number, (name, code) in NUMBERS.items()},
    # Where the characters are, their number, and room for short texts.
    "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >": ("string", "QQ16x"),
    NAMESPACE + "Duration": ("duration", "QQ"),
    NAMESPACE + "TimePoint": ("timePoint", "QQ"),
}

# Memory without a value yet may promise a text or a list of any length.
LONGEST_SHOWN = 1000


class KnownType:
    """An element type of the library."""

    def __init__(self, name, layout):
        self.name, self.layout = name, layout
        self.size = struct.calcsize("<" + layout)
        self.alignment = struct.calcsize("<" + layout[0])

    def text(self, address):
        parts = read(address, self.layout)
        if self.name == "string":
            return repr(text_at(*parts))
        texts = [number_text(part, self.layout[0]) for part in parts]
        return texts[0] if len(texts) == 1 else f"({','.join(texts)})"


def number_text(number, code):
    if code == "?":
        return "true" if number else "false"
    return {"d": "%.17g", "f": "%.9g"}.get(code, "%d") % number


class CustomType:
    """A class of a client; of size 0 without debug information of it."""

    def __init__(self, name):
        self.name = name
        try:
            self.type = gdb.lookup_type(name)
            self.size, self.alignment = self.type.sizeof, self.type.alignof or 1
        except gdb.error:
            self.size, self.alignment = 0, 1

    def text(self, address):
        return value_at(address, self.type).format_string()


def element_type(name):
    return KnownType(*ELEMENT_TYPES[name]) if name in ELEMENT_TYPES else CustomType(name)


class Data(typing.NamedTuple):
    """What a data object holds."""

    element: str  # the C++ type
    shape: typing.Optional[typing.List[int]]  # None for a scalar
    ordering: int
    address: int  # of the first element
    count: int  # of the elements in memory


def data_at(address, otherwise="no data object"):
    """What the data object at the address holds; None for a null. Raises gdb.error with the text for other memory."""
    kind, element = class_at(address)
    if kind not in LAYOUTS:
        raise gdb.error(otherwise)
    members = read(address, LAYOUTS[kind])
    behind = address + struct.calcsize("<" + LAYOUTS[kind])
    if kind == "NullVariantData":
        return None
    if "Scalar" in kind:
        alignment = element_type(element).alignment
        return Data(element, None, ROW_MAJOR, -(-behind // alignment) * alignment, 1)
    if kind.startswith("Transmute"):
        data, *dimensions = members
        return view_of(data_at(data), kind == "TransmuteRealToComplexVariant", words_in(*dimensions))
    if kind == "ExternalVariantStorageAdaptor":
        client, snapshot = members
        return data_at(client, "elements in a client's storage") if client else data_at(snapshot)
    if kind == "VectorVariantData":
        count, *dimensions, ordering = members
        return Data(element, words_in(*dimensions), ordering, behind, count)
    if kind == "StdVectorVariantData":
        first, end, *dimensions, ordering = members
        count = (end - first) // max(element_type(element).size, 1)
        return Data(element, words_in(*dimensions), ordering, first, count)
    # An ExternalBuffer, which has all that its shape shows, and the class of its values as a second argument.
    first, *dimensions, ordering = members
    shape = words_in(*dimensions)
    return Data(element.partition(f", {NAMESPACE}ZVariant")[0], shape, ordering, first, math.prod(shape))


def view_of(data, is_complex, shape):
    """The data as complex or as real numbers; such that are so already, or no numbers, as they are."""
    element = (COMPLEX_OF if is_complex else COMPONENT_OF).get(data.element, data.element)
    count = data.count // 2 if is_complex else data.count * 2
    if element == data.element:
        count = min(count, data.count)
    return data._replace(element=element, shape=shape, count=count)


def class_at(address):
    """The names of the class of an object and of its template arguments; empty ones for no class of the library."""
    try:
        information = word_at(word_at(address) - 8)
        mangled = value_at(word_at(information + 8), gdb.lookup_type("char")).address.string("latin-1", "replace")
    except gdb.error:
        return "", ""
    # Classes that are known in one file alone are marked by an asterisk.
    mangled = re.fullmatch(r"\*?(N8Quorvane3Pyx[\w.$]+)", mangled)
    demangled = mangled and gdb.execute(f"demangle -l c++ -- _ZTI{mangled[1]}", to_string=True)
    names = demangled and re.fullmatch(rf"typeinfo for {NAMESPACE}(?:Internal::)?(\w+)(?:<(.*?) ?>)?\n", demangled)
    return names.groups("") if names else ("", "")


def value_at(address, value_type):
    return gdb.Value(address % 2**64).cast(value_type.pointer()).dereference()


def read(address, layout):
    layout = "<" + layout
    return struct.unpack(layout, gdb.selected_inferior().read_memory(address % 2**64, struct.calcsize(layout)))


def word_at(address):
    return read(address, "Q")[0]


def words_in(start, end):
    return [word_at(address) for address in range(start, end, 8)[:LONGEST_SHOWN]]


def text_at(address, length):
    shown = min(length, LONGEST_SHOWN)
    text = bytes(gdb.selected_inferior().read_memory(address, shown)) if shown else b""
    text = text.decode("utf-8", "backslashreplace") + ("..." if length > shown else "")
    # gdb refuses characters that its terminal cannot show.
    return text.encode(gdb.host_charset(), "backslashreplace").decode(gdb.host_charset())


class ValuePrinter:
    """ZVariant and ZVariantAbi: `double 42`, `double[2, 3] = {1, 2, 3, 4, 5, 6}`."""

    def __init__(self, value):
        self.count = 0
        address = int(value["storage_"]["variantData"])
        data = data_at(address) if address else None
        if data is None:
            self.title = "null" if address else "moved from"
            return
        self.element, self.first = element_type(data.element), data.address
        self.title = self.element.name
        if data.shape is None:
            self.title += f" {self.element.text(data.address)}" if self.element.size else ""
            return
        self.title += str(data.shape) + ("" if data.ordering == ROW_MAJOR else " column-major")
        if data.shape and self.element.size:
            # The number of elements may wrap, and a shape may promise more than there are.
            self.count = min(math.prod(data.shape) % 2**64, data.count)

    def to_string(self):
        return self.title

    def children(self):
        try:
            for i in range(self.count):
                yield f"[{i}]", self.element.text(self.first + i * self.element.size)
        except gdb.error as error:
            yield "[...]", reason(error)

    def display_hint(self):
        return "array"


class InternedStringPrinter:
    def __init__(self, value):
        self.text = interned_text(value)

    def to_string(self):
        return "no text" if self.text is None else self.text

    def display_hint(self):
        return None if self.text is None else "string"


def interned_text(value):
    view = value["view_"]
    return None if int(view["_M_str"]) == 0 else text_at(int(view["_M_str"]), int(view["_M_len"]))


def alternative(variant):
    """The alternative that a std::variant holds. Raises gdb.error for one without a value."""
    index = int(variant["_M_index"])
    held = variant["_M_u"]
    try:
        for _ in range(index):
            held = held["_M_rest"]
        # The alternative itself, or a buffer in which it stands.
        stored = held["_M_first"]["_M_storage"]
    except gdb.error:
        raise gdb.error("no value") from None
    return stored.address.cast(variant.type.strip_typedefs().template_argument(index).pointer()).dereference()


def vector_elements(vector):
    """The first element, and how many there are."""
    first, end = vector["_M_impl"]["_M_start"], vector["_M_impl"]["_M_finish"]
    return first, int(end - first)


class TextPrinter:
    def __init__(self, text):
        self.text = text

    def to_string(self):
        return self.text


def node_printer(value):
    """For a node of either tree: what it holds."""
    content = value["content_"]
    if has_field(content, "_M_ptr"):
        if int(content["_M_ptr"]) == 0:
            return TextPrinter("null")
        content = content["_M_ptr"]["content"]
    held = alternative(content)
    return TextPrinter("null" if held.type.strip_typedefs().name == "std::monostate" else held)


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
        self.first, self.count = entries_of(value, "nodes")

    def to_string(self):
        return "list" if self.count > 0 else "empty list"

    def children(self):
        yield from ((f"[{i}]", self.first[i]) for i in range(self.count))

    def display_hint(self):
        return "array"


class MapPrinter:
    """A map of either tree."""

    def __init__(self, value):
        self.first, self.count = entries_of(value, "entries")

    def to_string(self):
        return "map" if self.count > 0 else "empty map"

    def children(self):
        for i in range(self.count):
            yield f"[{i}].key", self.first[i]["key"]
            yield f"[{i}].value", self.first[i]["value"]

    def display_hint(self):
        return "map"


def entries_of(value, name):
    """The vector `name_` of a working list or map, or `name` behind the handle of a frozen one."""
    if has_field(value, name + "_"):
        return vector_elements(value[name + "_"])
    data = value["data_"]["_M_ptr"]
    return vector_elements(data[name]) if int(data) else (None, 0)


def path_printer(value):
    first, count = vector_elements(value["segments_"])
    steps = (alternative(first[i]["step_"]) for i in range(min(count, LONGEST_SHOWN)))
    texts = (interned_text(step) if step.type.code == gdb.TYPE_CODE_STRUCT else str(int(step)) for step in steps)
    return TextPrinter("{" + ", ".join(texts) + "}")


def type_printer(value):
    """Of an element type: its name, as its enumerator spells it."""
    return TextPrinter(str(value["value_"]).rpartition("::")[2].rstrip("_"))


def shape_printer(value):
    first = int(value["lengths_"])
    return TextPrinter(str(words_in(first, first + 8 * int(value["count_"]))))


def harmless(printer):
    """Memory that cannot be read, as that of a variable without a value yet, is shown as the reason for that."""

    def construct(value):
        try:
            return printer(value)
        except gdb.error as error:
            return TextPrinter(reason(error))

    return construct


def reason(error):
    return f"<{str(error).splitlines()[0]}>"


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("PyxCore")
    for classes, printer in (
        ("ZVariantGeneric<.*>", ValuePrinter),
        ("InternedString", InternedStringPrinter),
        ("F?PropertyNode", node_printer),
        ("F?PropertyList", ListPrinter),
        ("F?PropertyMap", MapPrinter),
        ("PropertyPath", path_printer),
        ("WellKnownType", type_printer),
        ("ArrayDimensionsView", shape_printer),
    ):
        # A module with another standard library has the classes in a namespace with a longer name.
        collection.add_printer(classes, rf"^Quorvane::Pyx\w*::{classes}$", harmless(printer))
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
