#!/usr/bin/env python3
"""Tests tty-lines, the program that is the first argument: against machines made of files, and on
this machine."""

import faulthandler
import fcntl
import json
import os
import pathlib
import random
import resource
import signal
import socket
import stat
import struct
import subprocess
import sys
import tempfile
import termios
import unittest

from machine import Machine, container, raspberry_pi, terminal_server

PROGRAM = os.path.abspath(sys.argv.pop(1))
COMPLETION = pathlib.Path(__file__).parents[2] / "tools/completions/tty-lines"
NOBODY = 65534


def run(*arguments, stdout=subprocess.PIPE, locale="C.UTF-8", **more):
    """Runs tty-lines.  Returns its exit status, output and messages."""
    done = subprocess.run([PROGRAM, *arguments], stdout=stdout, stderr=subprocess.PIPE, timeout=60,
                          env={**os.environ, "LC_ALL": locale}, **more)
    return done.returncode, os.fsdecode(done.stdout or b""), os.fsdecode(done.stderr)


def lines_of(machine, *arguments, **more):
    """The lines that tty-lines lists of a machine, idle ones too, by name."""
    _, output, _ = run(*machine.roots, "--all", "--json", *arguments, **more)
    return {line["name"]: line for line in json.loads(output)["lines"]}


def open_terminal(columns):
    """A pseudo-terminal: the descriptors of its two ends."""
    master, slave = os.openpty()
    fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("4H", 50, columns, 0, 0))
    return master, slave


def run_on_terminal(columns, *arguments):
    """What tty-lines prints on a terminal of this width."""
    master, slave = open_terminal(columns)
    run(*arguments, stdout=slave)
    os.write(slave, b"end\n")
    with open(master) as terminal:
        return [line.rstrip("\n") for line in iter(terminal.readline, "end\n")]


class Watching:
    """tty-lines --watch --json: its list, and then its events."""

    def __init__(self, *arguments, **more):
        self.process = subprocess.Popen([PROGRAM, "--json", "--watch", *arguments],
                                        stdout=subprocess.PIPE, **more)
        self.list = json.loads(self.process.stdout.readline())

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()

    def events(self):
        """The next batch: pairs of "+" or "-" and the line."""
        batch = json.loads(self.process.stdout.readline())["events"]
        return [(event["event"], event) for event in batch]

    def changes(self):
        """The next batch, as "+NAME" and "-NAME"."""
        return [event + line["name"] for event, line in self.events()]


class OnAMadeMachine(unittest.TestCase):
    def setUp(self):
        directory = self.enterContext(tempfile.TemporaryDirectory())
        os.chmod(directory, 0o755)
        self.directory = directory

    def machine(self):
        return Machine(self.directory)


