#!/usr/bin/env bash
# The shipped translations are complete and current: lupdate over the program's sources and
# forms changes no .ts file (no shown text missing, none kept in vain); every entry is
# translated and keeps its source text's place markers (%1 ...) and the two blanks between
# sentences; lrelease compiles each file with no unfinished entry.
#
#   translations.sh LUPDATE LRELEASE SOURCE-DIR...
set -euo pipefail
lupdate=$1 lrelease=$2
shift 2
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
passed=0 failed=0
verdict() { # WHAT COMMAND...
  if "${@:2}"; then passed=$((passed + 1)); else failed=$((failed + 1)); echo "FAILED: $1" >&2; fi
}
none_stale() { ! grep -n 'type="unfinished"\|type="vanished"\|type="obsolete"' "$1" >&2; }
compiled() { grep -q "Generated [1-9][0-9]* translation(s) ([0-9]* finished and 0 unfinished)" <<< "$1" && ! grep -qi untranslated <<< "$1"; }
# mismatches TS: the entries whose place markers (counted per digit) or double blanks differ
# from their source text's (as XML); lupdate writes each <source> and <translation> on one line.
mismatches() {
  awk 'function count(s, re,   n) { n = 0; while (match(s, re)) { n++; s = substr(s, RSTART + RLENGTH) } return n }
    function marks(s,   d, out) { for (d = 0; d <= 9; d++) out = out count(s, "%" d) " "; return out count(s, "  ") }
    /<source>/ { src = $0; sub(/.*<source>/, "", src); sub(/<\/source>.*/, "", src) }
    /<translation[ >]/ { tr = $0; sub(/.*<translation[^>]*>/, "", tr); sub(/<\/translation>.*/, "", tr)
                         if (marks(src) != marks(tr)) print "place markers or double blanks differ: " src " => " tr }' "$1"
}

shopt -s nullglob
files=("$(dirname "$0")"/../../resources/translations/translation_*.ts)
[ ${#files[@]} -gt 0 ] || { echo "no translations found" >&2; exit 1; }
for ts in "${files[@]}"; do
  name=$(basename "$ts")
  cp "$ts" "$tmp/$name"
  "$lupdate" -silent -locations none -no-obsolete "$@" -ts "$tmp/$name"
  verdict "$name is not current with the sources (run the qvb_lupdate target and translate)" diff -u "$ts" "$tmp/$name"
  verdict "$name has untranslated or stale entries" none_stale "$ts"
  bad=$(mismatches "$ts")
  verdict "$name: $bad" test -z "$bad"
  report=$("$lrelease" "$ts" -qm "$tmp/${name%.ts}.qm")
  verdict "lrelease of $name: $report" compiled "$report"
done
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
