#!/usr/bin/env python3
# Tests tty-lines, the program that is the first argument, against machines made of files, and on this machine.
import faulthandler, fcntl, json, os, pathlib, pwd, random, resource, shutil, signal, socket, struct, subprocess, sys
import tempfile, termios, time, unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))
OWNER = next((user.pw_name for user in pwd.getpwall() if user.pw_uid == os.getuid()), str(os.getuid()))
# Files by path, below /sys/class/tty or, with a slash at the start, below the machine's root; ~ is a space, | a
# line end, > a link.  Of the group in the foreground of tty2 the leader has gone, of that of ttyS0 everybody.
MACHINE = dict(file.replace('~', ' ').replace('|', '\n').split('=') for file in '''
/proc/tty/drivers=too~4~64~few|unknown~/dev/tty~4~1-63~console|serial~/dev/ttyS~4~64-66~serial|\
serial~/dev/ttyX~204~0-31~serial|bad~/dev/bad~188~x-511~bad|\
usb~serial~/dev/ttyUSB~188~0-511~serial /dev/ttyS0= /dev/pts/7= tty0/dev=4:0
tty1/dev=4:1 tty2/dev=4:2 tty0/active=tty0~tty1 /proc/91/stat=91~(x)~S~1~91~91~1026
/proc/90/stat=90~(a~(b)~c)~S~1~89~89~1026~89~0
/proc/88/stat=88~(shell)~S~1~88~88~1026~89~0 /proc/70/stat=70~(sh)~S~1~70~70~1088~71~0 ttyS1/dev=4:65 ttyS1/type=0
ttyS1/port=0x2F8 ttyS1/irq=3 ttyS0/dev=4:64 ttyS0/type=4 ttyS0/port=0x3F8 ttyS0/irq=4 ttyS0/iomem_base=0x0
ttyS0/uartclk=1843200 ttyS2/dev=4:66 ttyS2/type=32 ttyS2/port=0x0 ttyS2/irq=1,2 ttyS2/iomem_base=0xFE00
ttyS2/uartclk=24000000 /usb/idVendor=0403 /usb/idProduct=6001 /usb/manufacturer=FTDI~Ltd /usb/product=FT232R~USB~UART
/usb/serial=A5001XYZ /usb/0/interface=FT232R~USB~UART /usb/0/bInterfaceNumber=00 /usb/0/port/tty/dev=188:0
/usb/0/port/tty/device=>.. /usb/1/interface=Port~B /usb/1/bInterfaceNumber=01 /usb/1/port/tty/dev=188:1
/usb/1/port/tty/device=>.. ttyUSB0=>../../../usb/0/port/tty ttyUSB1=>../../../usb/1/port/tty'''.split())
KNOWN = '''NAME KIND CATEGORY ID DEVICE DRIVER PID COMMAND UART ADDRESS IRQ USB-ID DETAIL
tty0 console 0 0 4:0        stands~for~the~active~virtual~console
tty1 console 0 1 4:1        active~console
tty2 console 0 2 4:2  89 a~(b)~c     
ttyS0 serial 1 0 4:64 serial 71  16550A 0x3f8 4  16550A~at~0x3f8,~irq~4
ttyS1 serial 1 1 4:65 serial       no~UART~found
ttyS2 serial 1 2 4:66 serial   PL011 0xfe00   PL011~at~0xfe00,~up~to~1500000~baud
ttyUSB0 usb 2 0 188:0 usb~serial      0403:6001 FTDI~Ltd~FT232R~USB~UART,~serial~A5001XYZ
ttyUSB1 usb 2 1 188:1 usb~serial      0403:6001 FTDI~Ltd~FT232R~USB~UART,~interface~1:~Port~B,~serial~A5001XYZ
pts/7 pty 3 7 0:0        
'''.replace('~', r'\x20')


def run(*arguments, stdout=subprocess.PIPE, locale='C.UTF-8', **more):
    done = subprocess.run([PROGRAM, *arguments], stdout=stdout, stderr=subprocess.PIPE, timeout=60,
                          env={**os.environ, 'LC_ALL': locale}, **more)
    return done.returncode, os.fsdecode(done.stdout or b''), os.fsdecode(done.stderr)


def watch(*arguments, **more):
    tool = subprocess.Popen([PROGRAM, '-J', '--watch', *arguments], stdout=subprocess.PIPE, **more)
    tool.documents = map(json.loads, tool.stdout)
    return tool, next(tool.documents)


