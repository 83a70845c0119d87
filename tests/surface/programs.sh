#!/usr/bin/env bash
# Builds and runs the examples with the copy of the library that pkg-config and CMake find.
#   programs.sh SCRATCH
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
examples=$here/../../examples
cd "$1"
cc=${CC:-cc} cxx=${CXX:-c++}
unset TTY_TRACE TTY_TRACE_FILE TTY_ASSERT NO_DLLMAIN

# pkg-config prints its flags as words of the shell.
flags=() static_flags=()
eval "flags=($(pkg-config --cflags --libs ttydb))"
eval "static_flags=($(pkg-config --static --cflags --libs ttydb))"

"$cc" -Wall -Wextra -pedantic -Werror "$examples/first.c" "${flags[@]}" -o first
./first | diff "$examples/first.out" -
"$cxx" -std=c++17 -Wall -Wextra -pedantic -Werror "$examples/cplusplus.cpp" "${flags[@]}" \
  -o cplusplus
./cplusplus | diff "$examples/cplusplus.out" -

# In a static program too, the load hook runs, and a service of the program replaces the stand-in's.
"$cc" -static "$examples/first.c" -x c - -x none "${static_flags[@]}" -o static \
  <<<'extern void _exit(int); void tty_trace(void) { _exit(9); }'
./static | diff "$examples/first.out" -
status=0
TTY_TRACE=db ./static || status=$?
[[ $status == 9 ]]

cmake -S "$examples" -B examples
cmake -S "$here/part" -B targets -DINSTALLED=ON
for project in examples targets; do
  cmake --build $project
  ctest --test-dir $project --output-on-failure
done
