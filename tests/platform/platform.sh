#!/usr/bin/env bash
# What the stand-in does in the surroundings that a process may find itself in.
#   platform.sh PROGRAMS GROUP...    the directory of the programs, and groups of the cases below
set -uo pipefail
EMULATOR=${EMULATOR:-}
programs=$(cd "$1" && pwd) scratch=$(mktemp -d) failures=0
trap 'rm -rf "$scratch"' EXIT
cd "$scratch" || exit
unset TTY_TRACE_FILE TTY_ASSERT NO_DLLMAIN
export LC_ALL=C TTY_TRACE=db

# same WHAT EXPECTED ACTUAL
same() {
  [[ $2 == "$3" ]] && return
  printf '%s:\n expected %q\n got      %q\n' "$1" "$2" "$3" >&2
  failures=1
}

# run START 'VARIABLES' 'ACTIONS' [REDIRECTION]: what a program prints, without times and thread numbers.
# EMULATOR is what runs a program that is built for another machine.
run() {
  local IFS=' '
  # shellcheck disable=SC2086 # both are words
  eval 'timeout -s KILL 120 env $2 $EMULATOR "$programs/program_$1" $3 2>&1 '"${4:-}" |
    sed -E 's/[0-9:]{8}\.[0-9]{6} [0-9]+ /T /; s/^ +| $//g' || printf 'status %d' $?
}

# check START 'VARIABLES' 'ACTIONS' EXPECTED [REDIRECTION]
check() { same "$1 $2 $3" "$4" "$(run "$1" "$2" "$3" "${5:-}")"; }

line='T db/block routine:12 <NULL> -1 9223372036854775808 ab 123456789ABC 100%'
failed='Assertion failed in routine, line 7:'

