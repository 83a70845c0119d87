# shellcheck shell=bash
# What the scripts share; to be sourced.  Each step is one line on standard output; what its commands print
# goes to a file under build/logs, and is shown if they fail.

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
logs=$root/build/logs
mkdir -p "$logs"

say() { printf '== %s\n' "$*"; }

# How many seconds a step may take.
step_limit=1800

# end_group GROUP: ends a group of processes, those that do not want to after ten seconds.
end_group() {
  kill -TERM -- "-$1" 2>/dev/null || return 0
  timeout 10 bash -c "while kill -0 -- -$1; do sleep 0.1; done" 2>/dev/null || kill -KILL -- "-$1"
}

# step NAME COMMAND...: runs a command as a step; ends the script if it fails, and ends it if it hangs.
step() {
  local name=$1 log pid status=0
  log=$logs/${name//[^A-Za-z0-9]/-}.log
  say "$name"
  # In a process group of its own, which can be ended with all that it has started.  Not in a condition, where the
  # first failure within a function would not end it.
  set -m
  (set -e && "${@:2}") >"$log" 2>&1 </dev/null &
  pid=$!
  set +m
  # shellcheck disable=SC2064 # this step's
  trap "end_group $pid" EXIT
  if ! timeout --foreground "$step_limit" tail -s 0.1 --pid="$pid" -f /dev/null; then
    printf 'ended, as it has not done so in %d seconds: %s\n' "$step_limit" "$name" >&2
    end_group "$pid"
  fi
  wait "$pid" || status=$?
  trap - EXIT
  if [[ $status != 0 ]]; then
    tail -n 100 "$log" >&2
    printf 'failed: %s (status %d, all of it in %s)\n' "$name" "$status" "${log#"$root"/}" >&2
    exit 1
  fi
}

# What a package is there for, where that is no command of the package's name.
declare -A provides=(
  [ninja-build]=ninja [dpkg-dev]=dpkg-shlibdeps [libgtest-dev]='<gtest/gtest.h>'
  [libbenchmark-dev]='<benchmark/benchmark.h>' [libtbb-dev]='<tbb/concurrent_hash_map.h>'
  [gnuplot-nox]=gnuplot
  [libsmartcols-dev]='<libsmartcols/libsmartcols.h>'
)

# present PACKAGE: whether the command, the C++ header, the file or the Python module that a package provides is
# there.
present() {
  local what=${provides[$1]:-$1}
  if [[ $what == '<'* ]]; then
    g++ -fsyntax-only -x c++ - <<<"#include $what" 2>/dev/null
  elif [[ $what == /* ]]; then
    [[ -e $what ]]
  elif [[ $what == 'import '* ]]; then
    /usr/bin/python3 -c "$what" 2>/dev/null
  else
    command -v "$what" >/dev/null
  fi
}

apt_install() {
  local install=(env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "$@")
  "${install[@]}" || { apt-get update && "${install[@]}"; }
}

# need PACKAGE...: installs those packages whose purpose is not served on this machine.
need() {
  local package missing=()
  for package in "$@"; do present "$package" || missing+=("$package"); done
  [[ ${#missing[@]} == 0 ]] && return
  if ! command -v apt-get >/dev/null || [[ $(id -u) != 0 ]]; then
    printf 'missing, and this user cannot install them: %s\n' "${missing[*]}" >&2
    exit 1
  fi
  step "install ${missing[*]}" apt_install "${missing[@]}"
}

# Runs the commands of builds and tests; empty, or a command that takes another as its arguments.
under=()

# build PRESET [TARGET]: configures and builds a preset, or one target of it.
build() {
  need cmake ninja-build g++ libgtest-dev libsmartcols-dev pkg-config python3
  step "configure $1" cmake --preset "$1"
  step "build $1${2:+: $2}" "${under[@]}" cmake --build --preset "$1" ${2:+--target "$2"}
}

need_for_benchmarks() { need libbenchmark-dev libtbb-dev python3; }

# compiler_of PRESET: the C++ compiler that a preset is built with.
compiler_of() { sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "build/$1/CMakeCache.txt"; }

# run_tests PRESET: builds a preset and runs its tests; ends with the summary line.
run_tests() {
  build "$1"
  step "test $1" "${under[@]}" ctest --preset "$1" --parallel "$(nproc)"
  test_summary "$1"
}

test_summary() { grep '% tests passed' "$logs/test-$1.log"; }
