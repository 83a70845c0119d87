"""GDB printers for the records of libttydb, and the command `info ttydb`.

If a record is corrupt, a printer shows the parts that it can read, and an error instead of the
others. It never fails.
"""

import gdb
import gdb.printing

OPTIONS = {0x1: "TTY_DB_OPT_LOCK_ENTRIES", 0x2: "TTY_DB_OPT_AUTO_BLOCKS"}
MAX_IDS = 10001
NOBODY = 0xFFFFFFFF
HINT = "(is the debug information of this libttydb installed?)"
LOCKS = {"tty_db_readlock": "read lock", "tty_db_writelock": "write lock"}


def attempt(make):
    """The result of `make` or, if it fails, the reason."""
    try:
        return make()
    except Exception as error:
        return "<%s>" % error


def listing(elements):
    """The elements up to the first error, and up to the limit of `set print elements`."""
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
    """The nodes of a list: `node` points to the first, the member `link` of each to the next."""
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
    """The ranges of consecutive ids."""
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
    """Names a thread by the kernel's number, which is 0 for none."""
    for thread in gdb.selected_inferior().threads():
        if number == thread.ptid[1]:
            return "thread %d (LWP %d)" % (thread.num, number)
    return "nobody" if number == 0 else "LWP %d, no thread of this process" % number


def thread_of_handle(handle):
    """Names a thread by its pthread_t."""
    if int(handle) == NOBODY:
        return "nobody"
    thread = gdb.selected_inferior().thread_from_handle(handle)
    if thread is None:
        return "pthread_t 0x%x, no thread that GDB knows" % int(handle)
    return "thread %d (LWP %d)" % (thread.num, thread.ptid[1])


def mutex_holder(mutex):
    return thread_of_number(int(mutex["__data"]["__owner"]))


def option_names(options):
    names = [name for bit, name in OPTIONS.items() if options & bit]
    unknown = options & ~sum(OPTIONS)
    return " | ".join(names + (["0x%x" % unknown] if unknown or not names else []))


def block_range(details):
    first = int(details["first_tty"])
    return id_range(first, first + int(details["capacity"]) - 1)


def tag(details):
    """The quoted tag, or "none"."""
    name = details["tag_name"]
    return "none" if int(name) == 0 else name.format_string(address=False, styling=False)


def byte_order():
    return "big" if "big endian" in gdb.execute("show endian", to_string=True) else "little"


def entries(block):
    """The id and the address of each entry in the slots of a block."""
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
    """The line under which an entry is registered, or None."""
    for category, head in block_lists(database):
        for block in nodes(head, "next_block"):
            for id, entry in entries(block):
                if entry == address:
                    return "category %d, id %d" % (category, id)
    return None


def announced_waits():
    """The waits for entries, latest first, as the waiting threads have announced them."""
    try:
        gdb.parse_and_eval("&ptd_mutex_block_list")
    except gdb.error:
        raise gdb.error("libttyplatform is not loaded")
    try:
        head = gdb.parse_and_eval("ptd_mutex_block_list")
    except gdb.error:
        raise gdb.error("libttyplatform has no debug information")
    yield from nodes(head, "next")


def known_readers(database):
    """The known holders of the read lock: threads that wait for an entry of the database."""
    try:
        for wait in announced_waits():
            is_reader = wait["routine"].string() == "tty_db_lock_tty"
            if is_reader and line_of_entry(database, int(wait["mutex"])):
                yield thread_of_number(int(wait["thread_id"]))
    except Exception:
        pass  # the others stay unknown


def database_lock(database):
    """The state of a database lock, which records the writer but only counts the readers."""
    lock = database["rwlock"]["__data"]
    writer = int(lock["__cur_writer"])
    if writer != 0:
        return "held for writing by " + thread_of_number(writer)
    readers = int(lock["__readers"]) >> 3  # the lower bits are flags
    if readers == 0:
        return "free"
    names = list(known_readers(database))
    unknown = readers - len(names)
    if unknown > 0:
        names.append("%d unknown thread%s" % (unknown, "s"[unknown == 1:]))
    return "held for reading by " + " and ".join(names)


