#!/usr/bin/env bash
# When the library ends its tracing: at an explicit unload, and never because the process exits.
#   loader.sh DIRECTORY-OF-THE-PROGRAMS
set -euo pipefail
failures=0

# check PROGRAM ACTIONS EXPECTED: compares what a program prints.
check() {
  local printed status=0
  # shellcheck disable=SC2086 # the actions are words
  printed=$("$programs/loader_$1" $2) || status=$?
  [[ $status == 0 && ${printed% } == "$3" ]] && return
  echo "loader_$1 $2: expected '$3', got '$printed', status $status" >&2
  failures=1
}

programs=$1
#     program  actions                          printed
check linked   ''                               ''
check linked   'thread-exit'                    ''
check linked   'text open close'                'text'
for program in platform bare; do
  check $program 'open text close'                'text cleanup-db'
  check $program 'open'                           ''
  check $program 'open thread-exit'               ''
  check $program 'open open close'                ''
  check $program 'open close open close'          'cleanup-db cleanup-db'
  check $program 'open close open'                'cleanup-db'
done

# Set at all, the variable suppresses both hooks.
export NO_DLLMAIN=
check linked   'text'                           'none'
check bare     'open text close'                'none'
exit $failures
