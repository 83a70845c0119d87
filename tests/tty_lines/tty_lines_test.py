#!/usr/bin/env python3
"""Tests the program tty-lines, the first argument, on made machines and on this one."""

import fcntl
import json
import os
import pathlib
import socket
import subprocess
import sys
import termios
import unittest

from machine import MadeMachine

PROGRAM = os.path.abspath(sys.argv.pop(1))
COMPLETION = pathlib.Path(__file__).parents[2] / "tools/completions/tty-lines"
NOBODY = {"user": 65534, "group": 65534, "extra_groups": []}
os.environ["LC_ALL"] = "C.UTF-8"


def run(*arguments, stdout=subprocess.PIPE, **more):
    """Runs tty-lines, and returns its returncode, stdout and stderr."""
    return subprocess.run([PROGRAM, *arguments], stdout=stdout, stderr=subprocess.PIPE, text=True,
                          timeout=60, **more)


def open_terminal(columns):
    """Opens a pseudo-terminal of 50 rows, and returns its two ends."""
    master, slave = os.openpty()
    termios.tcsetwinsize(slave, (50, columns))
    return master, slave


def next_events(watch):
    """Returns the next events, such as [("+", "ttyS0", 0)]: event, name and id."""
    events = json.loads(watch.stdout.readline())["events"]
    return [(event["event"], event["name"], event["id"]) for event in events]


class TtyLinesTest(MadeMachine):
    def tty_lines(self, *arguments, **more):
        return run(*self.directories, *arguments, **more)

    def rows(self, columns, *arguments):
        """Returns the rows of a table with these columns."""
        return self.tty_lines("--raw", "--noheadings", "--output", columns,
                              *arguments).stdout.splitlines()

    def watch(self, *arguments):
        """Starts tty-lines --watch, and reads its list."""
        watch = self.enterContext(subprocess.Popen(
            ["timeout", "30", PROGRAM, *self.directories, "--json", "--output=name,id", *arguments],
            stdout=subprocess.PIPE))
        self.addCleanup(watch.terminate)
        watch.stdout.readline()
        return watch

    def expect_line(self, name, user=None, **expected):
        """Expects these columns of a line, as this user sees them."""
        done = self.tty_lines("--json", name, **(user or {}))
        [line] = json.loads(done.stdout)["lines"]
        self.assertEqual({column: line[column] for column in expected}, expected)

    def expect_failure(self, done, message):
        self.assertEqual(done.stderr, f"tty-lines: {message}\n")
        self.assertEqual(done.returncode, 1)


class Registration(TtyLinesTest):
    def test_id_is_the_number_in_the_name_or_else_the_lowest_that_no_name_asks_for(self):
        self.tty("ttyAMA0", "204:64")
        self.tty("ttyS0", "4:64")
        self.tty("ttyS1", "4:65")
        # ttyAMA0 has the number of ttyS0 too, and 1 is the number of ttyS1.
        self.assertEqual(self.rows("name,id"), ["ttyAMA0 0", "ttyS1 1", "ttyS0 2"])

    def test_kind_and_category(self):
        self.tty("tty7", "4:7")
        self.tty("ttyMI0", "30:0")
        self.usb("ttyMI1", "30:1", socket="1-1", idVendor="110a")
        self.tty("hvc0", "229:0")
        self.tty("rfcomm0", "216:0")
        self.tty("com7", "9:9")
        # ttyMI0 and ttyMI1 have the same driver, but ttyMI1 is on USB.
        self.assertEqual(self.rows("name,kind,category", "--all"), [
            "tty7 console 0",
            "ttyMI0 serial 1",
            "ttyMI1 usb 2",
            "hvc0 virtual 4",
            "rfcomm0 bluetooth 5",
            "com7 other 5"])

    def test_line_without_device_numbers_is_listed_but_not_registered(self):
        self.tty("ttyS0", "4:64")
        self.tty("com7", "9:x")
        # "serial" is the block of ttyS0.
        done = self.tty_lines("--by-driver", "--raw", "--output=name,id")
        self.assertEqual(done.stdout, "NAME ID\nserial \nttyS0 0\ncom7 \n")
        self.expect_failure(done, "com7: not registered: its device numbers cannot be read")

    def test_block_for_each_run_of_ids_of_a_driver(self):
        self.tty("ttyAMA1", "204:65")
        self.tty("ttyAMA2", "204:66")
        self.tty("ttyS3", "4:67")
        self.tty("ttyAMA4", "204:68")
        done = self.tty_lines("--by-driver", "--output=id,first,size,registered,name")
        self.assertEqual(done.stdout.splitlines(), [
            "ID FIRST SIZE REGISTERED NAME",
            "       1    2          2 ttyAMA",
            " 1                       ├─ttyAMA1",
            " 2                       └─ttyAMA2",
            "       3    1          1 serial",
            " 3                       └─ttyS3",
            "       4    1          1 ttyAMA",
            " 4                       └─ttyAMA4"])

    def test_blocks_without_a_tree(self):
        self.tty("ttyS0", "4:64")
        done = self.tty_lines("--by-driver", "--list", "--noheadings", "--output=name")
        self.assertEqual(done.stdout, "serial\nttyS0\n")

    def test_blocks_as_json(self):
        self.tty("ttyS3", "4:67")
        done = self.tty_lines("--by-driver", "--json", "--output=name,tag,size")
        self.assertEqual(json.loads(done.stdout), {"blocks": [{
            "name": None, "tag": "serial", "size": 1,
            "children": [{"name": "ttyS3", "tag": None, "size": None}]}]})

    def test_ids_of_unplugged_lines_are_free_for_another_driver(self):
        self.tty("ttyS0", "4:64")
        self.tty("ttyS1", "4:65")
        watch = self.watch("--watch", "--by-driver")
        self.unplug("ttyS0")
        self.assertEqual(next_events(watch), [("-", "ttyS0", 0)])
        self.unplug("ttyS1")
        self.assertEqual(next_events(watch), [("-", "ttyS1", 1)])
        self.tty("ttyAMA1", "204:65")
        self.assertEqual(next_events(watch), [("+", "ttyAMA1", 1)])


