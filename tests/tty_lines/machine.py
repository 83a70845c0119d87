"""A made machine: directories that tty-lines reads in place of /sys, /proc, /dev and others."""

import pathlib
import tempfile
import unittest

DRIVERS = """\
unknown /dev/tty    4   1-63  console
serial  /dev/ttyS   4   64-95 serial
ttyAMA  /dev/ttyAMA 204 64-77 serial
ttyMI   /dev/ttyMI  30  0-31  serial
"""


class MadeMachine(unittest.TestCase):
    """A test that makes a machine of its own."""

    def setUp(self):
        self.root = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.root.chmod(0o755)  # other users may read it
        self.dev = self.root / "dev"
        self.directories = [f"--{name}={self.root / name}"
                            for name in ("sysfs", "proc", "dev", "lock", "udev")]
        self.write("proc/tty/drivers", DRIVERS)
        (self.root / "sysfs/class/tty").mkdir(parents=True)
        (self.dev / "pts").mkdir(parents=True)

    def write(self, path, text):
        """Writes a file.  A running tty-lines sees the old text or the new one."""
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        new = self.root / "new file"
        new.write_text(text)
        new.rename(file)

    def link(self, path, target):
        """Makes a symbolic link."""
        link = self.root / path
        link.parent.mkdir(parents=True, exist_ok=True)
        link.symlink_to(self.root / target)

    def tty(self, name, numbers, *, on=None, node=True, **attributes):
        """Adds a line with its device numbers, such as "4:64", and its other attributes in sysfs.

        `on` is the path of its device, and `node` whether it has a device file.
        """
        if node:
            self.write(f"dev/{name}", "")
        self.write("new line/dev", f"{numbers}\n")
        for attribute, value in attributes.items():
            self.write(f"new line/{attribute}", f"{value}\n")
        if on is not None:
            self.link("new line/device", f"sysfs/devices/{on}")
        (self.root / "new line").rename(self.root / "sysfs/class/tty" / name)

    def device(self, path, *, driver, **attributes):
        """Adds a device with its driver and its attributes in sysfs."""
        for attribute, value in attributes.items():
            self.write(f"sysfs/devices/{path}/{attribute}", f"{value}\n")
        self.link(f"sysfs/devices/{path}/driver", f"sysfs/drivers/{driver}")

    def usb(self, name, numbers, *, socket, interface=0, driver="ftdi_sio", **attributes):
        """Adds a line of a USB device in a socket such as "1-3.2"."""
        bus, port = socket.split("-")
        self.device(socket, driver="usb", busnum=bus, devpath=port, **attributes)
        path = f"{socket}/{socket}:1.{interface}"
        self.device(path, driver=driver, bInterfaceNumber=f"{interface:02}")
        self.tty(name, numbers, on=path)

    def process(self, pid, command, *, group=1, terminal="0:0", foreground=0):
        """Adds a process.  `foreground` is the foreground process group of its terminal."""
        major, minor = map(int, terminal.split(":"))
        self.write(f"proc/{pid}/stat",
                   f"{pid} ({command}) S 1 {group} 1 {major << 8 | minor} {foreground}\n")

    def unplug(self, name):
        """Removes a line and its device file."""
        (self.root / "sysfs/class/tty" / name).rename(self.root / f"unplugged {name}")
        (self.dev / name).unlink()
