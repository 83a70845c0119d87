# shellcheck shell=bash
# What the scripts share; source it.  Each step prints one line.  The output of its commands goes to a file under
# build/logs, and is shown if they fail.

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
logs=$root/build/logs
mkdir -p "$logs"

say() { printf '== %s\n' "$*"; }

# How many seconds a step may take, and after how many it says where its log is.
step_limit=1800
step_long=10

# end_group GROUP: ends a group of processes; kills those that are left after ten seconds.
end_group() {
  kill -TERM -- "-$1" 2>/dev/null || return 0
  timeout 10 bash -c "while kill -0 -- -$1; do sleep 0.1; done" 2>/dev/null || kill -KILL -- "-$1"
}

# finish_group GROUP: waits for a step that must not stop halfway.
finish_group() {
  trap '' INT TERM HUP
  say "interrupted; waiting until packages are installed" >&2
  wait "$1"
}

# run NAME COMMAND...: runs a command as a step, and kills it after step_limit seconds.  Sets `status` to its status and
# `log` to its log.  If the script is interrupted, on_interrupt is called with the step's process group.
on_interrupt=end_group
run() {
  local name=$1 pid
  status=0
  log=build/logs/${name//[^A-Za-z0-9]/-}.log
  say "$name"
  # In a process group of its own, so that it can be ended with all that it has started.  Not as a condition, which
  # would turn off set -e within a function.
  set -m
  (set -e && "${@:2}") >"$root/$log" 2>&1 </dev/null &
  pid=$!
  set +m
  # shellcheck disable=SC2064 # this step's
  trap "$on_interrupt $pid" EXIT
  wait_for_step() { timeout --foreground "$1" tail -s 0.1 --pid="$pid" -f /dev/null; }
  if ! wait_for_step $step_long; then
    printf '   log: %s\n' "$log"
    if ! wait_for_step $((step_limit - step_long)); then
      printf 'killed after %d seconds: %s\n' "$step_limit" "$name" >&2
      end_group "$pid"
    fi
  fi
  wait "$pid" || status=$?
  trap - EXIT
}

# step NAME COMMAND...: as run, and ends the script if the command fails.
step() {
  run "$@"
  if [[ $status != 0 ]]; then
    tail -n 100 "$root/$log" >&2
    printf 'failed: %s (status %d, log: %s)\n' "$1" "$status" "$log" >&2
    exit 1
  fi
}

# What a package provides, if that is not a command with the package's name.
declare -A provides=(
  [ninja-build]=ninja [dpkg-dev]=dpkg-shlibdeps [libgtest-dev]='<gtest/gtest.h>'
  [libbenchmark-dev]='<benchmark/benchmark.h>' [libtbb-dev]='<tbb/concurrent_hash_map.h>'
  [gnuplot-nox]=gnuplot
  [libsmartcols-dev]='<libsmartcols/libsmartcols.h>'
)

# present PACKAGE: returns whether this machine has the command, C++ header, file or Python module that a package
# provides.
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

apt() { DEBIAN_FRONTEND=noninteractive apt-get "$@"; }
download() { apt "$@" --download-only || { apt update && apt "$@" --download-only; }; }

# install_packages PACKAGE...: installs packages.  If it cannot, prints what is missing and ends the script.
install_packages() {
  local command=(install -y --no-install-recommends "$@") on_interrupt=end_group
  if ! command -v apt-get >/dev/null || [[ $(id -u) != 0 ]]; then
    printf 'missing; as root, run: apt-get install %s\n' "$*" >&2
    exit 1
  fi
  run "download $*" download "${command[@]}"
  # dpkg must not stop halfway.
  on_interrupt=finish_group
  if [[ $status == 0 ]]; then run "install $*" apt "${command[@]}"; fi
  if [[ $status != 0 ]]; then
    printf 'missing, and apt-get cannot install: %s (no network? log: %s; %s)\n' "$*" "$log" \
      "$(grep -m 1 '^E: ' "$root/$log")" >&2
    exit 1
  fi
}

# need PACKAGE...: installs those packages that this machine lacks.
need() {
  local package missing=()
  for package in "$@"; do present "$package" || missing+=("$package"); done
  [[ ${#missing[@]} == 0 ]] || install_packages "${missing[@]}"
}

# The commands of builds and tests run under this command, if it is not empty.
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

# at_once COMMAND ARGUMENT...: runs a command with each of the arguments, all at the same time.  Fails if one fails.
at_once() {
  local argument pid pids=() failed=0
  for argument in "${@:2}"; do
    (set -e && "$1" "$argument") &
    pids+=($!)
  done
  for pid in "${pids[@]}"; do wait "$pid" || failed=1; done
  return $failed
}

# run_tests PRESET: builds a preset and runs its tests; ends with the summary line.
run_tests() {
  build "$1"
  step "test $1" "${under[@]}" ctest --preset "$1" --parallel "$(nproc)"
  test_summary "$1"
}

# test_summary PRESET: prints the result of its tests, and which of them were not run.
test_summary() {
  sed -n 's/^-- \(Left out: .*\)/\1/p' "$logs/configure-$1.log"
  sed -n 's/^[[:space:]]*[0-9]* - \(.*\) (Skipped)/Left out: the test \1 cannot run here./p' "$logs/test-$1.log"
  grep '% tests passed' "$logs/test-$1.log"
}