class Columns(TtyLinesTest):
    def test_serial_port(self):
        # Type 4 is a 16550A.  It divides its clock by 16.
        self.tty("ttyS0", "4:64", type=4, port="0x3F8", irq=4, uartclk=24000000)
        self.write("sysfs/class/tty/console/active", "tty0 ttyS0\n")
        self.expect_line("ttyS0", device="4:64", tty_driver="serial", console="yes",
                         uart="16550A", address="0x3f8", irq=4,
                         detail="16550A at 0x3f8, irq 4, up to 1500000 baud")

    def test_driver_of_a_serial_port_on_a_recent_kernel(self):
        # Recent kernels put a device of their own between the line and its device.
        self.device("00:04", driver="dw-uart")
        self.device("00:04/port", driver="port")
        self.tty("ttyS0", "4:64", on="00:04/port")
        self.expect_line("ttyS0", driver="dw-uart")

    def test_usb_adapter(self):
        self.usb("ttyUSB1", "188:1", socket="1-3.2", interface=1, driver="ftdi_sio",
                 idVendor="0403", idProduct="6010", manufacturer="FTDI", product="Dual RS232",
                 serial="FT5A")
        self.expect_line("ttyUSB1", usb_id="0403:6010", port="1-3.2", interface="1",
                         driver="ftdi_sio", vendor="FTDI", model="Dual RS232", serial="FT5A",
                         detail="FTDI Dual RS232, serial FT5A, interface 1")

    def test_usb_adapter_named_by_udev(self):
        self.usb("ttyUSB0", "188:0", socket="1-1", idVendor="1a86", idProduct="7523")
        self.expect_line("ttyUSB0", detail="USB 1a86:7523")
        self.write("udev/data/c188:0", "E:ID_VENDOR_FROM_DATABASE=QinHeng\n"
                                       "E:ID_MODEL_FROM_DATABASE=CH340\n")
        self.expect_line("ttyUSB0", detail="QinHeng CH340")

    def test_links_to_the_device_file(self):
        self.tty("ttyUSB0", "188:0")
        self.link("dev/modem", "dev/ttyUSB0")
        self.link("dev/serial/by-id/usb-FTDI", "dev/ttyUSB0")
        self.link("dev/serial/by-path/pci-3.2", "dev/ttyUSB0")
        self.expect_line("ttyUSB0", by_id="usb-FTDI", by_path="pci-3.2",
                         links="modem,serial/by-id/usb-FTDI,serial/by-path/pci-3.2")

    @unittest.skipIf(os.getuid() != 0, "only root can run tty-lines as another user")
    def test_access_by_group(self):
        self.tty("ttyS0", "4:64")
        (self.dev / "ttyS0").chmod(0o660)
        self.expect_line("ttyS0", owner="root", mode="rw-rw----", access="rw")
        self.expect_line("ttyS0", user=NOBODY, access="-", detail="access: group root")

    def test_line_without_a_device_file(self):
        self.tty("ttyS0", "4:64", node=False)
        self.expect_line("ttyS0", path=None, access="-", detail="no device file")

    def test_foreground_job_of_a_session(self):
        # The foreground process group is 90.
        self.tty("tty2", "4:2")
        self.process(88, "bash", group=88, terminal="4:2", foreground=90)
        self.process(90, "a (b) c", group=90, terminal="4:2", foreground=90)
        self.process(91, "child", group=90, terminal="4:2", foreground=90)
        self.expect_line("tty2", pid=90, command="a (b) c")

    def test_lock_file_counts_while_its_process_lives(self):
        self.tty("ttyS0", "4:64")
        self.write("lock/LCK..ttyS0", "        70\n")
        self.expect_line("ttyS0", lock=None)
        self.process(70, "picocom")
        self.expect_line("ttyS0", lock=70)


