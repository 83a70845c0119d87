#!/usr/bin/env bash
# Checks that a page of the guide shows programs, and what they print, as they are.
#   guide.sh PAGE EXAMPLES PROGRAMS   the page, the directory of the sources, that of the built programs
# A block of C or C++ behind a mention of examples/FILE is that file.  A console block that runs a program of
# the examples is its output, times, thread numbers, addresses and line numbers aside.
set -euo pipefail
page=$1 examples=$2 programs=$3
unset TTY_TRACE TTY_TRACE_FILE TTY_ASSERT NO_DLLMAIN
ulimit -c 0

neutral() {
  sed -E -e 's/^[0-9:]{8}\.[0-9]{6} [0-9]+ ([^ ]+ [^ :]+):[0-9]+ /TIME THREAD \1:LINE /' \
    -e 's/^(Assertion failed in .*, line )[0-9]+:/\1LINE:/' -e 's/0x[0-9a-f]{12}|[0-9A-F]{10,12}/ADDRESS/g'
}

# check_block LANGUAGE FILE TEXT: FILE is the latest that the page has mentioned.
check_block() {
  local language=$1 file=$2 text=$3 command
  if [[ $language == c || $language == cpp ]] && [[ -n $file ]]; then
    diff -u --label "$page" <(printf '%s' "$text") "$examples/$file"
    shown+=("$file")
  elif [[ $language == console && $text == '$ '*build/release/examples/* ]]; then
    command=${text%%$'\n'*}
    command=${command#'$ '}
    diff -u --label "$page: $command" <(neutral <<<"${text#*$'\n'}" | sed '$d') \
      <(bash -c "${command//build\/release\/examples/"$programs"}" | neutral)
    runs+=("$command")
  fi
}

fence='' file='' text='' shown=() runs=()
while IFS= read -r line; do
  if [[ -n $fence && $line == '```' ]]; then
    check_block "${fence#'```'}" "$file" "$text"
    fence='' file=''
  elif [[ -n $fence ]]; then
    text+=$line$'\n'
  elif [[ $line == '```'* ]]; then
    fence=$line text=''
  elif [[ $line =~ examples/([a-z]+\.(c|cpp)) ]]; then
    file=${BASH_REMATCH[1]}
  fi
done <"$page"

printf 'shown: %s\n' "${shown[@]}"
printf 'run: %s\n' "${runs[@]}"
[[ ${#shown[@]} -gt 0 && ${#runs[@]} -gt 0 ]]
