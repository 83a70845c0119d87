"""A machine made of files, for tty-lines to read in place of this one."""

import os
import pathlib

DRIVERS = """\
unknown              /dev/tty        4 1-63 console
serial               /dev/ttyS       4 64-67 serial
ttyAMA               /dev/ttyAMA     204 64-77 serial
usbserial            /dev/ttyUSB     188 0-511 serial
acm                  /dev/ttyACM     166 0-255 serial
ttyCH343USB          /dev/ttyCH343USB 170 0-255 serial
"""


class Machine:
    def __init__(self, directory):
        self.root = pathlib.Path(directory)
        self.sysfs = self.root / "sys"
        self.proc = self.root / "proc"
        self.dev = self.root / "dev"
        self.lock = self.root / "lock"
        self.udev = self.root / "udev"
        self.roots = [f"--{name}={self.root / path}" for name, path in (
            ("sysfs", "sys"), ("proc", "proc"), ("dev", "dev"), ("lock", "lock"), ("udev", "udev"))]
        self.write(self.proc / "tty/drivers", DRIVERS)
        (self.sysfs / "class/tty").mkdir(parents=True)
        (self.dev / "pts").mkdir(parents=True)

    def write(self, path, text):
        """Writes a file, which takes its place at once: tty-lines may be reading."""
        path.parent.mkdir(parents=True, exist_ok=True)
        new = self.root / "new"
        new.write_text(text)
        new.rename(path)

    def link(self, path, target):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.symlink_to(os.path.relpath(target, path.parent))

    def tty(self, name, device, *, on=None, node=True, **attributes):
        """A line of /sys/class/tty; `on` is the directory of the device that it is on."""
        line = self.sysfs / "class/tty" / name
        self.write(line / "dev", device + "\n")
        for attribute, value in attributes.items():
            self.write(line / attribute, f"{value}\n")
        if on is not None:
            self.link(line / "device", on)
        if node:
            self.write(self.dev / name, "")

    def device(self, path, *, driver=None, **attributes):
        """A device of the given path, and the driver that it is bound to."""
        directory = self.sysfs / "devices" / path
        directory.mkdir(parents=True, exist_ok=True)
        for attribute, value in attributes.items():
            self.write(directory / attribute, f"{value}\n")
        if driver is not None:
            (self.sysfs / "drivers" / driver).mkdir(parents=True, exist_ok=True)
            self.link(directory / "driver", self.sysfs / "drivers" / driver)
        return directory

    def usb(self, socket, *, driver, interfaces=1, **attributes):
        """A USB device in a socket such as "1-3.2".  Returns the directories of its interfaces."""
        bus, path = socket.split("-")
        self.device(socket, busnum=bus, devpath=path, **attributes)
        return [self.device(f"{socket}/{socket}:1.{number}", driver=driver,
                            bInterfaceNumber=f"{number:02}") for number in range(interfaces)]

    def process(self, pid, command, *, group=None, terminal="0:0", foreground=0):
        major, minor = map(int, terminal.split(":"))
        self.write(self.proc / f"{pid}/stat",
                   f"{pid} ({command}) S 1 {group or pid} {pid} {major << 8 | minor} {foreground}\n")

    def unplug(self, name):
        """Takes a line away."""
        line = self.sysfs / "class/tty" / name
        line.rename(self.root / f"unplugged {name} {os.urandom(4).hex()}")
        (self.dev / name).unlink(missing_ok=True)


def raspberry_pi(directory):
    """A Raspberry Pi with two UARTs of its own and three USB adapters, two of them identical."""
    pi = Machine(directory)
    pi.tty("ttyAMA0", "204:64", type=32, iomem_base="0xFE201000", irq=37,
           on=pi.device("fe201000.serial", driver="uart-pl011"))
    pi.tty("ttyS0", "4:64", type=4, iomem_base="0xFE215040", irq=38,
           on=pi.device("fe215040.serial", driver="bcm2835-aux-uart"))
    for number, socket in ((0, "1-1.2"), (1, "1-1.3")):
        [interface] = pi.usb(socket, driver="ftdi_sio", idVendor="0403", idProduct="6001",
                             manufacturer="FTDI", product="FT232R USB UART")
        pi.tty(f"ttyUSB{number}", f"188:{number}",
               on=pi.device(f"{interface.relative_to(pi.sysfs / 'devices')}/ttyUSB{number}",
                            driver="ftdi_sio"))
    [control] = pi.usb("1-1.4", driver="cdc_acm", idVendor="2341", idProduct="0043",
                       manufacturer="Arduino", product="Uno", serial="7553")
    pi.tty("ttyACM0", "166:0", on=control)
    return pi


def terminal_server(directory):
    """A PC with four ports of its own and 64 on cards."""
    server = Machine(directory)
    for number in range(4):
        server.tty(f"ttyS{number}", f"4:{64 + number}", type=4 if number < 2 else 0)
    for number in range(64):
        server.tty(f"ttyMI{number}", f"30:{number}", type=4)
    return server


def container(directory):
    """A container, which sees the host's lines and has no device files but its terminal."""
    machine = raspberry_pi(directory)
    for name in os.listdir(machine.sysfs / "class/tty"):
        (machine.dev / name).unlink()
    machine.write(machine.dev / "pts/0", "")
    return machine