def argument(frames):
    """The database of an operation, from the innermost frame that still has the argument."""
    for frame in frames:
        for name in ("db", "db_h"):
            try:
                database = frame.read_var(name)
                if not database.is_optimized_out:
                    return database
            except ValueError:
                pass  # no such variable
    raise gdb.error("a database that the compiler has optimized out")


def lock_wait(thread):
    """The wait of a thread for a database lock, found in its frames, or None."""
    thread.switch()
    frame = gdb.newest_frame()
    while frame is not None and frame.name() not in LOCKS:
        frame = frame.older()
    frames = []  # from the routine that takes the lock out to the operation
    while frame is not None and (frame.name() or "").startswith("tty_db_"):
        frames.append(frame)
        frame = frame.older()
    if not frames:
        return None

    def state():
        database = argument(frames)
        return "the database 0x%x, which is %s" % (int(database), database_lock(database))

    return "waits in %s for the %s of %s" % (
        frames[-1].name(), LOCKS[frames[0].name()], attempt(state))


class Printer:
    """A printer for a record. A subclass lists the parts."""

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
        yield "rwlock", database_lock(db)
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
    """List the threads that wait for an entry or for a database lock, and who holds it.

Usage: info ttydb [DATABASE]
With a database, such as `db_h` or `*db_h`, name the lines of its entries, and show its lock."""

    def __init__(self):
        super().__init__("info ttydb", gdb.COMMAND_STATUS, gdb.COMPLETE_EXPRESSION)

    def invoke(self, argument, from_tty):
        database = self.database(argument) if argument else None
        quiet = True
        for name, waits in (("entries", self.entry_waits), ("databases", self.lock_waits)):
            try:
                for wait in waits(database):
                    print(wait)
                    quiet = False
            except gdb.error as error:
                print("Cannot list all waits for %s: %s." % (name, error))
                quiet = False
        if quiet:
            print("No thread waits.")
        if database is not None:
            print("The database lock is %s." % attempt(lambda: database_lock(database)))

    @staticmethod
    def database(argument):
        try:
            database = gdb.parse_and_eval(argument)
            database["block_lists"]
        except gdb.error as error:
            raise gdb.GdbError("%s is not a database: %s %s" % (argument, error, HINT))
        return database

    @staticmethod
    def entry_waits(database):
        def line():
            return line_of_entry(database, entry) or "not registered in this database"

        for wait in announced_waits():
            entry = int(wait["mutex"])  # an entry begins with its mutex
            yield "%s waits in %s, line %d, for the entry 0x%x%s, held by %s" % (
                thread_of_number(int(wait["thread_id"])), attempt(wait["routine"].string),
                int(wait["line"]), entry, "" if database is None else " (%s)" % attempt(line),
                attempt(lambda: mutex_holder(wait["mutex"])))

    @staticmethod
    def lock_waits(database):
        selected = gdb.selected_thread()
        if selected is None:
            return
        frame, threads = gdb.selected_frame(), gdb.selected_inferior().threads()
        try:
            gdb.lookup_type("tty_db_lock")
        except gdb.error:
            raise gdb.error("libttydb has no debug information")
        try:
            for thread in sorted(threads, key=lambda thread: thread.num):
                try:
                    wait = lock_wait(thread)
                except gdb.error as error:
                    wait = "cannot be examined: %s" % error
                if wait is not None:
                    yield "%s %s" % (thread_of_number(thread.ptid[1]), wait)
        finally:
            selected.switch()
            frame.select()


printers = gdb.printing.RegexpCollectionPrettyPrinter("ttydb")
printers.add_printer("database", "^tty_db_type$", DatabasePrinter)
printers.add_printer("block", "^tty_db_block_type$", BlockPrinter)
printers.add_printer("entry", "^tty_db_tty_type$", EntryPrinter)
printers.add_printer("iterator", "^tty_db_iterator_type$", IteratorPrinter)
gdb.printing.register_pretty_printer(gdb.current_objfile(), printers, replace=True)
InfoTtydb()
