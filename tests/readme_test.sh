#!/usr/bin/env bash
# Checks that README.md shows programs, and what they print, as they are: its C program is examples/first.c to
# the letter, its C++ lines compile and run, and its console blocks, which run it as ./first, show what that prints,
# but for times, thread numbers, addresses and line numbers.
#   readme_test.sh SOURCE LIBRARIES   the source tree, the directory of the built libraries
set -euo pipefail
source=$1 libraries=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
unset TTY_TRACE TTY_TRACE_FILE TTY_ASSERT NO_DLLMAIN

# blocks LANGUAGE: the text of README's code blocks in a language.
blocks() { sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/{/^\`\`\`/!p}" "$source/README.md"; }

neutral() {
  sed -E -e 's/^[0-9:]{8}\.[0-9]{6} [0-9]+ ([^ ]+ [^ :]+):[0-9]+ /TIME THREAD \1:LINE /' \
    -e 's/[0-9A-F]{10,12}/ADDRESS/g'
}

strict=(-Wall -Wextra -pedantic -Werror "-I$source/include")
link=("-L$libraries" -lttydb -lttyplatform "-Wl,-rpath,$libraries" -pthread)

diff -u --label README.md <(blocks c) "$source/examples/first.c"
# shellcheck disable=SC2086 # the flags are words
"${CC:-cc}" -std=c11 ${CFLAGS:-} "${strict[@]}" "$source/examples/first.c" -o "$scratch/first" "${link[@]}"

{
  printf '#include <cstdio>\n#include <tty_db.hpp>\nstruct port { tty_db_tty_type tty; unsigned baud; };\n'
  printf 'int main() {\n%s\n}\n' "$(blocks cpp)"
} >"$scratch/lines.cpp"
# shellcheck disable=SC2086 # the flags are words
"${CXX:-c++}" -std=c++17 ${CXXFLAGS:-} "${strict[@]}" "$scratch/lines.cpp" -o "$scratch/lines" "${link[@]}"
diff -u <(echo 'line 1:7, 9600 baud') <("$scratch/lines")

cd "$scratch"
while IFS= read -r line; do
  [[ $line == '$ '* ]] || continue
  printf '%s\n' "$line"
  bash -c "${line#'$ '}"
done < <(blocks console) | neutral >printed
diff -u --label README.md <(blocks console | neutral) printed
grep -qF ./first printed