class Registration(OnAMadeMachine):
    def test_lines_with_the_same_number_have_ids_of_their_own(self):
        lines = lines_of(raspberry_pi(self.directory))
        self.assertEqual({name: (line["category"], line["id"]) for name, line in lines.items()},
                         {"ttyAMA0": (1, 0), "ttyS0": (1, 1),
                          "ttyACM0": (2, 0), "ttyUSB1": (2, 1), "ttyUSB0": (2, 2)})

    def test_every_line_of_a_machine_is_listed_once_with_an_id_of_its_own(self):
        for make in raspberry_pi, terminal_server, container:
            for option in "--all", "--by-driver":
                with self.subTest(make.__name__), tempfile.TemporaryDirectory() as directory:
                    machine = make(directory)
                    status, output, messages = run(*machine.roots, "--all", option, "--list", "--raw",
                                                   "--noheadings", "--output=device,category,id")
                    lines = [line.split() for line in output.splitlines() if ":" in line]
                    there = [(directory / "dev").read_text().strip()
                             for directory in (machine.sysfs / "class/tty").iterdir()]
                    there += ["0:0" for _ in (machine.dev / "pts").iterdir()]
                    self.assertEqual(sorted(device for device, _, _ in lines), sorted(there))
                    self.assertEqual(len({(category, id) for _, category, id in lines}), len(lines))
                    self.assertEqual((status, messages), (0, ""))

    def test_an_id_stays_while_the_line_is_there(self):
        pi = raspberry_pi(self.directory)
        with Watching("0.02", *pi.roots) as watching:
            pi.unplug("ttyACM0")
            self.assertEqual(watching.changes(), ["-ttyACM0"])
            pi.tty("ttyACM1", "166:1")
            [(event, line)] = watching.events()
            self.assertEqual((event, line["name"], line["id"]), ("+", "ttyACM1", 3))

    def test_by_driver_each_line_is_in_a_block_of_its_driver(self):
        pi = raspberry_pi(self.directory)
        status, output, messages = run(*pi.roots, "--by-driver", "--json")
        blocks = [(block["tag"], block["category"], block["first"], block["size"],
                   [line["name"] for line in block["children"]])
                  for block in json.loads(output)["blocks"]]
        self.assertEqual(blocks, [("ttyAMA", 1, 0, 1, ["ttyAMA0"]),
                                  ("serial", 1, 1, 1, ["ttyS0"]),
                                  ("acm", 2, 0, 1, ["ttyACM0"]),
                                  ("usbserial", 2, 1, 2, ["ttyUSB1", "ttyUSB0"])])
        self.assertEqual((status, messages), (0, ""))

    def test_by_driver_a_line_within_anothers_block_gets_an_id_elsewhere(self):
        machine = self.machine()
        for number in range(3):
            machine.tty(f"ttyS{number}", f"4:{64 + number}")
        with Watching("0.02", *machine.roots, "--by-driver", "--all") as watching:
            machine.unplug("ttyS1")  # its id stays in the block 0..2
            self.assertEqual(watching.changes(), ["-ttyS1"])
            machine.tty("ttyAMA1", "204:65")
            [(_, line)] = watching.events()
            self.assertEqual(line["id"], 3)

    def test_by_driver_ids_between_those_of_a_driver_are_free(self):
        machine = self.machine()
        machine.tty("ttyAMA0", "204:64")
        machine.tty("ttyAMA10000", "204:65")
        machine.tty("ttyS5", "4:67")
        self.assertEqual(run(*machine.roots, "--by-driver", "--list", "-nrao", "name,id")[:2],
                         (0, "ttyAMA \nttyAMA0 0\nserial \nttyS5 5\nttyAMA \nttyAMA10000 10000\n"))

    def test_the_bus_of_a_line_tells_its_kind(self):
        machine = self.machine()
        [interface] = machine.usb("1-1", driver="usb_ch343", idVendor="1a86", idProduct="55d3")
        machine.tty("ttyCH343USB0", "170:0", on=interface)
        machine.tty("rfcomm0", "216:0", address="00:11:22:33:44:55", channel=3)
        machine.tty("hvc0", "229:0")
        machine.tty("com7", "9:9")
        lines = lines_of(machine)
        self.assertEqual({name: (line["kind"], line["category"]) for name, line in lines.items()},
                         {"ttyCH343USB0": ("usb", 2), "hvc0": ("virtual", 4),
                          "com7": ("other", 5), "rfcomm0": ("bluetooth", 5)})
        self.assertEqual(lines["rfcomm0"]["detail"], "00:11:22:33:44:55, channel 3")

    def test_a_line_that_cannot_be_registered_is_listed_and_reported(self):
        machine = self.machine()
        machine.tty("ttyS0", "4:64")
        machine.tty("bad", "1x:2")
        status, output, messages = run(*machine.roots, "--raw", "--noheadings", "--output=name,id")
        self.assertEqual((status, output), (1, "ttyS0 0\nbad \n"))
        self.assertEqual(messages,
                         "tty-lines: bad: not registered: its device numbers cannot be read\n")

    def test_a_category_that_is_full(self):
        machine = self.machine()
        for number in range(10002):
            machine.tty(f"ttyS{number}", "4:64", node=False)
        status, output, messages = run(*machine.roots, "--noheadings", "--output=id")
        self.assertEqual(sorted(map(int, output.split())), list(range(10001)))
        self.assertRegex(messages, "^tty-lines: ttyS[0-9]*: not registered: "
                                   "category 1 has no free id\n$")
        self.assertEqual(status, 1)