check_services() {
  local text=$'~a\nb\tc\rd\\e\e\x7f\x01\x9bé\xc2\x9b日\xe9\xed\xa0\x80\xc0\x8a😀'
  local escaped='~a\nb\tc\rd\\e\x1b\x7f\x01\x9bé\xc2\x9b日'$'\xe9\xed\xa0''\x80'$'\xc0''\x8a😀'
  text+=$'\xc2\x80\xe0\xa0\x80\xf0\x90\x80\x80\xf4\x8f\xbf\xbf\xf4\x90\x80\x80\xee\x80\x80'
  escaped+='\xc2\x80'$'\xe0\xa0\x80\xf0\x90\x80\x80\xf4\x8f\xbf\xbf\xf4''\x90\x80\x80'$'\xee\x80\x80'
  text+=$'\xc1\xbf\xe0\x9f\xbf\xf0\x8f\xbf\xbf\xbf\x80\xe9\n'
  escaped+=$'\xc1\xbf\xe0''\x9f'$'\xbf\xf0''\x8f'$'\xbf\xbf\xbf''\x80'$'\xe9''\n'
  for case in =0000 other=0000 dbx,d=0000 db=1111 db:=0000 db:block+tty=0111 other:global,db:tty=0011 \
    other:x,db=1111 db:block,other=0101 db:tty,db:global=1011 db:tty,db=1111; do
    check platform "TTY_TRACE=${case%=*}" 'start=report end' "${case#*=}"
  done
  check platform TTY_TRACE=db:no+tty+no,db:no+$'\e'+block start=report \
    "TTY_TRACE: db has no category 'no'"$'\n'"TTY_TRACE: db has no category '\\x1b'"$'\n'0111
  check platform '' "start trace=$text" "$line $escaped"
  check platform '' "raise=3$text" "HOST MESSAGE: $escaped (16)"
  check platform '' 'start cut' 'T db/global routine:12 cut'
  check platform TTY_ASSERT=report "assert=$text" "$failed $escaped"
  check platform TTY_ASSERT=other assert=a "$failed a"$'\nstatus 134' '| head -n 1'
  check platform '' 'texts register=1201 texts register=1200 texts' '0 2 0 0 13'

  # A line has 2048 bytes, the newline included.  One that is longer ends with "...", after a whole character.
  # shellcheck disable=SC2046 # the numbers are words
  text=$(printf 'x%.0s' $(seq $((2044 - ${#failed}))))
  check platform TTY_ASSERT=report "assert=$text"$'\n' "$failed $text\n"
  for case in "${text}xyz" "${text%x}éyz" "$text"$'\nz'; do
    check platform TTY_ASSERT=report "assert=$case" "$failed ${text%x}..."
  done

  check platform '' 'flood=3 flood=5 flood=4 flood=2' '221 HOST MESSAGE: flood (16)
1 System messages: 179 more were left out' '| sort | uniq -c'
  # The message before a critical one was left out, and is raised after all: it may be the reason.
  check platform '' 'flood=3 raise=3reason raise=2end assert=a' $'System messages: 90 more were left out
HOST MESSAGE: reason (16)\nHOST MESSAGE: end (16)\n'"$failed a"$'\nstatus 134' '| sed -n "/^System/,/^Assert/p"'
  check platform '' 'flood=3,20000' '10 HOST MESSAGE: flood (16)
1 System messages: 79990 more were left out' '| sort | uniq -c'
  check platform '' 'syslog=2 raise=2a raise=3b syslog=3 raise=2a raise=3b child raise=3c' \
    $'a (16)\nb (16)\nc (16)\nc (16)' '| sed -n "s/^syslog: HOST MESSAGE: //p"'
}

# What sanitizers and the counting of coverage do not bear.
check_plain() {
  check platform '' 'exhaust start end raise=3x' 'errno 12 nothing HOST MESSAGE: x (16)'
  check platform TTY_TRACE_FILE=/dev/null 'reuse=own open_apart close lowest_free' 4
}

check_files() {
  check platform TTY_TRACE_FILE=trace 'start flood=4 end start flood=4 trace=again' '' '2>/dev/null'
  same trace $'600\n50 a\n1 again\n50 b\n50 c\n50 d' \
    "$(stat -c %a trace; sed 's/.*100% //' trace | sort | uniq -c | sed -E 's/(.)\1{499}$/\1/; s/^ *//')"
  check platform TTY_TRACE_FILE=$'no\nne/x' 'start start trace=x' \
    'TTY_TRACE_FILE: no\nne/x: No such file or directory'$'\n'"$line x"
  ln -s /dev/stderr link
  for file in /dev/stderr /dev/stdout /dev/fd/2 /proc/self/fd/1 link; do
    check platform "TTY_TRACE_FILE=$file" 'start trace=x' "$line x"
  done

  # The last of two clients closes the file, whichever has come first.
  check platform TTY_TRACE_FILE=two 'reuse=own start open end end lowest_free close lowest_free' '5 4'
  check platform TTY_TRACE_FILE=two 'reuse=own open start close lowest_free end lowest_free' '5 4'

  check platform TTY_TRACE_FILE=two 'reuse=own start descriptors' '0:0 1:2000 errno 9'

  # Descriptors that the program has not got when it starts, or has closed since.
  check platform TTY_TRACE_FILE=closed start=report '' '>&-'
  check platform TTY_TRACE_FILE=in 'start lowest_free' '-1 errno 9' '<&-'
  check platform TTY_TRACE_FILE=error 'start trace=x' '' '2>&-'
  check platform TTY_TRACE_FILE=error 'start trace=x' '' '>&- 2>&-'
  check platform '' 'start reuse=own trace=x' '' '2>&-'
  check platform TTY_TRACE_FILE=kept 'start reuse=own trace=x' ''
  same "its own, and lines of the trace" $'1\n2' "$(cat closed own; wc -l <kept; wc -l <error)"
  check platform '' 'nap=1 start trace=x' '' '2> >(:)'
  check platform '' 'block=13 nap=1 start trace=x blocked' 13:pending '2> >(:)'

  # A pipe without a reader, with one that is slow, and with one that is too slow: how many lines come or
  # are said to be lost, how often that is said, and whether of many.
  mkfifo pipe
  check platform TTY_TRACE_FILE=pipe 'start trace=x' \
    $'TTY_TRACE_FILE: pipe: No such device or address\n'"$line x"
  for delay in 1 6; do
    exec 8<>pipe
    { sleep "$delay"; cat; } <pipe >got 8>&- &
    run platform TTY_TRACE_FILE=pipe "start $([[ $delay == 6 ]] || echo tick) flood=4 flood=4 flood=4 nap=$((delay - 1))
      child trace=x trace=y" >/dev/null
    exec 8>&-
    wait
    same "pipe $delay" "304 $((delay / 6)) $((delay / 6))" "$(awk '/100%/ { ++lines }
      / lost up to here$/ { lost += $1; ++said } END { print lines + lost, said + 0, (lost > 50) }' got)"
  done

  # A file that may not grow: one of which a part of a line gets in, and one that is full.
  truncate -s 65500 part
  truncate -s 64K full
  ulimit -S -f 64
  check platform TTY_TRACE_FILE=part 'start trace=x room trace=y' ''
  same 'part of a line' $'1\n1' "$(grep -ac 'y$' part; grep -ac '^1 trace lines have been lost' part)"
  check platform TTY_TRACE_FILE=full 'block=13 start trace=x blocked' 13:pending
  check platform TTY_TRACE_FILE=full 'block=25 start trace=x blocked' 25:pending
}

check_threads() {
  export TTY_TRACE_FILE=/dev/null
  check platform '' wait c
  check platform '' 'start fork' 100 '2>/dev/null'
  check platform '' 'start cancel' '' '2>/dev/null'
  check linked '' 'start create cancel destroy' '' '2>/dev/null'
}

# A program that runs with another group.
check_secure() {
  local group
  group=$({ id -G | tr ' ' '\n'; echo 65534; } | grep -vx "$(id -g)" | head -n 1)
  install -m 2755 -g "$group" "$programs/program_platform" program_secure && programs=$scratch
  [[ $(run secure '' start=report) == [01]*secure ]] || return 0
  check secure 'TTY_TRACE_FILE=made TTY_ASSERT=report' 'start=report trace=x assert=a' \
    "0000 secure $line x"$'\n'"$failed a"$'\nstatus 134'
  same files 'made*' "$(echo made*)"
}

# When the library ends its tracing: at an explicit unload, and never because the process exits.
check_loader() {
  local start service own=$programs/libown_ cleanup=$programs/libown_tty_debug_cleanup.so
  export TTY_TRACE_FILE=/dev/null ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0
  check bare '' reopen 0
  check platform "LD_PRELOAD=${own}clock_gettime.so" "$(printf 'raise=%.2s ' {5b,3a}{0..99})child raise=3a" \
    $'2 90 more were left out\n1 System messages: 90 more were left out\n12 a (16)\n10 b (16)' \
    '| sed "s/.*MESSAGE: //" | sort | uniq -c'
  # In a form that is not taken for a time, and left out.
  check platform "LD_PRELOAD=${own}clock_gettime.so:${own}localtime_r.so TTY_TRACE_FILE=" \
    'start flood=4,0 trace= child trace=' $'0.30.00.500000\n0.30.00.600000\n0.30.00.600000' '| cut -c 2-15 | tr : .'
  check linked "LD_PRELOAD=$cleanup" exit_in_thread ''
  # Opened by a constructor, before the program runs.
  check platform "LD_PRELOAD=$cleanup:$programs/libopen_early.so" nap=0 ''
  check linked "LD_PRELOAD=$cleanup" "load=${own}tty_trace.so exit_in_thread" ''
  check linked "LD_PRELOAD=$cleanup" 'texts open close texts' '13 13'
  check bare "LD_PRELOAD=$cleanup" "load=$programs/../../libttyplatform.so.1 close_at_exit open" cleanup-db
  check bare "NO_DLLMAIN= LD_PRELOAD=$cleanup" 'open texts close' 0
  check bare "LD_PRELOAD=$cleanup" 'reuse=own open texts close lowest_free' '13 cleanup-db 4'
  for start in platform bare; do
    check "$start" "LD_PRELOAD=$cleanup" 'open close open open close close open open close' \
      'cleanup-db cleanup-db'
    # One service is the host's own, and then the clean-up as well.
    for service in "$own"{tty,qerr,kel,ptd}_*; do
      check "$start" "LD_PRELOAD=$service" 'open create destroy close open create destroy' \
        "$([[ $service != "$cleanup" ]] || echo cleanup-db)"
      check "$start" "LD_PRELOAD=$cleanup:$service" 'open close open' cleanup-db
      check "$start" "LD_PRELOAD=$cleanup:$service" 'open exit_in_thread' ''
    done
    # All that run when the library is loaded; the lines go where the stand-in's would.
    check "$start" "LD_PRELOAD=$cleanup:${own}tty_debug_initialize.so:${own}qerr_register_dll.so" open ''
    check "$start" "LD_PRELOAD=${own}tty_debug_initialize.so TTY_TRACE_FILE=/dev/fd/1" 'open create' 1 \
      '2>/dev/null | grep -c EXITED'
  done
}

for group in "${@:2}"; do
  ("check_$group"; [[ $failures == 0 ]]) || exit
done
