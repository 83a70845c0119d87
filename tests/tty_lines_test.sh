#!/usr/bin/env bash
# Tests tty-lines, the built program, against machines made of files.
#   tty_lines_test.sh PROGRAM
set -euo pipefail
program=("$1" --sysfs . --proc . --dev .)
scratch=$(mktemp -d) pid=''
trap 'kill -KILL $pid 2>/dev/null || :; rm -rf "$scratch"' EXIT
cd "$scratch"
fail() { printf '%s: failed: %s\n' "${0##*/}" "$1" >&2 && exit 1; }
# add NAME DEVICE: a line comes, all at once.
add() { mkdir new && echo "$2" >new/dev && mv new "class/tty/$1"; }

# shows CHECK ARGUMENT...: fails unless the program prints what is on the standard input: its output, behind '! '
# its messages, but for complaints about the usage, and its status.
shows() {
  local status=0
  timeout 60 "${program[@]}" "${@:2}" >out 2>err || status=$?
  { sed '/^\//d; s/^/! /; /^! usage:/q' err && echo "= $status"; } >>out
  diff -u --label expected --label actual - out >&2 || fail "$1"
}

# follows CHECK ARGUMENT...: the same for the output of a program that goes on, while lines behind '$ ' are done.
follows() {
  local expected actual
  exec {out}< <(exec "${program[@]}" "${@:2}" 2>err) && pid=$!
  while IFS= read -r expected; do
    if [[ $expected == '$ '* ]]; then
      eval "${expected#'$ '}" || fail "$1: $expected: $(<err)"
    elif ! IFS= read -r -t 60 -u "$out" actual || [[ $actual != "$expected" ]]; then
      fail "$1: not '$expected' but '$actual' $(<err)"
    fi
  done
  { timeout 60 tail -s 0.01 --pid="$pid" -f /dev/null && wait "$pid" && pid=''; } || fail "$1: ends with $? $(<err)"
  ! IFS= read -r -u "$out" actual || fail "$1: prints '$actual' too"
}
mkdir -p class/tty/vanished tty pts && touch pts/7 pts/ptmx
printf '%-11s %s %s %s %s\n' /dev/tty /dev/tty 5 0 system:/dev/tty serial /dev/ttyS 4 64-95 serial \
  $'uart "\\\e"' /dev/ttyX 204 0-9 serial $'usb \xff' /dev/ttyUSB 188 0-9 serial \
  pty_slave /dev/pts 136 0-1048575 pty:slave >tty/drivers
for line in tty12=4:12 ttyS0=4:6 ttyX0=204:0 ttyX3=204:3 ttyZ1=9:1 tty=5:0 odd=x hvc2=229:2 \
  ttyUSB10000=188:1 ttyUSB10001=188:2; do add "${line%=*}" "${line#*=}"; done
shows 'the table' <<'END'
CATEGORY     ID  NAME         DEVICE  DRIVER     SIZE  SPEED  FOREGROUND
       0     12  tty12        4:12    -             -      -           -
       1      0  ttyS0        4:6     -             -      -           -
       1      3  ttyX3        204:3   uart "\?"     -      -           -
       2  10000  ttyUSB10000  188:1   usb ?         -      -           -
       3      7  pts/7        0:0     -             -      -           -
       4      2  hvc2         229:2   -             -      -           -
       5      0  tty          5:0     /dev/tty      -      -           -
       5      1  ttyZ1        9:1     -             -      -           -
