#!/usr/bin/env bash
# The shipped translations are complete and current:
#  - lupdate over the program's sources and forms changes nothing in the .ts files (no
#    text the program shows is missing, none is kept in vain);
#  - every entry is translated;
#  - every translation keeps the place markers (%1 ...) and the two blanks between
#    sentences of its source text;
#  - lrelease compiles each file with no unfinished entry.
#
#   translations.sh LUPDATE LRELEASE SOURCE-DIR...
set -euo pipefail
lupdate=$1 lrelease=$2
shift 2
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
passed=0 failed=0
verdict() { if "$@"; then passed=$((passed + 1)); else failed=$((failed + 1)); fi; }

# Pairs every <source> with its <translation> (lupdate writes each on one line) and prints
# the entries whose place markers or double blanks differ.
mismatches() {
  awk '
    function unxml(s) { gsub(/&lt;/, "<", s); gsub(/&gt;/, ">", s); gsub(/&quot;/, "\"", s);
                        gsub(/&apos;/, "\047", s); gsub(/&amp;/, "\\&", s); return s }
    function count(s, re,   n) { n = 0; while (match(s, re)) { n++; s = substr(s, RSTART + RLENGTH) } return n }
    function markers(s,   out) { out = ""; while (match(s, /%[0-9]/)) { out = out substr(s, RSTART, 2) " "; s = substr(s, RSTART + 2) } return out }
    /<source>/ { src = $0; sub(/.*<source>/, "", src); sub(/<\/source>.*/, "", src); src = unxml(src) }
    /<translation[ >]/ {
      tr = $0; sub(/.*<translation[^>]*>/, "", tr); sub(/<\/translation>.*/, "", tr); tr = unxml(tr)
      if (count(src, "  ") != count(tr, "  ")) print "double blanks differ: " src " => " tr
      if (markers_sorted(src) != markers_sorted(tr)) print "place markers differ: " src " => " tr
    }
    function markers_sorted(s,   list, n, i, j, t, out) {
      n = split(markers(s), list, " ")
      for (i = 1; i <= n; i++) for (j = i + 1; j <= n; j++) if (list[j] < list[i]) { t = list[i]; list[i] = list[j]; list[j] = t }
      out = ""; for (i = 1; i <= n; i++) out = out list[i] " "; return out
    }' "$1"
}

shopt -s nullglob
files=("$(dirname "$0")"/../../resources/translations/translation_*.ts)
[ ${#files[@]} -gt 0 ] || { echo "no translations found" >&2; exit 1; }
for ts in "${files[@]}"; do
  name=$(basename "$ts")
  cp "$ts" "$tmp/$name"
  "$lupdate" -silent -locations none -no-obsolete "$@" -ts "$tmp/$name"
  verdict diff -u "$ts" "$tmp/$name" || echo "FAILED: $name is not current with the sources (run the qvb_lupdate target and translate)" >&2
  if grep -n 'type="unfinished"\|type="vanished"\|type="obsolete"' "$ts" >&2; then
    failed=$((failed + 1)); echo "FAILED: $name has untranslated or stale entries" >&2
  else
    passed=$((passed + 1))
  fi
  bad=$(mismatches "$ts")
  if [ -n "$bad" ]; then
    failed=$((failed + 1)); echo "FAILED: $name: $bad" >&2
  else
    passed=$((passed + 1))
  fi
  report=$("$lrelease" "$ts" -qm "$tmp/${name%.ts}.qm")
  if grep -q "Generated [1-9][0-9]* translation(s) ([0-9]* finished and 0 unfinished)" <<< "$report" &&
     ! grep -qi "untranslated" <<< "$report"; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1)); echo "FAILED: lrelease of $name: $report" >&2
  fi
done
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