def open_terminal(columns):
    master, slave = os.openpty()
    fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack('4H', 50, columns, 0, 0))
    return master, slave


def run_on_terminal(columns, *arguments):
    master, slave = open_terminal(columns)
    run(*arguments, stdout=slave)
    os.write(slave, b'end\n')
    with open(master) as terminal:
        return [line.rstrip('\n') for line in iter(terminal.readline, 'end\n')]


class TtyLines(unittest.TestCase):
    def setUp(self):
        self.root = self.enterContext(tempfile.TemporaryDirectory())
        self.lines = f'{self.root}/sys/class/tty/'
        self.roots = [f'--sysfs={self.root}/sys', f'--proc={self.root}/proc', f'--dev={self.root}/dev']
        os.makedirs(self.lines)
        self.make({'/proc/tty/drivers': MACHINE['/proc/tty/drivers'], '/dev/pts/ptmx': ''})

    def make(self, files):
        for name, text in files.items():
            path = pathlib.Path(self.root + name if name[0] == '/' else self.lines + name)
            path.parent.mkdir(parents=True, exist_ok=True)
            new = pathlib.Path(self.root + '/made')  # takes its place at once: the tool may be reading
            new.symlink_to(text[1:]) if text[:1] == '>' else new.write_text(text + '\n')
            new.rename(path)

    def test_what_is_known(self):
        self.make(MACHINE)
        self.assertEqual(run(*self.roots, '-rao', KNOWN.split('\n')[0].title().replace(' ', ',')), (0, KNOWN, ''))
        table = run(*self.roots, '-akserial', '-oname,irq,uart,pid')[1].splitlines()
        self.assertEqual([row.rstrip() for row in table],
                         ['NAME  IRQ UART   PID', 'ttyS0   4 16550A  71', 'ttyS1', 'ttyS2     PL011'])
        ports = run(*self.roots, '--json', '--kind', 'SERIAL')[1]
        port = json.loads(ports)['lines'][0]
        self.assertGreater(ports.count('\n'), len(port))
        self.assertEqual(list(port), [row.split()[0].lower() for row in run('-l')[1].splitlines()][:19])
        self.assertEqual([port[column] for column in ('id', 'irq', 'owner', 'size', 'pid', 'vendor')],
                         [0, 4, OWNER, None, 71, None])
        for choice, names in {'-n': 'tty1 tty2 ttyS0 ttyS2 ttyUSB0 ttyUSB1 pts/7', '--category=0': 'tty0 tty1 tty2',
                              '-kpty,usb': 'ttyUSB0 ttyUSB1 pts/7'}.items():
            self.assertEqual(run(*self.roots, '-nro', 'NAME', choice)[1].split(), names.split())
        heading, *rows = run_on_terminal(60, *self.roots)
        self.assertEqual(heading.split(), 'NAME KIND DRIVER OWNER COMMAND DETAIL'.split())
        self.assertEqual(rows[-3:], ['9 lines in 4 blocks', '3 console, 3 serial, 2 usb, 1 pty',
                                     '2 idle lines not shown; --all shows them'])
        self.assertTrue(max(map(len, rows)) <= 60 and rows[5].startswith('ttyUSB1 usb     usb se'), rows)
        self.assertIn('interface 1: Port B, serial A5001XYZ\n', run(*self.roots)[1])
        self.assertEqual(run(*self.roots, '-kpty', '--by-driver')[1].split()[:6],
                         'NAME CATEGORY ID FIRST SIZE REGISTERED'.split())
        tree = [*self.roots, '-nk', 'usb', '--by-driver', '-o']
        self.assertEqual(run(*tree, 'name,category,first,size,registered')[1].split(),
                         'usb serial 2 0 2 2 ├─ttyUSB0 2 └─ttyUSB1 2'.split())
        self.assertEqual(''.join(run(*tree, 'NAME,TAG', '-J')[1].split()), '{"blocks":[{"name":null,"tag":"usbserial",'
                         '"children":[{"name":"ttyUSB0","tag":null},{"name":"ttyUSB1","tag":null}]}]}')

        block = json.loads(run(*self.roots, '-J', '--by-driver', '-kserial')[1])['blocks'][0]
        numbers = [' '.join(column for column, value in row.items() if isinstance(value, int))
                   for row in (block, block['children'][0])]
        self.assertEqual(numbers, ['category size first registered', 'category id pid irq'])

    def test_narrow_terminals(self):
        self.make(MACHINE)

        rows = run('-l')[1].splitlines()
        self.assertTrue(all(row[11] == ' ' != row[12] for row in rows), rows)
        cut = []
        for name in (row.split()[0] for row in rows):
            narrow, wide = (run_on_terminal(columns, *self.roots, '--by-driver', '-no', name) for columns in (3, 99))
            cut += [name] if max(map(len, narrow)) < max(map(len, wide)) else []
        self.assertEqual(' '.join(cut), 'DRIVER OWNER COMMAND VENDOR MODEL SERIAL DETAIL TAG')

    def test_on_a_terminal(self):
        self.make({'ttyS0/dev': '4:64', 'ttyS0/type': '0', 'bad/dev': '1x:2', '/new/dev': '4:65', '/new/type': '4'})
        master, slave = open_terminal(80)
        tool = subprocess.Popen([PROGRAM, *self.roots, '--watch'], stdout=slave, stderr=subprocess.DEVNULL)
        terminal = self.enterContext(open(master))
        self.assertEqual([next(terminal) for _ in range(3)], ['1 line in 1 block, 1 not registrable\n', '1 serial\n',
                                                              '1 idle line not shown; --all shows it\n'])
        os.rename(f'{self.root}/new', self.lines + 'ttyS1')
        self.assertRegex(next(terminal), r'^[0-9:]{8} \+     ttyS1    serial  16550A\n$')
        tool.kill(), tool.wait()

    def test_what_makes_another_line(self):
        self.make({**MACHINE, 'one/dev': '9:1', 'two/dev': '9:2'})
        tool, _ = watch('0.02', '-a', *self.roots)
        events = ([event['event'] + event['name'] for event in batch['events']] for batch in tool.documents)
        os.rename(self.lines + 'one', f'{self.root}/one')
        self.assertEqual(next(events), ['-one'])
        shutil.rmtree(f'{self.root}/proc/70')
        self.make({'/proc/90/stat': MACHINE['/proc/90/stat'].replace('(b)', 'd'), 'tty0/active': 'tty0 tty2'})
        usb = '-ttyUSB0 -ttyUSB1 +ttyUSB0 +ttyUSB1'
        for file, changes in {'/usb/manufacturer': usb, '/usb/product': usb, '/usb/serial': usb, '/usb/idProduct': usb,
                              'ttyS0/irq': '-ttyS0 +ttyS0', 'ttyS0/port': '-ttyS0 +ttyS0'}.items():
            self.make({file: '0x77'})
            seen = []
            while len(seen) < len(changes.split()):  # a scan may come between the lines
                seen += next(events)
            self.assertEqual(sorted(seen), sorted(changes.split()), file)
        os.remove(f'{self.root}/usb/1/interface')
        os.remove(f'{self.root}/usb/product')
        self.assertEqual(next(tool.documents)['events'][-1]['detail'], '0x77 USB 0403:0x77, interface 1, serial 0x77')
        tool.terminate(), tool.wait()

    def test_blocks_of_drivers(self):
        self.make({f'{name}/dev': device for name, device in zip(
            'ttyS0 ttyS2 ttyX1 ttyX3 one two com7 ttyn8'.split(),
            '4:64 4:66 204:1 204:3 9:1 9:2 204:7 4:8'.split())})
        overlaps = "tty-lines: driver '{}' ({}): range in category {} overlaps another's; its lines are in category 5\n"
        _, blocks, reports = run(*self.roots, '--by-driver', '-nro', 'NAME,CATEGORY,ID,FIRST,SIZE,REGISTERED')
        self.assertEqual(' '.join(blocks.split()), r'serial 1 0 3 2 ttyS0 1 0 ttyS2 1 2 serial 5 0 1 1 com7 5 0 '
                         r'(no\x20name) 5 1 3 2 one 5 1 two 5 3 serial 5 4 2 2 ttyX1 5 4 ttyX3 5 5 '
                         r'(no\x20name) 5 6 1 1 ttyn8 5 6')
        self.assertEqual(reports, overlaps.format('', '/dev/tty', 5) + overlaps.format('serial', '/dev/ttyX', 1))
        self.assertEqual(run(*self.roots, '-nro', 'NAME,ID')[1].split(),
                         'ttyS0 0 ttyX1 1 ttyS2 2 ttyX3 3 com7 0 one 1 ttyn8 2 two 3'.split())

    def test_what_can_be_registered(self):
        self.make({'/one/dev': '4:64', **{f'ttyS{number}': '>../../../one' for number in range(10002)},
                   'ttyX0/dev': '204:0', 'ttyX99999999999/dev': '204:1', 'bad/dev': '1x:2', 'broken': '>no',
                   'endless/dev': '>/dev/zero', 'fails/dev': '>/proc/self/mem', 'none/type': '4',
                   'over/dev': '4294967296:1', '/dev/pts/5': '>no'})
        names = 'bad broken endless fails none over pts/5'.split()
        reasons = dict.fromkeys(names, 'its device numbers cannot be read')
        reasons.update({'ttyS10001': 'its number is above 10000', 'ttyX0': 'category 1, id 0 is taken by ttyS0',
                        'ttyX99999999999': 'its number is above 10000'})
        reports = [f'tty-lines: {name}: not registrable: {reason}\n' for name, reason in reasons.items()]
        lines = ''.join(f'ttyS{number} 1 {number}\n' for number in range(10001))
        self.assertEqual(run(*self.roots, '-nro', 'NAME,CATEGORY,ID'), (0, lines, ''.join(reports)))
        self.make({'\u202eé\u200b\x1b\udcff\\x/dev': '9:1'})
        for locale, letter in ('C', r'\xc3\xa9'), ('C.UTF-8', 'é'):
            self.assertEqual(run(*self.roots, '-nkother', '-oname', locale=locale)[1],
                             rf'\xe2\x80\xae{letter}\xe2\x80\x8b\x1b\xff\x5cx' '\n')
        self.assertEqual(json.loads(run(*self.roots, '-Jkother', '-oname', locale='C')[1]),
                         {'lines': [{'name': '\u202eé\u200b\x1b\ufffd\\x'}]})

    def test_failures(self):
        for argument, message in {
                '--bogus': "unrecognized option '--bogus'", 'x': "unexpected argument: 'x'",
                '-oname,': "unknown column: ''", '-o+KINDS': "unknown column: 'KINDS'", '-kx': "unknown kind: 'x'",
                '--category=6': "bad category: '6'", '-Jr': '--json and --raw exclude each other',
                '--watch=nan': "bad number of seconds: 'nan'", '--watch=1s': "bad number of seconds: '1s'"}.items():
            message += "\nTry 'tty-lines --help' for more information.\n"
            self.assertEqual(run(argument), (2, '', 'tty-lines: ' + message))
        self.assertEqual([run(option)[1].split()[0] for option in ('-h', '-V')], ['Usage:', 'tty-lines'])
        self.assertEqual(run(*self.roots, '--dev=x'), (1, '', 'tty-lines: x/pts: No such file or directory\n'))
        message = 'tty-lines: standard output: '
        self.assertEqual(run(preexec_fn=lambda: os.close(1)), (1, '', message + 'Bad file descriptor\n'))
        self.assertEqual(run(stdout=os.open('/dev/full', os.O_WRONLY)), (1, '', message + 'No space left on device\n'))

    def test_events_add_up(self):
        chance = random.Random(1)
        devices = {'ttyS0': '4:6', 'ttyS2': '4:7', 'ttyX1': '204:1', 'ttyX3': '204:2', 'one': '9:1', 'two': '9:2'}
        states = [{name: device + chance.choice('45') for name, device in devices.items() if chance.random() < 0.6}
                  for _ in range(30)]
        last = [{}, {'ttyX1': '204:1', 'ttyX3': '204:3'}, {'ttyS2': '4:66', 'ttyX3': '204:3'}, {'ttyX1': '204:1'}, {}]
        for arguments in [], ['--by-driver']:
            (tool, first), shown = watch('0.02', *self.roots, *arguments), {}
            self.assertEqual(first, {'blocks' if arguments else 'lines': []})
            for there in [*states, *last]:
                for name in set(os.listdir(self.lines)) - set(there):
                    shutil.rmtree(self.lines + name)
                self.make({f'{name}/dev': device for name, device in there.items()})
                self.make({f'{name}/type': chance.choice('48') for name in there})
                driver = chance.choice(['serial', 'other']) + ' /dev/ttyX'
                self.make({'/proc/tty/drivers': MACHINE['/proc/tty/drivers'].replace('serial /dev/ttyX', driver)})
                while there != dict(shown.values()):
                    for event in next(tool.documents)['events']:
                        place, line = (event['category'], event['id']), (event['name'], event['device'])
                        if event['event'] == '-':
                            self.assertEqual(shown.pop(place), line)
                        else:
                            self.assertIs(shown.setdefault(place, line), line)
                if there in last:  # the drivers that had their ids have given them up
                    self.assertLessEqual({category for category, _ in shown}, {1})
            tool.terminate(), self.assertEqual(tool.wait(), 0)

    @unittest.skipIf(b'__ubsan' in pathlib.Path(PROGRAM).read_bytes(), 'it looks at exceptions through pipes')
    def test_too_few_descriptors(self):
        self.make({'/new/dev': '4:65', 'ttyS0/dev': '4:64'})
        status, out, errors = run(*self.roots, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (4, 4)))
        self.assertEqual((status, out, errors.endswith(': Too many open files\n')), (1, '', True))
        tool, _ = watch('0.02', *self.roots, '-oname', stderr=subprocess.PIPE)
        resource.prlimit(tool.pid, resource.RLIMIT_NOFILE, (3, 64))
        self.assertIn(b'Too many open files', tool.stderr.readline())
        time.sleep(0.2)  # and does not say it again
        os.rename(f'{self.root}/new', self.lines + 'ttyS1')
        resource.prlimit(tool.pid, resource.RLIMIT_NOFILE, (64, 64))
        self.assertEqual(next(tool.documents)['events'], [{'event': '+', 'name': 'ttyS1'}])
        tool.stdout.close()  # the reader goes
        self.assertEqual((tool.wait(), tool.stderr.read()), (0, b''))

    def test_terminals_in_use_on_this_machine(self):
        tool, _ = watch('600')
        master, slave = open_terminal(132)
        name = os.ttyname(slave)[len('/dev/'):]
        events = (event for batch in tool.documents for event in batch['events'] if event['name'] == name)
        came = next(events)
        self.assertEqual([came[column] for column in ('event', 'size', 'speed', 'pid', 'owner')],
                         ['+', '132x50', 38400, os.getpid(), OWNER])
        sleep = subprocess.Popen(['sleep', '600'], start_new_session=True, pass_fds=[slave],
                                 preexec_fn=lambda: fcntl.ioctl(slave, termios.TIOCSCTTY, 0))
        fcntl.ioctl(master, 0x40045431, struct.pack('i', 1))  # TIOCSPTLCK: nobody else may open it
        line = next(line for line in json.loads(run('-J')[1])['lines'] if line['name'] == name)
        self.assertEqual((line['pid'], line['command'], line['size']), (sleep.pid, 'sleep', None))
        sleep.kill(), sleep.wait(), os.close(master), os.close(slave)
        self.assertEqual(next(events)['event'], '-')
        tool.send_signal(signal.SIGINT), self.assertEqual(tool.wait(), 0)

    def test_news_of_devices(self):
        try:
            kernel = self.enterContext(socket.socket(socket.AF_NETLINK, socket.SOCK_RAW, 15))  # NETLINK_KOBJECT_UEVENT
            kernel.sendto(b'x', (0, 1))
        except OSError as error:
            self.skipTest(error)
        self.make({'ttyS0/dev': '4:64', 'ttyS0/type': '4'})
        tool, _ = watch('600', '-a', *self.roots, preexec_fn=lambda: os.close(0))
        for subsystem, times in (b'tty', 1), (b'usb', 5000):  # more than can be kept for the tool
            tool.send_signal(signal.SIGSTOP)
            self.make({'ttyS0/irq': str(times)})
            for _ in range(times):
                kernel.sendto(b'add@/x\0SUBSYSTEM=%s\0' % subsystem + bytes(9999), (0, 1))
            tool.send_signal(signal.SIGCONT)
            self.assertEqual(next(tool.documents)['events'][-1]['irq'], times)
        tool.kill(), tool.wait()

    def test_a_terminal_that_nobody_uses_is_not_opened(self):
        master = os.open('/dev/ptmx', os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
        fcntl.ioctl(master, 0x40045431, struct.pack('i', 0))  # TIOCSPTLCK
        run('--all')
        self.assertRaises(BlockingIOError, os.read, master, 1)  # not an error: nobody has hung up


faulthandler.dump_traceback_later(240, exit=True)  # says where it hangs
unittest.main(verbosity=2)
