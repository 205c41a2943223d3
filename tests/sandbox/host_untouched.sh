#!/usr/bin/env bash
# Writes to the fixed system paths inside a throwaway root: the host sees none of it, the
# temporary root is gone afterwards, and a failing command's exit status comes through.
# Inside, the host's system files are read-only and the clock cannot be set (a test that sets
# it asks for the very time it is, so a leak would change nothing).
set -euo pipefail
probe="qvb-sandbox-probe-$$-$RANDOM"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
paths="/home/data/$probe /opt/OEM/data/$probe /etc/sysconfig/$probe /home/resources/language/$probe"

TMPDIR="$scratch" "$QVB_IN_ROOT" -- sh -c "
  set -e
  test -f /.qvb-throwaway-root
  for p in $paths; do mkdir -p \${p%/*}; echo inside > \$p; test \"\$(cat \$p)\" = inside; done
  touch /usr/$probe 2> /dev/null && exit 3
  date -s @\$(date +%s) > /dev/null 2>&1 && exit 4
  true"
fail=0
for p in $paths; do
  if [ -e "$p" ]; then echo "host path written: $p" >&2; fail=1; fi
done
if [ -n "$(ls -A "$scratch")" ]; then echo "throwaway root left behind: $(ls -A "$scratch")" >&2; fail=1; fi
rc=0
TMPDIR="$scratch" "$QVB_IN_ROOT" -- sh -c 'exit 7' || rc=$?
if [ "$rc" -ne 7 ]; then echo "exit status not passed through: $rc" >&2; fail=1; fi
[ "$fail" -eq 0 ] && echo "1 passed, 0 failed"
exit $fail
