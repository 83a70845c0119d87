#!/usr/bin/env bash
# Looks into a program with GDB, and compares what it shows with what it should.
#   session.sh built GDB BUILD PROGRAM       with the printers beside the library that was built
#   session.sh installed GDB BUILD PROGRAM   with an installed copy, whose libraries are stripped
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
gdb=$2 build=$3 program=$4

# session ARGUMENT...: what GDB shows of the program, without what differs from run to run.
session() {
  "$gdb" -nx -batch "${@:1:4}" -x "$here/start.gdb" "${@:5}" "$program" 2>&1 |
    sed -E '1,/^\+?echo --/d; s/0x[0-9a-f]{6,}|(address )0x[0-9a-f]+/\1ADDRESS/g
      s/LWP [0-9]{2,}/LWP N/g; s/line [0-9]+/line N/'
}

check_built() {
  diff "$here/session.txt" <(session -iex "add-auto-load-safe-path $build" -iex "" -x "$here/session.gdb")
}

check_installed() {
  local prefix=$build/tests/gdb/installed libraries loading
  rm -rf "$prefix"
  cmake --install "$build" --prefix "$prefix" --component runtime --strip >"$build/tests/gdb/install.log"
  libraries=$(dirname "$(find "$prefix" -name libttydb.so.1)")
  loading=$prefix/share/gdb/auto-load
  diff - <(
    LD_LIBRARY_PATH=$libraries session -iex "add-auto-load-scripts-directory $loading" \
      -iex "add-auto-load-safe-path $loading" -ex 'echo --\n' -ex 'print *modems' -ex 'print *held' \
      -ex 'info ttydb db' -ex 'info ttydb'
  ) <<'END'
--
+print *modems
$1 = {
  error = <There is no member named details.> (is the debug information of this libttydb there?)
}
+print *held
$2 = {
  lock = held by thread 1 (LWP N),
  lock_owner = thread 1 (LWP N),
  items = {<There is no member named key.>}
}
+info ttydb db
db is no database: There is no member named categories. (is the debug information of this libttydb there?)
+info ttydb
libttyplatform has no debug information: no telling who waits.
END
}

if ! "$gdb" -nx -batch -ex 'python print()' -ex 'break main' -ex run "$program" 2>&1 |
  grep '^Using host libthread_db' >/dev/null; then
  echo "skipped: GDB is missing, has no Python, cannot tell threads, or may not run a program here"
  exit
fi
"check_$1"
