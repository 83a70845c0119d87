"""What GDB shows of libttydb: printers for its records, and the command `info ttydb`.

A printer shows whatever can be read of broken memory, and says what cannot; it never fails.
"""

import gdb
import gdb.printing

OPTIONS = {0x1: "TTY_DB_OPT_LOCK_ENTRIES", 0x2: "TTY_DB_OPT_AUTO_BLOCKS"}
MAX_IDS = 10001
NOBODY = 0xFFFFFFFF
HINT = "(is the debug information of this libttydb there?)"


def attempt(make):
    """What `make` returns or, where it fails, why."""
    try:
        return make()
    except Exception as error:
        return "<%s>" % error


def listing(elements):
    """The elements as far as they can be had, and no more than `set print elements` allows."""
    shown = []
    try:
        for element in elements:
            if len(shown) == (gdb.parameter("print elements") or MAX_IDS):
                shown.append("...")
                break
            shown.append(element)
    except Exception as error:
        shown.append("<%s>" % error)
    return "{%s}" % ", ".join(shown)


def nodes(node, link):
    """The nodes of the list that begins with `node` and goes on with the member `link`."""
    seen = set()
    while int(node) != 0:
        if int(node) in seen:
            raise gdb.error("again 0x%x: the list is a cycle" % int(node))
        seen.add(int(node))
        yield node.dereference()
        node = node[link]


def id_range(first, last):
    return str(first) if first == last else "%d..%d" % (first, last)


def id_ranges(ids):
    """The runs of ascending ids."""
    first = last = None
    for id in ids:
        if last is not None and id != last + 1:
            yield id_range(first, last)
            first = None
        last = id
        if first is None:
            first = id
    if last is not None:
        yield id_range(first, last)


def thread_of_number(number):
    """A thread by the kernel's number, 0 for none."""
    for thread in gdb.selected_inferior().threads():
        if number == thread.ptid[1]:
            return "thread %d (LWP %d)" % (thread.num, number)
    return "nobody" if number == 0 else "LWP %d, no thread of this process" % number


def thread_of_handle(handle):
    """A thread by its pthread_t."""
    if int(handle) == NOBODY:
        return "nobody"
    thread = gdb.selected_inferior().thread_from_handle(handle)
    if thread is None:
        return "pthread_t 0x%x, no thread that GDB knows" % int(handle)
    return "thread %d (LWP %d)" % (thread.num, thread.ptid[1])


def mutex_holder(mutex):
    return thread_of_number(int(mutex["__data"]["__owner"]))


def rwlock_state(rwlock):
    writer = int(rwlock["__data"]["__cur_writer"])
    readers = int(rwlock["__data"]["__readers"]) >> 3  # below are flags
    if writer != 0:
        return "held for writing by " + thread_of_number(writer)
    return "held by %d reader%s" % (readers, "s"[readers == 1:]) if readers else "free"


def option_names(options):
    names = [name for bit, name in OPTIONS.items() if options & bit]
    unknown = options & ~sum(OPTIONS)
    return " | ".join(names + (["0x%x" % unknown] if unknown or not names else []))


def block_range(details):
    first = int(details["first_tty"])
    return id_range(first, first + int(details["capacity"]) - 1)


def tag(details):
    """The tag, quoted, or "none"."""
    name = details["tag_name"]
    return "none" if int(name) == 0 else name.format_string(address=False, styling=False)


def byte_order():
    return "big" if "big endian" in gdb.execute("show endian", to_string=True) else "little"


def entries(block):
    """The ids of a block's slots that hold an entry, with the addresses of the entries."""
    slots = block["ttys"]
    if int(slots) == 0:
        return
    capacity = min(int(block["details"]["capacity"]), MAX_IDS)
    size = slots.type.target().sizeof
    memory = bytes(gdb.selected_inferior().read_memory(int(slots), capacity * size))
    order = byte_order()
    for index in range(capacity):
        entry = int.from_bytes(memory[index * size:(index + 1) * size], order)
        if entry != 0:
            yield int(block["details"]["first_tty"]) + index, entry


def block_lists(database):
    """The head of each category's list."""
    heads = database["block_lists"]
    for category in range(heads.type.range()[1] + 1):
        yield category, heads[category]


def line_of_entry(database, address):
    """The category and id under which an entry is registered."""
    for category, head in block_lists(database):
        for block in nodes(head, "next_block"):
            for id, entry in entries(block):
                if entry == address:
                    return "category %d, id %d" % (category, id)
    return "not registered in this database"


