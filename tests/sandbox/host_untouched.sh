#!/usr/bin/env bash
# Writes to the fixed system paths inside a throwaway root and checks that the host saw
# none of it and that the temporary root is gone afterwards.
set -euo pipefail
probe="qvb-sandbox-probe-$$-$RANDOM"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

TMPDIR="$scratch" "$QVB_IN_ROOT" -- sh -c "
  set -e
  test -f /.qvb-throwaway-root
  mkdir -p /home/data /opt/OEM/data /etc/sysconfig
  echo inside > /home/data/$probe
  echo inside > /opt/OEM/data/$probe
  echo inside > /etc/sysconfig/$probe
  test \"\$(cat /home/data/$probe)\" = inside
"

fail=0
for p in /home/data/$probe /opt/OEM/data/$probe /etc/sysconfig/$probe; do
  if [ -e "$p" ]; then echo "host path written: $p" >&2; fail=1; fi
done
if [ -n "$(ls -A "$scratch")" ]; then echo "throwaway root left behind: $(ls -A "$scratch")" >&2; fail=1; fi

# A failing command's exit status comes through.
set +e
TMPDIR="$scratch" "$QVB_IN_ROOT" -- sh -c 'exit 7'
rc=$?
set -e
if [ "$rc" -ne 7 ]; then echo "exit status not passed through: $rc" >&2; fail=1; fi

[ "$fail" -eq 0 ] && echo "1 passed, 0 failed"
exit $fail
