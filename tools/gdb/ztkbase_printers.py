"""How gdb shows the values of ztkbase: strings as text, containers by their elements.

Where a package put this file, gdb loads it by itself. Otherwise:

    (gdb) source ztkbase_printers.py

A printer reads fields only and calls nothing in the program, so it works on a core file too. What
is damaged shows as gdb's own error for that value.
"""

import datetime

import gdb
import gdb.printing
import gdb.types


class StringPrinter:
    """ZTKString: its text, up to the first NUL."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        text = self.value["m_pBuffer"]
        return text.lazy_string() if int(text) != 0 else ""

    def display_hint(self):
        return "string"


def text_of(value):
    """The text of a ZTKString as a Python string."""
    text = value["m_pBuffer"]
    return text.string(errors="replace") if int(text) != 0 else ""


# Most compilers leave the description of a polymorphic class to the library, which may have none.
# What cannot be read by its name is then read by its place, in words, which the library promises.


def words(pointer):
    return pointer.cast(gdb.lookup_type("unsigned long").pointer())


def field(value, name, place):
    try:
        return value[name]
    except gdb.error:
        return words(value.address)[place]


def elements_of(items, count):
    """`count` pointers, the first of which `items` points to."""
    items = items.cast(gdb.lookup_type("void").pointer().pointer())
    return (items[i] for i in range(count))


def list_data(node, count):
    """What `count` nodes hold. Ends where a broken chain does."""
    data = gdb.lookup_type("void").pointer()
    for _ in range(count):
        if int(node) == 0:
            return
        yield words(node)[1].cast(data)
        node = words(node)[2]


class Inner:
    """The ZTKPtrArr behind a string array or an array of line types; it may be missing."""

    def __init__(self, pointer):
        self.words = words(pointer)
        self.count = int(self.words[2]) if int(pointer) != 0 else 0

    def elements(self, type_name):
        """The elements; null in a place whose element was destroyed."""
        if self.count == 0:
            return
        element = gdb.lookup_type(type_name).pointer()
        for item in elements_of(self.words[3], self.count):
            yield item.cast(element).dereference() if int(item) != 0 else item


class ArrayPrinter:
    """An array: the number of its elements, and the elements."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return f"{self.name()} of {self.count()}"

    def children(self):
        return ((f"[{i}]", element) for i, element in enumerate(self.elements()))

    def display_hint(self):
        return "array"

    def name(self):
        return gdb.types.get_basic_type(self.value.type).name


class PtrArrPrinter(ArrayPrinter):
    def count(self):
        return int(field(self.value, "m_nCount", 2))

    def elements(self):
        return elements_of(field(self.value, "m_ppItems", 3), self.count())


class StringArrayPrinter(ArrayPrinter):
    def count(self):
        return Inner(field(self.value, "m_pInner", 1)).count

    def elements(self):
        return Inner(field(self.value, "m_pInner", 1)).elements("ZTKString")


class LinesTypePrinter(ArrayPrinter):
    def count(self):
        return Inner(field(self.value, "m_pInner", 1)).count

    def elements(self):
        return Inner(field(self.value, "m_pInner", 1)).elements("ZTKTextFileType")


class ListPrinter(ArrayPrinter):
    def count(self):
        return int(field(self.value, "m_nCount", 1))

    def elements(self):
        return list_data(field(self.value, "m_pHead", 3), self.count())