class Selection(TtyLinesTest):
    def test_idle_lines_are_hidden(self):
        # tty1 is on the screen, tty3 has a session, and ttyS0 has no UART.
        self.tty("console", "5:1")
        self.tty("tty0", "4:0", active="tty1")
        self.tty("tty1", "4:1")
        self.tty("tty2", "4:2")
        self.tty("tty3", "4:3")
        self.process(90, "login", group=90, terminal="4:3", foreground=90)
        self.tty("ttyS0", "4:64", type=0)
        self.tty("ttyS1", "4:65", type=4)
        self.assertEqual(self.rows("name"), ["tty1", "tty3", "ttyS1"])
        self.assertEqual(self.rows("name", "--all"), [
            "tty0", "tty1", "tty2", "tty3", "ttyS0", "ttyS1", "console"])
        self.assertEqual(self.rows("name", "--kind=serial"), ["ttyS0", "ttyS1"])
        self.assertEqual(self.rows("name", "--category=5"), ["console"])

    def test_lines_by_name_and_by_path(self):
        self.tty("ttyS0", "4:64", type=0)
        self.tty("ttyS1", "4:65")
        self.tty("ttyUSB0", "188:0")
        self.link("dev/serial/by-id/usb-gps", "dev/ttyUSB0")
        self.assertEqual(self.rows("name", "ttyS0", f"{self.dev}/serial/by-id/usb-gps"),
                         ["ttyS0", "ttyUSB0"])

    def test_unknown_name(self):
        self.tty("ttyS0", "4:64")
        done = self.tty_lines("--output=name", "ttyS0", "ttyS9")
        self.assertEqual(done.stdout, "NAME\nttyS0\n")
        self.expect_failure(done, "ttyS9: no such terminal line")
        self.expect_failure(self.tty_lines(""), ": no such terminal line")

    def test_missing_directory_is_reported_and_the_rest_is_listed(self):
        self.tty("ttyS0", "4:64")
        (self.dev / "pts").rmdir()
        done = self.tty_lines("--output=name")
        self.assertEqual(done.stdout, "NAME\nttyS0\n")
        self.expect_failure(done, f"cannot read {self.dev}/pts: No such file or directory")

    def test_numbers_are_sorted_by_value(self):
        self.tty("ttyS2", "4:66", type=4, irq=10)
        self.tty("ttyS10", "4:74", type=4, irq=9)
        self.assertEqual(self.rows("name", "--sort=name"), ["ttyS2", "ttyS10"])
        self.assertEqual(self.rows("name", "--sort=irq"), ["ttyS10", "ttyS2"])


class Output(TtyLinesTest):
    def test_default_table_is_cut_to_the_width_of_the_terminal(self):
        self.tty("ttyAMA0", "204:64", type=32, iomem_base="0xFE201000", irq=37)
        self.tty("ttyS1", "4:65", type=0)
        self.usb("ttyACM0", "166:0", socket="1-1.4", idVendor="2341", manufacturer="Arduino",
                 product="Uno", serial="7553")
        self.usb("ttyUSB1", "188:1", socket="1-1.3", idVendor="0403", manufacturer="FTDI",
                 product="FT232R USB UART")
        master, slave = open_terminal(columns=36)
        self.tty_lines(stdout=slave)
        # This row ends the reading.
        os.write(slave, b"end\n")
        with open(master) as screen:
            rows = [row.rstrip() for row in iter(screen.readline, "end\n")]
        self.assertEqual(rows, [
            "NAME    DETAIL                 PORT",
            "ttyAMA0 PL011 at 0xfe201000, i",
            "ttyACM0 Arduino Uno, serial 75 1-1.4",
            "ttyUSB1 FTDI FT232R USB UART   1-1.3",
            "4 lines: 2 serial, 2 usb",
            "1 idle line not shown; --all shows it"])

    def test_formats(self):
        self.tty("ttyS0", "4:64", type=4, irq=4)
        for option, expected in {
                "--noheadings": "ttyS0 serial       4\n",
                "--raw": "NAME TTY-DRIVER IRQ\nttyS0 serial 4\n",
                "--pairs": 'NAME="ttyS0" TTY_DRIVER="serial" IRQ="4"\n'}.items():
            with self.subTest(option):
                done = self.tty_lines("--output=name,tty_driver,irq", option)
                self.assertEqual(done.stdout, expected)

    def test_full_paths_as_names(self):
        self.tty("ttyS0", "4:64")
        self.assertEqual(self.rows("name", "--paths"), [f"{self.dev}/ttyS0"])

    def test_escapes_for_what_could_move_the_cursor(self):
        # An escape sequence, and a character that reverses the direction of writing.
        self.tty("é\x1b[2J\u202e", "9:1")
        done = self.tty_lines("--noheadings", "--output=name")
        self.assertEqual(done.stdout, "é\\x1b[2J\\xe2\\x80\\xae\n")

    def test_mistakes_on_the_command_line(self):
        for argument, message in {
                "--output=name,": "unknown column: ''",
                "--category=6": "bad category: '6'",
                "--watch=1m": "bad number of seconds: '1m'",
                "-JP": "--json, --pairs and --raw are mutually exclusive"}.items():
            with self.subTest(argument):
                done = run(argument)
                self.assertEqual(done.stderr, f"tty-lines: {message}\n"
                                              "Try 'tty-lines --help' for more information.\n")
                self.assertEqual(done.returncode, 2)

    def test_full_disk(self):
        with open("/dev/full", "w") as full:
            done = run("--help", stdout=full)
        self.expect_failure(done, "standard output: No space left on device")

    def test_completion_of_columns_in_bash(self):
        script = 'source "$0"; _tty_lines "$1" name,by --output; echo "${COMPREPLY[@]}"'
        completed = subprocess.check_output(["bash", "-c", script, COMPLETION, PROGRAM])
        self.assertEqual(completed, b"name,BY-ID name,BY-PATH\n")