class Columns(OnAMadeMachine):
    def test_a_serial_port(self):
        machine = self.machine()
        # A recent kernel: two steps between the line and its device.
        machine.device("00:04", driver="serial")
        machine.device("00:04/00:04:0", driver="ctrl")
        port = machine.device("00:04/00:04:0/00:04:0.0", driver="port")
        machine.tty("ttyS0", "4:64", on=port, type=4, port="0x3F8", irq=4, uartclk=24000000)
        machine.write(machine.sysfs / "class/tty/console/active", "tty0 ttyS0\n")
        line = lines_of(machine)["ttyS0"]
        self.assertEqual({column: line[column] for column in (
            "driver", "tty_driver", "uart", "address", "irq", "console", "device", "detail")}, {
                "driver": "serial", "tty_driver": "serial", "uart": "16550A", "address": "0x3f8",
                "irq": 4, "console": "yes", "device": "4:64",
                "detail": "16550A at 0x3f8, irq 4, up to 1500000 baud"})

    def test_a_usb_adapter(self):
        machine = self.machine()
        interfaces = machine.usb("1-3.2", driver="ftdi_sio", interfaces=2, idVendor="0403",
                                 idProduct="6010", manufacturer="FTDI", product="Dual RS232",
                                 serial="FT5A")
        machine.tty("ttyUSB1", "188:1", on=interfaces[1])
        node = machine.dev / "ttyUSB1"
        machine.link(machine.dev / "modem", node)
        machine.link(machine.dev / "serial/by-id/usb-FTDI_Dual-if01", node)
        machine.link(machine.dev / "serial/by-path/pci-0:3.2:1.1", node)
        line = lines_of(machine)["ttyUSB1"]
        self.assertEqual({column: line[column] for column in (
            "driver", "vendor", "model", "serial", "usb_id", "port", "interface", "by_id",
            "by_path", "links", "path", "detail")}, {
                "driver": "ftdi_sio", "vendor": "FTDI", "model": "Dual RS232", "serial": "FT5A",
                "usb_id": "0403:6010", "port": "1-3.2", "interface": "1",
                "by_id": "usb-FTDI_Dual-if01", "by_path": "pci-0:3.2:1.1",
                "links": "modem,serial/by-id/usb-FTDI_Dual-if01,serial/by-path/pci-0:3.2:1.1",
                "path": str(node), "detail": "FTDI Dual RS232, serial FT5A, interface 1"})

    def test_an_adapter_that_does_not_tell_its_maker(self):
        machine = self.machine()
        [interface] = machine.usb("1-1", driver="ch341", idVendor="1a86", idProduct="7523")
        machine.tty("ttyUSB0", "188:0", on=interface)
        self.assertEqual(lines_of(machine)["ttyUSB0"]["detail"], "USB 1a86:7523")
        machine.write(machine.udev / "data/c188:0", "S:serial/by-id/usb-1a86\n"
                      "E:ID_VENDOR_FROM_DATABASE=QinHeng\nE:ID_MODEL_FROM_DATABASE=CH340\n")
        self.assertEqual(lines_of(machine)["ttyUSB0"]["detail"], "QinHeng CH340")

    def test_the_numbers_of_a_device_file_tell_whose_it_is(self):
        machine = self.machine()
        machine.tty("ttyS0", "4:64", node=False)
        machine.tty("ttyS1", "4:65", node=False)
        try:
            os.mknod(machine.dev / "ttyS1", stat.S_IFCHR | 0o600, os.makedev(4, 64))
        except PermissionError as error:
            self.skipTest(str(error))
        lines = lines_of(machine)
        self.assertEqual((lines["ttyS0"]["path"], lines["ttyS1"]["path"]),
                         (f"{machine.dev}/ttyS1", None))

    def test_who_may_open_a_line(self):
        machine = self.machine()
        machine.tty("ttyS0", "4:64", type=4)
        (machine.dev / "ttyS0").chmod(0o660)
        line = lines_of(machine)["ttyS0"]
        self.assertEqual((line["mode"], line["access"]), ("rw-rw----", "rw"))
        if os.getuid() != 0:
            self.skipTest("only root can become another user")
        line = lines_of(machine, user=NOBODY, group=NOBODY, extra_groups=[])["ttyS0"]
        self.assertEqual((line["owner"], line["group"], line["access"], line["detail"]),
                         ("root", "root", "-", "16550A; access: group root"))

    def test_a_line_without_a_device_file(self):
        machine = self.machine()
        machine.tty("ttyS0", "4:64", node=False)
        line = lines_of(machine)["ttyS0"]
        self.assertEqual((line["path"], line["access"], line["detail"]),
                         (None, "-", "no device file"))

    def test_the_session_on_a_line(self):
        machine = self.machine()
        machine.tty("tty2", "4:2")
        machine.process(88, "login", terminal="4:2", foreground=90)
        machine.process(91, "child", group=90, terminal="4:2", foreground=90)
        self.assertEqual(lines_of(machine)["tty2"]["command"], "child")
        machine.process(90, "a (b) c", terminal="4:2", foreground=90)
        line = lines_of(machine)["tty2"]
        self.assertEqual((line["pid"], line["command"]), (90, "a (b) c"))

    def test_the_lock_file_of_a_process_that_lives(self):
        machine = self.machine()
        machine.process(70, "picocom")
        for name, pid in ("ttyS0", 70), ("ttyS1", 71):
            machine.tty(name, f"4:{64 + int(name[-1])}")
            machine.write(machine.lock / f"LCK..{name}", f"{pid:10}\n")
        lines = lines_of(machine)
        self.assertEqual((lines["ttyS0"]["lock"], lines["ttyS1"]["lock"]), (70, None))


