#!/usr/bin/env bash
# Checks what the libraries show to the outside.
#   surface.sh symbols|dependencies LIBTTYDB LIBTTYPLATFORM
#   surface.sh headers
#   surface.sh install BUILD PREFIX          installs a copy, and nothing else, in PREFIX
#   surface.sh install_static BUILD PREFIX   as above, after building the static library in BUILD
#   surface.sh programs PREFIX SCRATCH       builds and runs programs against the copy in PREFIX
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$here/../..

# same WHAT EXPECTED ACTUAL: fails, and shows the difference, unless two sorted lists are the same.
same() {
  diff <(sort -u <<<"$2") <(sort -u <<<"$3") || { echo "$1: not as documented" >&2; return 1; }
}

# declared MACRO HEADER...: the names that headers declare with a macro.
declared() {
  sed -nE "s/^(extern )?$1 [^(;]*\\b(\\w+)(\\(.*|;)$/\\2/p" "${@:2}"
}

# defined LIBRARY: the names that a library defines for others, but for those of symbol versions and those
# that the address sanitizer adds.
defined() {
  "${NM:-nm}" -D --defined-only "$1" |
    awk '$2 != "A" && $3 !~ /^__odr_asan/ { sub(/@.*/, "", $3); print $3 }'
}

check_symbols() {
  local messages
  messages=$(printf 'kel_msg_%s\n' {rec,limit}_tty_db_{panic,lock_error,lock_busy,kernel_error})
  same "$1" "$(declared TTY_DB_API "$root/include/tty_db.h")
$messages
dummy_unused_var" "$(defined "$1")"
  same "$2" "$(declared TTY_PLATFORM_API "$root"/platform/tty_{platform,thread_block}.h)" "$(defined "$2")"
}

# dynamic LIBRARY: what a library is called and what it needs.
dynamic() {
  "${READELF:-readelf}" -d "$1" | sed -nE 's/.*\((SONAME|NEEDED)\).*\[(.*)\]/\1 \2/p'
}

check_dependencies() {
  same "$1" $'SONAME libttydb.so.1\nNEEDED libttyplatform.so.1\nNEEDED libc.so.6' "$(dynamic "$1")"
  same "$2" $'SONAME libttyplatform.so.1\nNEEDED libc.so.6' "$(dynamic "$2")"
}

# Every header stands alone in the languages that it is for.
check_headers() {
  local strict=(-Wall -Wextra -pedantic -Werror -fsyntax-only -I"$root/include" -I"$root/platform") header
  for header in tty_db.h tty_platform.h tty_thread_block.h; do
    "${CC:-cc}" -std=c11 "${strict[@]}" -x c - <<<"#include <$header>"
    "${CXX:-c++}" -std=c++17 "${strict[@]}" -x c++ - <<<"#include <$header>"
  done
  "${CXX:-c++}" -std=c++17 "${strict[@]}" -x c++ - <<<"#include <tty_db.hpp>"
}

check_install() {
  rm -rf "$2"
  cmake --install "$1" --prefix "$2"
}

check_install_static() {
  cmake -S "$root" -B "$1" -DBUILD_SHARED_LIBS=OFF
  cmake --build "$1"
  check_install "$1" "$2"
}

# The C program traces from its first call on if the load hook has run, and the C++ one has texts.
run_programs() {
  TTY_TRACE=db "$1/in_c" 2>&1 | grep "EXITED   'tty_db_create' :SUCCESS" >/dev/null
  "$1/in_cpp" | grep -x 'The TTY is registered already' >/dev/null
}

check_programs() {
  local prefix=$1 scratch=$2 libdir
  libdir=$(find "$prefix" -name pkgconfig)/..
  rm -rf "$scratch"
  mkdir -p "$scratch"

  # flags PACKAGE...: what pkg-config says of packages of this copy.
  flags() { PKG_CONFIG_PATH=$libdir/pkgconfig pkg-config --cflags --libs "$@"; }
  # shellcheck disable=SC2046,SC2086 # the flags are words
  {
    "${CC:-cc}" -std=c11 ${CFLAGS:-} -o "$scratch/in_c" "$here/consumer/in_c.c" $(flags ttydb) \
      "-Wl,-rpath,$libdir"
    "${CXX:-c++}" -std=c++17 ${CXXFLAGS:-} -o "$scratch/in_cpp" "$here/consumer/in_cpp.cpp" \
      $(flags ttydb ttyplatform) "-Wl,-rpath,$libdir"
  }
  run_programs "$scratch"

  cmake -S "$here/consumer" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$prefix" >"$scratch/log"
  cmake --build "$scratch/build" >>"$scratch/log" || { cat "$scratch/log"; return 1; }
  run_programs "$scratch/build"

  # The installed tool finds the installed libraries.
  if [[ -e $prefix/bin/tty-lines ]]; then "$prefix/bin/tty-lines" --version >/dev/null; fi
}

"check_$1" "${@:2}"