class MapPrinter:
    """ZTKMap and ZTKPtrMap: keys and values in the order of insertion."""

    def __init__(self, value):
        self.value = value
        self.table = words(field(value, "m_pEntries", 2))  # None after EraseAll.

    def to_string(self):
        return f"{gdb.types.get_basic_type(self.value.type).name} of {self.count()}"

    def children(self):
        for i, entry in enumerate(self.entries()):  # The key, then the value.
            yield f"[{2 * i}]", entry[0]
            yield f"[{2 * i + 1}]", entry[1].cast(self.value_type())

    def display_hint(self):
        return "map"

    def count(self):
        return int(self.table[7]) if int(self.table) != 0 else 0

    def entries(self):
        """Each entry leads to the next; the lowest bit of that word is a mark."""
        if self.count() == 0:
            return
        entry = words(self.table[5])
        for _ in range(self.count()):
            if int(entry) == 0:
                return
            yield entry
            entry = words(entry[5] & ~1)

    def value_type(self):
        basic = gdb.types.get_basic_type(self.value.type)
        if basic.name in ("ZTKMap", "ZTKPtrMap"):
            basic = basic.fields()[0].type
        return basic.template_argument(0)


class FileNamePrinter:
    """ZTKFileName: its path with slashes, and the parts."""

    def __init__(self, value):
        string = gdb.lookup_type("ZTKString").pointer()
        try:
            self.volume, self.name, self.ext = value["m_volume"], value["m_name"], value["m_ext"]
            inner = field(value["m_dirs"], "m_pInner", 1)
            self.relative = value["m_bRelative"]
        except gdb.error:  # Three strings, an array of two words and a truth value.
            first = value.address.cast(string)
            self.volume, self.name, self.ext = (first[i] for i in range(3))
            array = words(first + 3)
            inner = array[1]
            self.relative = (array + 2).cast(gdb.lookup_type("bool").pointer()).dereference()
        # Null stands in a place whose string was destroyed.
        strings = Inner(inner).elements("ZTKString")
        self.directories = [one for one in strings if one.type.code != gdb.TYPE_CODE_PTR]

    def to_string(self):
        volume, name, ext = (text_of(part) for part in (self.volume, self.name, self.ext))
        path = "" if self.relative else "/"
        path += "".join(text_of(directory) + "/" for directory in self.directories)
        path += name + ("." + ext if ext else "")
        return f"{volume}:{path}" if volume else path

    def children(self):
        yield "volume", self.volume
        for i, directory in enumerate(self.directories):
            yield f"dirs[{i}]", directory
        yield "name", self.name
        yield "ext", self.ext
        yield "relative", self.relative


class DateTimePrinter:
    """ZTKDateTime: the date and the time, UTC, as the class reads them from its value."""

    MILLISECONDS_OF_A_DAY = 86_400_000  # A value is its seconds times these, and milliseconds.

    def __init__(self, value):
        self.value = value

    def to_string(self):
        value = int(self.value["m_nValue"])
        seconds, rest = divmod(abs(value), self.MILLISECONDS_OF_A_DAY)
        if value < 0:  # Counts towards zero.
            seconds, rest = -seconds, -rest
        try:
            point = datetime.datetime(1970, 1, 1) + datetime.timedelta(seconds=seconds)
        except OverflowError:
            return f"value {value}"
        milliseconds = abs(rest) % 1000 * (1 if rest >= 0 else -1)
        fraction = f".{milliseconds:03}" if milliseconds > 0 else ""
        if milliseconds < 0:
            fraction = f" and {milliseconds} ms"
        return f"{point:%Y-%m-%d %H:%M:%S}{fraction} UTC"


def build_printers():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("ztkbase")
    for name, printer in (
        ("ZTKString", StringPrinter),
        ("ZTKPtrArr|ZTKArrayEntries|ZTKArrayGroups", PtrArrPrinter),
        ("ZTKStringArray", StringArrayPrinter),
        ("ZTKArrayLinesType", LinesTypePrinter),
        ("ZTKListBase", ListPrinter),
        ("ZTKMap|ZTKPtrMap|ZTKHashMap<.*>", MapPrinter),
        ("ZTKFileName", FileNamePrinter),
        ("ZTKDateTime", DateTimePrinter),
    ):
        printers.add_printer(name.split("|")[0], f"^({name})$", printer)
    return printers


gdb.printing.register_pretty_printer(gdb.current_objfile(), build_printers(), replace=True)