class CommandLine(OnAMadeMachine):
    def listed(self, machine, *arguments):
        _, output, _ = run(*machine.roots, "--raw", "--noheadings", "--output=name", *arguments)
        return output.split()

    def test_idle_lines_are_left_out_unless_asked_for(self):
        machine = self.machine()
        machine.tty("console", "5:1")
        machine.tty("tty1", "4:1")
        machine.tty("tty2", "4:2")
        machine.tty("ttyS0", "4:64", type=0)
        machine.tty("ttyS1", "4:65", type=4)
        machine.write(machine.sysfs / "class/tty/tty0/active", "tty1\n")
        machine.write(machine.sysfs / "class/tty/tty0/dev", "4:0\n")
        self.assertEqual(self.listed(machine), ["tty1", "ttyS1"])
        self.assertEqual(self.listed(machine, "--kind=serial"), ["ttyS0", "ttyS1"])
        self.assertEqual(self.listed(machine, "--category=0"), ["tty0", "tty1", "tty2"])
        self.assertEqual(self.listed(machine, "--all"),
                         ["tty0", "tty1", "tty2", "ttyS0", "ttyS1", "console"])
        machine.process(90, "login", terminal="4:2", foreground=90)
        self.assertEqual(self.listed(machine), ["tty1", "tty2", "ttyS1"])

    def test_lines_that_are_named(self):
        pi = raspberry_pi(self.directory)
        pi.link(pi.dev / "serial/by-id/usb-Arduino", pi.dev / "ttyACM0")
        self.assertEqual(self.listed(pi, "ttyS0", f"{pi.dev}/serial/by-id/usb-Arduino"),
                         ["ttyS0", "ttyACM0"])
        pi.link(pi.root / "gps", pi.dev / "ttyACM0")
        self.assertEqual(self.listed(pi, f"{pi.root}/gps", f"{pi.dev}//ttyS0"), ["ttyS0", "ttyACM0"])
        status, output, messages = run(*pi.roots, "ttyS0", "ttyS9", "")
        self.assertIn("ttyS0", output)
        self.assertEqual((status, messages), (1, "tty-lines: : no such terminal line\n"
                                                 "tty-lines: ttyS9: no such terminal line\n"))

    def test_sorted_by_the_size_of_numbers(self):
        machine = self.machine()
        for number in 10, 9, 2:
            machine.tty(f"ttyS{number}", f"4:{64 + number}", irq=12 - number, type=4)
        self.assertEqual(self.listed(machine, "--sort=name"), ["ttyS2", "ttyS9", "ttyS10"])
        self.assertEqual(self.listed(machine, "-xirq"), ["ttyS10", "ttyS9", "ttyS2"])

    def test_forms_of_output(self):
        machine = self.machine()
        machine.tty("ttyS0", "4:64", type=4)
        options = [*machine.roots, "--output=NAME,tty_driver,uart"]
        self.assertEqual(run(*options)[1], "NAME  TTY-DRIVER UART\nttyS0 serial     16550A\n")
        self.assertEqual(run(*options, "--raw", "-n")[1], "ttyS0 serial 16550A\n")
        self.assertEqual(run(*options, "--pairs")[1],
                         'NAME="ttyS0" TTY_DRIVER="serial" UART="16550A"\n')
        self.assertEqual(json.loads(run(*options, "--json")[1]), {
            "lines": [{"name": "ttyS0", "tty_driver": "serial", "uart": "16550A"}]})
        self.assertEqual(run(*options, "--paths", "-n")[1].split()[0], f"{machine.dev}/ttyS0")
        all_columns = [row.split()[0] for row in run("--list-columns")[1].splitlines()]
        heading = run(*machine.roots, "-O")[1].split("\n", maxsplit=1)[0]
        self.assertEqual(heading.split(), all_columns[:-3])  # those of a block are left out

    def test_by_driver_as_a_tree_and_as_a_list(self):
        pi = raspberry_pi(self.directory)
        options = [*pi.roots, "--by-driver", "--noheadings", "--kind=usb", "--output=name"]
        self.assertEqual(run(*options)[1].split(),
                         ["acm", "└─ttyACM0", "usbserial", "├─ttyUSB1", "└─ttyUSB0"])
        self.assertEqual(run(*options, "--list")[1].split(),
                         ["acm", "ttyACM0", "usbserial", "ttyUSB1", "ttyUSB0"])

    def test_the_default_view_fits_80_columns(self):
        rows = run_on_terminal(80, *raspberry_pi(self.directory).roots)
        self.assertEqual([row.rstrip() for row in rows], [
            "NAME    DETAIL                       PORT",
            "ttyAMA0 PL011 at 0xfe201000, irq 37",
            "ttyS0   16550A at 0xfe215040, irq 38",
            "ttyACM0 Arduino Uno, serial 7553     1-1.4",
            "ttyUSB1 FTDI FT232R USB UART         1-1.3",
            "ttyUSB0 FTDI FT232R USB UART         1-1.2",
            "5 lines: 2 serial, 3 usb"])

    def test_names_cannot_move_the_cursor(self):
        machine = self.machine()
        machine.tty("\u202eé\x1b\udcff", "9:1")
        for locale, letter in ("C", r"\xc3\xa9"), ("C.UTF-8", "é"):
            _, output, _ = run(*machine.roots, "--noheadings", "--output=name", locale=locale)
            self.assertEqual(output, rf"\xe2\x80\xae{letter}\x1b\xff" "\n")
        [name] = lines_of(machine)
        self.assertEqual(name, "\u202eé\x1b\ufffd")

    def test_mistakes(self):
        for argument, message in {
                "--bogus": "unrecognized option '--bogus'",
                "-oname,": "unknown column: ''",
                "-xnone": "unknown column: 'none'",
                "-kx": "unknown kind: 'x'",
                "--category=6": "bad category: '6'",
                "-JP": "--json, --pairs and --raw exclude each other",
                "--watch=nan": "bad number of seconds: 'nan'"}.items():
            with self.subTest(argument):
                self.assertEqual(run(argument), (
                    2, "", f"tty-lines: {message}\nTry 'tty-lines --help' for more information.\n"))

    def test_output_that_cannot_be_written(self):
        full = os.open("/dev/full", os.O_WRONLY)
        self.assertEqual(run(stdout=full)[::2],
                         (1, "tty-lines: standard output: No space left on device\n"))
        os.close(full)

    def test_what_is_missing_is_named_and_the_rest_is_listed(self):
        machine = self.machine()
        machine.tty("ttyS0", "4:64", type=4)
        (machine.dev / "pts").rmdir()
        (machine.proc / "tty/drivers").unlink()
        status, output, messages = run(*machine.roots, "--noheadings", "--output=name")
        self.assertEqual((status, output), (1, "ttyS0\n"))
        self.assertEqual(messages, f"tty-lines: cannot read "
                                   f"{machine.proc}/tty/drivers: No such file or directory, "
                                   f"{machine.dev}/pts: No such file or directory\n")

    def test_completion_knows_options_and_columns(self):
        def completed(*words):
            script = (f'source "{COMPLETION}"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); '
                      f'_tty_lines "{PROGRAM}" "${{@: -1}}" "${{@: -2:1}}"; echo "${{COMPREPLY[@]}}"')
            done = subprocess.run(["bash", "-c", script, "bash", "tty-lines", *words],
                                  stdout=subprocess.PIPE, check=True, text=True)
            return done.stdout.split()

        self.assertEqual(completed("--pa"), ["--paths", "--pairs"])
        self.assertEqual(completed("-o", "name,by"), ["name,BY-ID", "name,BY-PATH"])
        self.assertEqual(completed("-x", "US"), ["USERS", "USB-ID"])
        self.assertEqual(completed("-k", "b"), ["bluetooth"])
        self.assertIn("ptmx", completed("pt"))


