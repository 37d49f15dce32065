"""Shows the library's handles and strings in gdb as what they hold: source tools/gdb/mw_printers.py"""

import gdb
import gdb.printing


class StringPrinter:
    """LightweightString<C>: its text, or "" for a null handle."""

    def __init__(self, value):
        self.impl = value["impl_"]["object_"]

    def to_string(self):
        if int(self.impl) == 0:
            return ""
        return self.impl["data_"].lazy_string(length=int(self.impl["length_"]))

    def display_hint(self):
        return "string"


class PtrPrinter:
    """Mw::Ptr<T>: null, or the object and how many share it."""

    def __init__(self, value):
        self.object = value["object_"]
        self.count = value["count_"]

    def to_string(self):
        if int(self.object) == 0:
            return "null"
        return "%s (count %d)" % (self.object.format_string(symbols=False), int(self.count.dereference()))

    def children(self):
        if int(self.object) != 0:
            yield "object", self.object.dereference()


def build():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("mw")
    printers.add_printer("LightweightString", "^LightweightString<.*>$", StringPrinter)
    printers.add_printer("Mw::Ptr", "^Mw::Ptr<.*>$", PtrPrinter)
    return printers


gdb.printing.register_pretty_printer(None, build(), replace=True)
