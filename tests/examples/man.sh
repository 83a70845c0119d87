#!/usr/bin/env bash
# What the tests ask of the manual pages.
#   man.sh example PAGE FILE writes the program in a page's EXAMPLE to a file
#   man.sh names DIR EXPORTS checks that there is a page for every function that the library exports
set -euo pipefail

write_example() {
  sed -n '/^\.EX$/,/^\.EE$/{/^\.E[XE]$/!{s/\\-/-/g; s/\\(aq/'\''/g; s/\\e/\\/g; p}}' "$1" >"$2"
}

check_names() {
  local name text status=0
  while read -r name; do
    [[ -f $1/$name.3 ]] || { echo "no page for $name" >&2; status=1; continue; }
    text=$(<"$1/$name.3")
    [[ $text == .so\ man3/* ]] && text=$(<"$1/${text#.so man3/}")
    # The page names the function in its NAME, and shows in its SYNOPSIS how it is declared.
    [[ $text =~ .SH\ NAME.*[[:space:]]"$name"[,[:space:]].*.SH\ SYNOPSIS.*" $name(".*.SH\ DESCRIPTION ]] ||
      { echo "the page of $name does not describe it" >&2; status=1; }
  done < <(sed -nE 's/^ +(tty_db_[a-z_]+);$/\1/p' "$2")
  return "$status"
}

case $1 in
  example) write_example "$2" "$3" ;;
  names) check_names "$2" "$3" ;;
esac
