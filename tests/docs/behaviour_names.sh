#!/usr/bin/env bash
# docs/behaviour.md names, for each rule, the files that hold it and the functions in
# them: every file must exist and hold every function named beside it, so the page
# cannot drift from the code unnoticed.
set -uo pipefail
cd "${QVB_SOURCE_DIR:?}"
bad=0
while IFS= read -r place; do
  file=${place%%\`*}
  for name in $(grep -o '(`[^)]*`)' <<< "$place" | grep -o '`[A-Za-z_][A-Za-z_0-9]*`' | tr -d '`'); do
    grep -q "\b$name\b" "$file" 2> /dev/null || { echo "docs/behaviour.md: $name is not in $file" >&2; bad=1; }
  done
  [ -e "$file" ] || { echo "docs/behaviour.md: no file $file" >&2; bad=1; }
done < <(grep -o '`[a-zA-Z_/]*\.\(cpp\|h\|txt\|md\)`\( (`[^)]*`)\)\?' docs/behaviour.md | sed 's/^`//')
echo "$([ $bad -eq 0 ] && echo 1 || echo 0) passed, $bad failed"
exit $bad