class Watch(TtyLinesTest):
    def test_line_keeps_its_id_while_others_go_and_come(self):
        self.tty("ttyACM0", "166:0")
        # Since 0 is taken, this line gets the id 1.
        self.tty("ttyUSB0", "188:0")
        watch = self.watch("--watch=600")
        self.unplug("ttyACM0")
        self.assertEqual(next_events(watch), [("-", "ttyACM0", 0)])
        self.tty("ttyACM1", "166:1")
        # The id 1 is still taken, and 0 is kept for a line of that number, such as ttyUSB0.
        self.assertEqual(next_events(watch), [("+", "ttyACM1", 2)])

    def test_line_that_becomes_another_goes_and_comes(self):
        self.usb("ttyUSB0", "188:0", socket="1-1", idVendor="0403")
        # Nothing announces this change.  The next look finds it.
        watch = self.watch("--watch", "0.02")
        self.write("sysfs/devices/1-1/serial", "A5001XYZ\n")
        self.assertEqual(next_events(watch), [("-", "ttyUSB0", 0), ("+", "ttyUSB0", 0)])

    def test_announcement_by_the_kernel_causes_a_look(self):
        self.tty("ttyS0", "4:64", type=4)
        # The next look is in ten minutes.
        watch = self.watch("--watch=600")
        self.write("sysfs/class/tty/ttyS0/irq", "7\n")
        # 15 is NETLINK_KOBJECT_UEVENT, whose group 1 hears of all devices.
        kernel = self.enterContext(socket.socket(socket.AF_NETLINK, socket.SOCK_RAW, 15))
        try:
            kernel.sendto(b"add@/devices/x\0SUBSYSTEM=tty\0", (0, 1))
        except PermissionError as error:
            self.skipTest(error)
        self.assertEqual(next_events(watch), [("-", "ttyS0", 0), ("+", "ttyS0", 0)])

    def test_watch_ends_with_its_reader(self):
        watch = self.watch("--watch=600")
        watch.stdout.close()
        self.assertEqual(watch.wait(), 0)


class ThisMachine(unittest.TestCase):
    def test_terminal_in_use(self):
        _, slave = open_terminal(columns=132)
        sleep = self.enterContext(subprocess.Popen(["sleep", "600"], pass_fds=[slave]))
        self.addCleanup(sleep.kill)
        done = run("--json", os.ttyname(slave))
        [line] = json.loads(done.stdout)["lines"]
        self.assertEqual((line["size"], line["speed"]), ("132x50", 38400))
        self.assertIn(f"{sleep.pid}:sleep", line["users"].split(","))
        self.assertRegex(line["command"], r" \+1$")  # this process has it open too

    def test_terminal_that_nobody_uses_is_not_opened(self):
        master = os.open("/dev/ptmx", os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
        fcntl.ioctl(master, 0x40045431, bytes(4))  # TIOCSPTLCK unlocks it
        self.assertEqual(run("--all").returncode, 0)
        # If tty-lines had opened and closed it, this would be a hangup: another error.
        self.assertRaises(BlockingIOError, os.read, master, 1)


unittest.main(verbosity=2)