class Printer:
    """A printer for a record; a subclass says which parts the record has."""

    def __init__(self, value):
        self.value = value

    def children(self):
        try:
            yield from self.parts(self.value)
        except Exception as error:
            yield "error", "<%s> %s" % (error, HINT)


class DatabasePrinter(Printer):
    def parts(self, db):
        yield "options", option_names(int(db["options"]))
        yield "rwlock", rwlock_state(db["rwlock"])
        yield "num_blocks", int(db["num_blocks"])
        yield "num_ttys", int(db["num_ttys"])
        for category, head in block_lists(db):
            if int(head) != 0:
                blocks = map(self.block, nodes(head, "next_block"))
                yield "category %d" % category, listing(blocks)

    @staticmethod
    def block(block):
        details = block["details"]
        return "%s (tag %s, %d registered, at 0x%x)" % (
            block_range(details), tag(details), int(details["num_registered"]), int(block.address))


class BlockPrinter(Printer):
    def parts(self, block):
        details = block["details"]
        yield "category", int(details["category"])
        yield "ids", block_range(details)
        yield "tag_name", tag(details)
        yield "ctx", "0x%x" % int(details["ctx"])
        yield "num_registered", int(details["num_registered"])
        yield "registered", listing(id_ranges(id for id, entry in entries(block)))


class EntryPrinter(Printer):
    def parts(self, tty):
        yield "lock", "held by " + mutex_holder(tty["lock"])
        yield "lock_owner", attempt(lambda: thread_of_handle(tty["lock_owner"]))
        items = nodes(tty["item_list_head"], "next_item")
        yield "items", listing(str(item["key"]) for item in items)


class IteratorPrinter(Printer):
    def parts(self, iterator):
        def position(which):
            return [int(iterator[which + part]) for part in ("_category", "_id")]

        done = position("next") > position("end")
        yield "next", "exhausted" if done else "category %d, id %d" % tuple(position("next"))
        yield "end", "category %d, id %d" % tuple(position("end"))
        yield "db_h", "0x%x" % int(iterator["db_h"])


class InfoTtydb(gdb.Command):
    """List the threads that wait for the entry of a line, and who holds it.

Usage: info ttydb [DATABASE]
With a database, such as `db_h` or `*db_h`, say where in it the entry is registered."""

    def __init__(self):
        super().__init__("info ttydb", gdb.COMMAND_STATUS, gdb.COMPLETE_EXPRESSION)

    def invoke(self, argument, from_tty):
        database = self.database(argument) if argument else None
        try:
            gdb.parse_and_eval("&ptd_mutex_block_list")
        except gdb.error:
            raise gdb.GdbError("libttyplatform, which lists the waiting threads, is not loaded.")
        try:
            head = gdb.parse_and_eval("ptd_mutex_block_list")
        except gdb.error:
            raise gdb.GdbError("libttyplatform has no debug information: no telling who waits.")
        if int(head) == 0:
            print("No thread waits for an entry.")
        try:
            for block in nodes(head, "next"):
                print(attempt(lambda: self.wait(block, database)))
        except gdb.error as error:
            print("The list of waiting threads is broken: %s." % error)

    @staticmethod
    def database(argument):
        try:
            database = gdb.parse_and_eval(argument)
            database["block_lists"]
        except gdb.error as error:
            raise gdb.GdbError("%s is no database: %s %s" % (argument, error, HINT))
        return database

    @staticmethod
    def wait(block, database):
        entry = int(block["mutex"])  # an entry begins with its mutex
        line = "" if database is None else " (%s)" % attempt(lambda: line_of_entry(database, entry))
        return "%s waits in %s, line %d, for the entry 0x%x%s, held by %s" % (
            thread_of_number(int(block["thread_id"])), attempt(block["routine"].string),
            int(block["line"]), entry, line, attempt(lambda: mutex_holder(block["mutex"])))


printers = gdb.printing.RegexpCollectionPrettyPrinter("ttydb")
printers.add_printer("database", "^tty_db_type$", DatabasePrinter)
printers.add_printer("block", "^tty_db_block_type$", BlockPrinter)
printers.add_printer("entry", "^tty_db_tty_type$", EntryPrinter)
printers.add_printer("iterator", "^tty_db_iterator_type$", IteratorPrinter)
gdb.printing.register_pretty_printer(gdb.current_objfile(), printers, replace=True)
InfoTtydb()