class Watch(OnAMadeMachine):
    def test_events_add_up_to_the_machine(self):
        chance = random.Random(1)
        names = {"ttyS0": "4:64", "ttyS2": "4:66", "ttyAMA0": "204:64", "ttyAMA2": "204:66",
                 "one": "9:1", "two": "9:2"}
        for option in "--all", "--by-driver":
            with self.subTest(option), tempfile.TemporaryDirectory() as directory:
                machine = Machine(directory)
                shown = {}
                with Watching("0.02", *machine.roots, option) as watching:
                    for _ in range(20):
                        there = {name for name in names if chance.random() < 0.6}
                        for name in set(shown) - there:
                            machine.unplug(name)
                        for name in there - set(shown):
                            machine.tty(name, names[name])
                        while set(shown) != there:
                            for event, line in watching.events():
                                if event == "+":
                                    self.assertNotIn(line["name"], shown)
                                    shown[line["name"]] = (line["category"], line["id"])
                                else:
                                    self.assertEqual(shown.pop(line["name"]),
                                                     (line["category"], line["id"]))
                        self.assertEqual(len(set(shown.values())), len(shown))

    def test_a_line_that_becomes_another_goes_and_comes(self):
        machine = self.machine()
        [interface] = machine.usb("1-1", driver="ftdi_sio", idVendor="0403", idProduct="6001")
        machine.tty("ttyUSB0", "188:0", on=interface)
        with Watching("0.02", *machine.roots) as watching:
            machine.process(70, "sh", terminal="188:0", foreground=70)  # no event
            machine.write(machine.sysfs / "devices/1-1/serial", "A5001XYZ\n")
            self.assertEqual(watching.changes(), ["-ttyUSB0", "+ttyUSB0"])

    @unittest.skipIf(b"__ubsan" in pathlib.Path(PROGRAM).read_bytes(),
                     "the sanitizer itself needs descriptors to look at an exception")
    def test_a_scan_that_fails_is_reported_once(self):
        machine = self.machine()
        machine.tty("ttyS0", "4:64", type=4)
        with Watching("0.02", *machine.roots, stderr=subprocess.PIPE) as watching:
            pid = watching.process.pid
            resource.prlimit(pid, resource.RLIMIT_NOFILE, (3, 64))
            self.assertIn(b"Too many open files", watching.process.stderr.readline())
            machine.tty("ttyS1", "4:65", type=4)
            resource.prlimit(pid, resource.RLIMIT_NOFILE, (64, 64))
            self.assertEqual(watching.changes(), ["+ttyS1"])
            watching.process.send_signal(signal.SIGTERM)
            self.assertEqual(watching.process.stderr.read(), b"")
            watching.process.stderr.close()
            self.assertEqual(watching.process.wait(), 0)

    def test_the_kernel_announces_devices(self):
        try:
            kernel = self.enterContext(socket.socket(socket.AF_NETLINK, socket.SOCK_RAW, 15))
            kernel.sendto(b"x", (0, 1))
        except OSError as error:
            self.skipTest(str(error))
        machine = self.machine()
        machine.tty("ttyS0", "4:64", type=4)
        with Watching("600", *machine.roots) as watching:
            machine.write(machine.sysfs / "class/tty/ttyS0/irq", "7\n")
            kernel.sendto(b"add@/devices/x\0SUBSYSTEM=tty\0", (0, 1))
            self.assertEqual(watching.changes(), ["-ttyS0", "+ttyS0"])


