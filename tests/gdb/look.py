"""Runs the program lines in GDB, and checks what the printers and `info ttydb` show.

  gdb -nx -batch -iex "set auto-load safe-path /" -x look.py -ex "quit 1" PROGRAM

The last command runs if this script fails.
"""

import re

import gdb

# Each command, and the texts that its output contains, in this order.
NOBODY_WAITS = [
    ("info ttydb", ["No thread waits."]),
    ("print *iterator", ["next = category 0, id 8", "end = category 3, id 120"]),
    ("print *held", ["lock = held by thread 1 (LWP", "lock_owner = thread 1 (LWP",
                     "items = {40, 30, 20, 10}"]),
]
A_THREAD_WAITS = [
    ("info ttydb", [r"thread 2 (LWP", " waits in tty_db_lock_tty, line ", " for the entry 0x",
                    ", held by thread 1 (LWP"]),
    ("info ttydb *db", [" (category 3, id 107), held by thread 1",
                        "\nThe database lock is held for reading by thread 2 (LWP"]),
    ("frame", ["#1 ", " in main ("]),  # still the selected one
    ("print *db", [
        "options = TTY_DB_OPT_LOCK_ENTRIES", "rwlock = held for reading by thread 2 (LWP",
        "num_blocks = 3", "num_ttys = 6", 'category 0 = {0..7 (tag "console", 1 registered, at 0x',
        'category 3 = {100..149 (tag "modems", 5 registered', "), 10000 (tag none, 0 registered"]),
    ("print *modems", ["category = 3", "ids = 100..149", 'tag_name = "modems"', "ctx = 0x0",
                       "num_registered = 5", "registered = {100..101, 103, 107, 149}"]),
]
# A waits for the entry that B holds, and B waits for the lock that A holds.
DEADLOCK = (r"(thread \d \(LWP \d+\)) waits in tty_db_cleanup_entry, .* held by (thread 1 .*)\n"
            r"\2 waits in tty_db_iterate_next for the read lock of the database 0x\w+, "
            r"which is held for writing by \1\n")


def check(command, pattern):
    try:
        shown = gdb.execute(command, to_string=True)
    except gdb.error as error:
        shown = str(error)
    if not re.search(pattern, shown, re.DOTALL):
        print("%s: expected: %s\nshown: %s" % (command, pattern, shown))
        gdb.execute("quit 1")


def check_all(looks):
    for command, texts in looks:
        check(command, ".*".join(map(re.escape, texts)))


def go_on():
    gdb.execute("continue", to_string=True)
    gdb.execute("up")


for setting in ("pagination off", "confirm off", "print pretty on", "print thread-events off"):
    gdb.execute("set " + setting)
gdb.execute("break look", to_string=True)
try:
    gdb.execute("run", to_string=True)
    gdb.execute("up")
except gdb.error as error:
    print("skipped: GDB may not run a program here: %s" % error)
    gdb.execute("quit 77")
check_all(NOBODY_WAITS)
go_on()
check_all(A_THREAD_WAITS)
go_on()
check("info ttydb *db", DEADLOCK)
gdb.execute("quit 0")
