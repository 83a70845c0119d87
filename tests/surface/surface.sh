#!/usr/bin/env bash
# Checks what programs see of the libraries.
#   surface.sh symbols|dependencies LIBTTYDB LIBTTYPLATFORM
#   surface.sh headers|readme
#   surface.sh installed BUILD SCRATCH    installs BUILD, and builds programs with the copy
#   surface.sh part SCRATCH               builds the library as part of another project
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

# defined LIBRARY: the names that a library exports, without symbol versions.
defined() {
  "${NM:-nm}" -D --defined-only "$1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }'
}

check_symbols() {
  local messages headers=("$root"/platform/tty_{platform,thread_block}.h)
  messages=$(printf 'kel_msg_%s\n' {rec,limit}_tty_db_{panic,lock_error,lock_busy,kernel_error})
  same "$1" "$(declared TTY_DB_API "$root/include/tty_db.h")
$messages
dummy_unused_var" "$(defined "$1")"
  same "$2" "$(declared TTY_PLATFORM_API "${headers[@]}")" "$(defined "$2")"
}

# dynamic LIBRARY: its SONAME and the libraries that it needs.
dynamic() {
  "${READELF:-readelf}" -d "$1" | sed -nE 's/.*\((SONAME|NEEDED)\).*\[(.*)\]/\1 \2/p'
}

check_dependencies() {
  same "$1" $'SONAME libttydb.so.1\nNEEDED libttyplatform.so.1\nNEEDED libc.so.6' "$(dynamic "$1")"
  same "$2" $'SONAME libttyplatform.so.1\nNEEDED libc.so.6' "$(dynamic "$2")"
}

# Every header compiles alone, and the examples compile in strict C.
check_headers() {
  local header strict=(-Wall -Wextra -pedantic -Werror -fsyntax-only
    -I"$root/include" -I"$root/platform")
  for header in tty_db.h tty_platform.h tty_thread_block.h; do
    "${CC:-cc}" -std=c11 "${strict[@]}" -x c - <<<"#include <$header>"
    "${CXX:-c++}" -std=c++17 "${strict[@]}" -x c++ - <<<"#include <$header>"
  done
  "${CXX:-c++}" -std=c++17 "${strict[@]}" -x c++ - <<<"#include <tty_db.hpp>"
  "${CC:-cc}" -std=c11 "${strict[@]}" "$root"/examples/*.c
}

# README shows one of the examples whole, and a part of another.
check_readme() {
  block() { sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/{/^\`\`\`/!p}" "$root/README.md"; }
  diff <(block c) "$root/examples/first.c"
  [[ $(block cpp) && $(<"$root/examples/cplusplus.cpp") == *"$(block cpp)"* ]]
}

# Programs find and use an installed copy.
check_installed() {
  local prefix=$2/copy libraries version
  rm -rf "$2"
  cmake --install "$1" --prefix "$prefix"
  mkdir "$2/programs"
  libraries=$(dirname "$(find "$prefix" -name libttydb.a)")
  PKG_CONFIG_PATH=$libraries/pkgconfig CMAKE_PREFIX_PATH=$prefix LD_LIBRARY_PATH=$libraries \
    "$here/programs.sh" "$2/programs"
  version=$(PKG_CONFIG_PATH=$libraries/pkgconfig pkg-config --modversion ttydb)
  [[ $("$prefix/bin/tty-lines" --version) == "tty-lines $version" ]]
}

# A project in C builds the library with add_subdirectory.
check_part() {
  local shared
  for shared in ON OFF; do
    cmake -S "$here/part" -B "$1/$shared" -DBUILD_SHARED_LIBS=$shared
    cmake --build "$1/$shared"
    ctest --test-dir "$1/$shared" --output-on-failure
  done
}

"check_$1" "${@:2}"
