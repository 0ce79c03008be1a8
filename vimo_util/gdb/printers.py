# SPDX-License-Identifier: MIT
"""Shows objects of vimo_util in gdb, which loads this with the library.

The order of a queue is known only to the debug information of the library, so
that its requests show only if the library or its separate debug file has it.
"""

import itertools

import gdb
import gdb.printing


def read(value):
    """Reads `value` at once: an address that is wrong is then an error of this one child."""
    value.fetch_lazy()
    return value


def check(sound):
    """Ends what is shown of an object that is damaged or not made yet."""
    if not sound:
        raise gdb.MemoryError("not a sound object")


def owned(value):
    """The pointer to a class in a std::unique_ptr, however deep in it, or None."""
    kind = value.type.strip_typedefs()
    if kind.code == gdb.TYPE_CODE_PTR:
        return value if kind.target().strip_typedefs().code == gdb.TYPE_CODE_STRUCT else None
    found = (owned(value[field]) for field in kind.fields())
    return next((pointer for pointer in found if pointer is not None), None)


def slots(node, height):
    """The slots of the leaves below `node` of a RequestSequence, in order."""
    begin, end = int(node["begin"]), int(node["end"])
    check(height >= 0 and begin <= end <= 64)
    for i in range(begin, end):
        slot = node["slots"][i]
        yield from slots(slot["child"], height - 1) if height else [slot]


def elements(vector):
    """The length of a std::vector, and its elements with their names."""
    start, end = vector["_M_impl"]["_M_start"], vector["_M_impl"]["_M_finish"]
    length = int(end - start)
    check(length >= 0)
    return length, ((f"[{i}]", read(start[i])) for i in range(length))


class Printer:
    def __init__(self, value):
        self.value = value


class PrioritizedQueue(Printer):
    """Maps the priority under which a request was queued to the request, the head first."""

    def __init__(self, value):
        super().__init__(value)
        sequence = owned(value["requests"])
        self.sequence = sequence if sequence.dereference().type.fields() else None

    def to_string(self):
        shown = ", its head shown" if self.value["headShown"] else ""
        if self.sequence is None:
            return f"PrioritizedQueue{shown} <no debug information of the library>"
        return f"PrioritizedQueue of length {int(self.sequence['count'])}{shown}"

    def children(self):
        if self.sequence is None or self.sequence["count"] == 0:
            return
        count = 0
        waiting = slots(self.sequence["root"], int(self.sequence["height"]))
        for count, element in enumerate(waiting, 1):
            request = element["request"]
            yield f"[{count}] priority", read(element["priority"])
            yield f"[{count}] request", read(request.cast(request.dynamic_type).dereference())
        check(count == self.sequence["count"])

    def display_hint(self):
        return "map"


class RequestQueue(Printer):
    def to_string(self):
        return "RequestQueue"

    def children(self):
        yield "key", self.value["key"]
        yield "queue", read(self.value["queue"].dereference())


class CppProperties(Printer):
    def to_string(self):
        return "CppProperties" + (", modified" if self.value["modified"] else "")

    def children(self):
        entries = self.value["entries"]
        tree = entries["_M_t"]["_M_impl"]
        header = tree["_M_header"]
        check(tree["_M_node_count"] == 0 or header.address is None or
              header["_M_parent"]["_M_parent"] == header.address)
        printer = gdb.default_visualizer(entries)
        return printer.children() if printer else iter([("entries", entries)])

    def display_hint(self):
        return "map" if gdb.default_visualizer(self.value["entries"]) else None


class CommaSeparatedValues(Printer):
    def to_string(self):
        return f"CommaSeparatedValues of length {elements(self.value['rows'])[0]}"

    def children(self):
        for name, row in elements(self.value["rows"])[1]:
            yield name, read(row.dereference())


class Column(Printer):
    def to_string(self):
        return f"Column of length {elements(self.value['cells'])[0]}"

    def children(self):
        return elements(self.value["cells"])[1]

    def display_hint(self):
        return "array"


class File(Printer):
    def to_string(self):
        return "File"

    def children(self):
        yield "path", self.value["path"]
        yield "descriptor", "none" if self.value["fd"] == -1 else self.value["fd"]


class Queues(gdb.Command):
    """Lists the keys of all queues, and the depth and the head of each."""

    def __init__(self):
        super().__init__("vimo-queues", gdb.COMMAND_DATA)

    def invoke(self, argument, from_tty):
        language = gdb.parameter("language")
        gdb.execute("set language c++")  # the program may have stopped in code in C
        try:
            self.show()
        finally:
            gdb.execute(f"set language {language}")

    def show(self):
        manager = gdb.parse_and_eval("'vimo::util::priq::PriorityQueueManager::instance()::object'")
        entries = [value for _, value in gdb.default_visualizer(manager["queues"]).children()]
        for key, queue in zip(entries[::2], entries[1::2]):
            try:
                printer = PrioritizedQueue(queue.dereference())
                print(f"key {key}: {printer.to_string()}")
                head = [value for _, value in itertools.islice(printer.children(), 2)]
                if head:
                    print(f"  head: priority {head[0]}, id {head[1]['id']}, a {head[1].type}")
            except gdb.error as error:  # stopped in the middle of a change
                print(f"  <{error}>")


def whole(printer):
    """Leaves to gdb what only the library could describe, but has no debug information."""
    return lambda value: printer(value) if value.type.fields() else None


printers = gdb.printing.RegexpCollectionPrettyPrinter("vimo_util")
for scope, printer in (
    ("", File),
    ("config::", CppProperties),
    ("config::", CommaSeparatedValues),
    ("config::CommaSeparatedValues::", Column),
    ("priq::", PrioritizedQueue),
    ("priq::", RequestQueue),
):
    name = f"vimo::util::{scope}{printer.__name__}"
    printers.add_printer(name, f"^{name}$", whole(printer))
gdb.printing.register_pretty_printer(gdb.current_objfile(), printers, replace=True)
Queues()