8 lines, 6 blocks; by category 0: 1, 1: 2, 2: 1, 3: 1, 4: 1, 5: 2; 3 not registrable
! tty-lines: odd: not registrable: its device numbers cannot be read
! tty-lines: ttyUSB10001: not registrable: its number is above 10000
! tty-lines: ttyX0: not registrable: category 1, id 0 is taken by ttyS0
= 0
END
rm -r class/tty/* pts/* && add ttyS0 4:64 && add ttyS4 4:68
follows '--watch' --watch=0.01 --by-driver <<'END'
CATEGORY  ID  NAME   DEVICE  DRIVER  SIZE  SPEED  FOREGROUND
       1   0  ttyS0  4:64    serial     -      -           -
       1   4  ttyS4  4:68    serial     -      -           -
2 lines, 1 blocks; by category 0: 0, 1: 2, 2: 0, 3: 0, 4: 0, 5: 0; 0 not registrable

CATEGORY  FIRST  SIZE  REGISTERED  TAG
       1      0     5           2  serial
$ echo 204:3 >dev && mv dev class/tty/ttyS4
- 1 4 ttyS4 4:68 serial
+ 1 4 ttyS4 204:3 uart "\?"

CATEGORY  FIRST  SIZE  REGISTERED  TAG
       1      0     1           1  serial
       1      4     1           1  uart "\?"
$ kill -TERM "$pid"
END
echo 4:68 >class/tty/ttyS4/dev && add odd x
follows '--watch --json' --watch 0.01 --by-driver --category 5 --json <<'END'
{"lines": [], "blocks": [], "totals": {"lines": 2, "blocks": 1, "by_category": [0, 2, 0, 0, 0, 0], "not_registrable": 1}}
$ add ttyS5 4:69 && add ttyX3 204:3
{"event": "+", "category": 5, "id": 0, "name": "ttyX3", "device": "204:3", "driver": "uart \"\\\u001b\""}
{"blocks": [{"category": 5, "first": 0, "size": 1, "registered": 1, "tag": "uart \"\\\u001b\""}]}
$ [[ $(<err) == *' odd: '*'/ttyX): range in category 1 overlaps another'*'in category 5' && $(wc -l <err) == 2 ]]
$ rm -r class/tty/{odd,ttyS0,ttyS4,ttyX3}
{"event": "-", "category": 5, "id": 0, "name": "ttyX3", "device": "204:3", "driver": "uart \"\\\u001b\""}
{"blocks": []}
$ kill -INT "$pid"
END
timeout 60 "${program[@]}" --watch 60 | sed q >out || fail 'a closed output'
for option in --bogus word --category=6 --category=1x --watch=0 --watch=nan --watch=1s; do
  shows "$option" "$option" <<<$'! usage: tty-lines [OPTION]...\n= 2'
done
for path in sysfs/class/tty proc/tty/drivers dev/pts; do
  shows "no $path" "--${path%%/*}" none <<<"! tty-lines: none/${path#*/}: No such file or directory"$'\n= 1'
done
[[ $(timeout 60 "${program[@]}" 2>&1 >/dev/full || echo "= $?") == *' standard output: '*$'\n= 1' ]] || fail 'a full device'
[[ $("${program[@]}" --version) =~ ^tty-lines\ [0-9.]+$ ]] || fail '--version'
python3 -c 'import os; os.openpty()' || { echo 'not tested: JSON and the state of a pseudo-terminal' && exit; }
program=(python3 -c 'import fcntl, json, os, re, struct, subprocess, sys, termios
os.setsid(); master, slave = os.openpty()
fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("4H", 50, 132, 0, 0)); fcntl.ioctl(slave, termios.TIOCSCTTY, 0)
os.symlink(os.ttyname(slave), "pts/4")
for key, value in json.loads(subprocess.check_output(sys.argv[1:])).items():
  for item in value if isinstance(value, list) else [value]:
    print(key, re.sub("(136:|foreground.: )[0-9]+", "\\1N", json.dumps(item)))' "${program[@]}")
shows '--json' --json <<'END'
lines {"category": 1, "id": 5, "name": "ttyS5", "device": "4:69", "driver": "serial", "size": null, "speed": null, "foreground": null}
lines {"category": 3, "id": 4, "name": "pts/4", "device": "136:N", "driver": "pty_slave", "size": {"columns": 132, "rows": 50}, "speed": 38400, "foreground": N}
totals {"lines": 2, "blocks": 2, "by_category": [0, 1, 0, 1, 0, 0], "not_registrable": 0}
= 0
END