class OnThisMachine(unittest.TestCase):
    def test_a_terminal_in_use(self):
        with Watching("600") as watching:
            master, slave = open_terminal(132)
            name = os.ttyname(slave)[len("/dev/"):]
            line = {}
            while line.get("name") != name:
                for _, line in watching.events():
                    if line["name"] == name:
                        break
            self.assertEqual((line["size"], line["speed"], line["pid"]), ("132x50", 38400, os.getpid()))
            sleep = subprocess.Popen(["sleep", "600"], pass_fds=[slave])
            line = json.loads(run("--json", name)[1])["lines"][0]
            self.assertIn(f"{sleep.pid}:sleep", line["users"].split(","))
            self.assertRegex(line["command"], r" \+1$")
            sleep.kill()
            sleep.wait()
            os.close(master)
            os.close(slave)

    def test_a_terminal_that_nobody_uses_is_not_opened(self):
        master = os.open("/dev/ptmx", os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
        unlock = 0x40045431  # TIOCSPTLCK
        fcntl.ioctl(master, unlock, struct.pack("i", 0))
        run("--all")
        # An error here would say that a user has hung up.
        self.assertRaises(BlockingIOError, os.read, master, 1)
        os.close(master)


faulthandler.dump_traceback_later(240, exit=True)  # says where it hangs
unittest.main(verbosity=2)
