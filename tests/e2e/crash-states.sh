#!/usr/bin/env bash
# Crash-state explorer: whole restores by the installed program on real storage, cut off by a
# power cut or killed at many instants. Whatever the instant, a display must find its data
# areas in one of four states (hidden entries left out, the old ones intact in U, R and E):
#   U  as before the restore, no marker          M  the marker present, anything else
#   R  exactly the backup's entries, no marker; only once "Backup Restored" has been shown
#   E  nothing visible left, no marker; only once "QVB Restore Failed" has been shown
# The data areas are two partitions (loop devices at offsets) of one disk image on an XFS
# with reflinks: "cp --reflink" copies the whole disk at one instant without what the kernel
# still caches, as a power cut leaves it; e2fsck replays the journal as a display would.
#   crash-states.sh          environment as for restore-cases.sh
set -euo pipefail
source "$(dirname "$0")/restore-cases.sh" crash

part_mb=96
hold=3                  # seconds an outcome stays on the screen before it is tapped
marker=home/data/qvb-restore-in-progress
runner=""
trap '[ -z "$runner" ] || kill -- -"$runner" 2> /dev/null; cleanup' EXIT
trap 'exit 1' HUP INT TERM   # so that a time-out still unmounts and detaches everything

# mount_disk IMAGE DIR [check]: the partitions at DIR's data areas; "check": read-only after
# e2fsck, as a display starts; else with no periodic commit, so only the program's flushes count.
mount_disk() {
  local part=0 area dev rc
  for area in home/data opt/OEM/data; do
    dev=$(losetup -f --show -o $((part * part_mb))MiB --sizelimit "${part_mb}MiB" "$1")
    loops+=("$dev") part=$((part + 1))
    if [ "${3:-}" = check ]; then
      rc=0 && e2fsck -fy "$dev" > "$work/fsck.log" 2>&1 || rc=$?
      [ "$rc" -lt 4 ] || { echo "e2fsck $rc on $area"; cat "$work/fsck.log"; } >> "$work/fsck-failures"
      mount_on "$2/$area" -o ro "$dev"
    else
      mount_on "$2/$area" -o commit=600 "$dev"
    fi
  done
}
unmount_disk() { # DIR: undoes the last mount_disk, which mounted there
  umount "$1/home/data" "$1/opt/OEM/data"
  losetup -d "${loops[@]: -2}"
  mounts=("${mounts[@]:0:${#mounts[@]}-2}") loops=("${loops[@]:0:${#loops[@]}-2}")
}

# The data areas below a root: not the database, which lies elsewhere, nor e2fsck's lost+found.
areas_manifest() { qvb_manifest "$1" | grep -vE "^((home/data|opt/OEM/data)/lost\\+found|$qvb_database)"$'\t' || true; }
hidden_only() { grep -E '^(home/data|opt/OEM/data)/\.' || true; }
visible_only() { grep -vE '^(home/data|opt/OEM/data)/\.' || true; }

# trail_whole DIR: the kept trail, if any, is whole as one of its saves wrote it: headings and
# timed lines only, the last one where a save ends, and a newline at the end.
trail_whole() {
  local trail=$1/home/data/.qvb-restore-trail
  [ -e "$trail" ] || return 0
  [ -z "$(tail -c 1 "$trail")" ] &&
    awk 'NR == 1 && !/^--- restore started / { exit 1 }
         !/^--- restore started / && !/^[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\.[0-9][0-9][0-9] qvb\./ { exit 1 }' "$trail" &&
    tail -n 1 "$trail" | grep -qE 'qvb\.restore: (data areas cleared \(first clearing\)|restore marker removed|the restore marker stays|nothing was removed|the restore marker could not be removed)'
}

classify() { # DIR: U, M, R or E, or X and what is wrong
  trail_whole "$1" || { echo "X the kept trail is not whole: $(tail -n 1 "$1/home/data/.qvb-restore-trail" | cut -c1-80)"; return; }
  [ -e "$1/$marker" ] && { echo M; return; }
  areas_manifest "$1" > "$work/now"
  visible_only < "$work/now" > "$work/now-visible"
  if [ -n "$(hidden_only < "$work/now" | LC_ALL=C comm -13 - "$work/old-hidden")" ]; then echo "X old hidden entries lost or changed"
  elif cmp -s "$work/now-visible" "$work/old-visible"; then echo U
  elif cmp -s "$work/now-visible" "$work/backup-visible"; then echo R
  elif [ ! -s "$work/now-visible" ]; then echo E
  else
    echo "X no marker; $(LC_ALL=C comm -12 "$work/now-visible" "$work/old-visible" | wc -l) of the old visible entries," \
      "$(LC_ALL=C comm -12 "$work/now-visible" "$work/backup-visible" | wc -l) of the backup's, $(wc -l < "$work/now-visible") in all"
  fi
}

# phase [killed]: what the program was doing, from its trail and the driver's events (with
# "killed", up to the kill)
phase() {
  local line
  local -a trail=() events=()
  mapfile -t trail 2> /dev/null < "$out/program.out" || true
  mapfile -t events 2> /dev/null < "$out/events" || true
  phase=start-up
  for line in "${trail[@]}"; do
    case "$line" in
      *"qvb.restore: restoring"*) phase="first clearing" ;;
      *"data areas wiped"*|*"qvb.archive: extracting"*) phase=unpacking ;;
      *"body digest"*|*"reading stopped"*|*"could not be read"*) phase=flush ;;
      *"qvb.archive: flushed"*|*"qvb.archive: done"*|*"qvb.archive: failed"*) phase="outcome due" ;;
      *"restored after"*|*"restore failed after"*) phase=message ;;
    esac
  done
  for line in "${events[@]}"; do
    case "$line" in
      *$'\t'"kill after"*) if [ -n "${1:-}" ]; then return 0; fi ;;
      *$'\t'click*) phase=$tap_phase ;;
      *$'\t'exit*) phase="after exit" ;;
    esac
  done
}
now_ms() { local t=${EPOCHREALTIME/[.,]/}; now=$((t / 1000)); }
event_ms() { awk -F'\t' -v e="$1" 'index($2, e) == 1 { print $1; exit }' "$out/events"; }
painted_ms() { # TITLE: when a message with this title first painted, empty if never
  awk -F'\t' -v t="$1" '$1 == "label" && $3 == "labelTitle" && $5 == t { w[$2] = 1 }
                        $1 == "painted" && ($2 in w) { print $3; exit }' "$out/style.log"
}
allowed() { # MS: the states allowed at wall-clock MS of this run
  local restored failed states="U M"
  restored=$(painted_ms "Backup Restored") failed=$(painted_ms "QVB Restore Failed")
  [ -n "$restored" ] && [ "$1" -ge "$restored" ] && states+=" R"
  [ -n "$failed" ] && [ "$1" -ge "$failed" ] && states+=" E"
  echo "$states"
}
verdict() { # WHAT PHASE STATE ALLOWED: one line of results; a state not allowed fails
  printf '%s\t%s\n' "$2" "${3%% *}" >> "$work/results"
  check "$1 ($2): state $3, allowed: $4" grep -qw -- "${3%% *}" <<< "$4"
}
table() { sort "$work/results" | uniq -c | sed 's/^/ /'; rm -f "$work/results"; }   # what was found in each phase

fresh_disk() { rm -rf "$out"; cp --reflink=always "$x/old.img" "$x/disk.img"; mount_disk "$x/disk.img" "$root"; }
done_with_disk() { unmount_disk "$root"; rm -f "$x/disk.img"; }
run() { # [drive-restore options]: the restore in the root, on the disk mounted there
  qvb_run_in_root "$root" --timeout 120 --hold "$hold" --no-screenshots "$@" -- "$program" "$backup" \
    > /dev/null 2>> "$work/driver.err"
}
outcome_was() { [ "$(qvb_dialogs "$out/style.log" | cut -d'|' -f2 | paste -sd'|')" = "Restore Memory|$outcome" ]; }

# copies_run: one restore, copies of the disk all along it and after it, each classified
# afterwards. After the exit, the storage must be in the outcome's state.
copies_run() {
  local n=0 last=0 seen="" now t0 before after=0 start gap
  fresh_disk
  set -m   # a process group of its own, to be ended with everything it started
  run & runner=$!
  set +m
  while [ "$after" -lt 4 ]; do
    phase && now_ms
    # A copy at every step of the trail, and every 25 ms between them while the program
    # works (every 500 ms while the outcome is on the screen).
    gap=25
    case "$phase" in message|"after exit") gap=500 ;; esac
    if [ "$phase" != "$seen" ] || [ $((now - last)) -ge "$gap" ]; then
      before=$phase t0=$now
      cp --reflink=always "$x/disk.img" "$x/copy-$n.img"
      now_ms && phase
      [ "$phase" = "$before" ] || before+="..$phase"
      printf '%s\t%s\t%s\t%s\n' "$n" "$t0" "$now" "$before" >> "$work/copies"
      n=$((n + 1)) last=$now seen=$phase
    fi
    kill -0 "$runner" 2> /dev/null || { after=$((after + 1)); sleep 0.2; }
    sleep 0.01
  done
  wait "$runner"; runner=""
  done_with_disk
  start=$(event_ms start)
  echo "$scenario: $n copies over $(($(event_ms exit) - start)) ms"
  check "$scenario: at least 40 copies" test "$n" -ge 40
  check "$scenario: progress dialog, then \"$outcome\"" outcome_was
  local i t1 ph state
  while IFS=$'\t' read -r i t0 t1 ph; do
    mount_disk "$x/copy-$i.img" "$work/cut" check
    state=$(classify "$work/cut")
    unmount_disk "$work/cut"; rm -f "$x/copy-$i.img"
    case "$ph" in
      "after exit") verdict "copy $i after the exit" "$ph" "$state" "$final" ;;
      *) verdict "copy $i at $((t0 - start))..$((t1 - start)) ms" "$ph" "$state" "$(allowed "$t1")" ;;
    esac
  done < "$work/copies"
  rm -f "$work/copies"
  check "$scenario: e2fsck repaired every copy" test ! -e "$work/fsck-failures"
  [ ! -e "$work/fsck-failures" ] || head -n 40 "$work/fsck-failures" >&2
  table
}

# course: when the last run painted its outcome, had it tapped and ended, in ms since its start
course() {
  local start; start=$(event_ms start)
  painted=$(($(painted_ms "$outcome") - start)) tap=$(($(event_ms click) - start)) end=$(($(event_ms exit) - start))
}

# kills_run: a whole restore timed, then ten killed over its course (six while it works, one
# while the outcome shows, three soon after the tap), the live file systems classified. A
# restore that ended before its instant gives its own course for a second try.
kills_run() {
  local painted tap end i at try killed
  fresh_disk; run
  verdict "the end of a whole run" "after exit" "$(classify "$root")" "$final"
  check "$scenario: the whole run showed \"$outcome\"" outcome_was
  outcome_was || { done_with_disk; return; }
  course
  done_with_disk
  for i in $(seq 0 9); do
    for try in 1 2; do
      if [ "$i" -lt 6 ]; then at=$((painted * (2 * i + 1) / 12))
      elif [ "$i" -eq 6 ]; then at=$(((painted + tap) / 2))
      else at=$((tap + (end - tap) * (i - 6) / 8))
      fi
      fresh_disk
      run --kill-after-ms "$at"
      killed=$(event_ms "kill after")
      if [ -n "$killed" ]; then
        phase killed
        verdict "kill at $at ms" "$phase" "$(classify "$root")" "$(allowed "$killed")"
      fi
      done_with_disk
      [ -z "$killed" ] || break
      echo "$scenario: the restore had ended before $at ms"
      if outcome_was; then course; fi
    done
  done
  table
}

# scenario NAME BACKUP-MAKER OUTCOME FINAL TAP-PHASE: the backup, then copies and kills.
scenario() {
  scenario=$1 outcome=$3 final=$4 tap_phase=$5
  rm -rf "$work/tree" "$work/reference"
  "$2"
  qvb_reference_extract "$work/body" "$work/reference"
  areas_manifest "$work/reference" | visible_only > "$work/backup-visible"
  echo "== $scenario, copies (instants in ms since the start; ${SECONDS} s into the test)"
  copies_run
  echo "== $scenario, killed (${SECONDS} s into the test)"
  kills_run
}
only_home_data() { # nothing under /opt/OEM/data: that file system is only wiped, never written
  "$qvb_e2e_dir/make-sample-tree" "$work/tree" 2000 1
  LC_ALL=C.UTF-8 bsdtar -czf "$work/body" -C "$work/tree" home
  qvb_make_backup "$work/body" "$root$backup"
}
damaged_at_80() { # many entries at the top, so that the clearing after the failure takes a while too
  "$qvb_e2e_dir/make-sample-tree" "$work/tree" 800 6
  local i
  for i in $(seq 1 200); do echo "note $i" > "$work/tree/home/data/note $i.txt"; done
  qvb_make_body "$work/tree" tar.gz "$work/body"
  qvb_make_backup "$work/body" "$root$backup" --header-version 1
  zero_64k_at "$root$backup" "8 / 10"
}

# --- the disk: an XFS with reflinks holding the image, the old data areas on it ----------------
x=$work/x
truncate -s 4G "$work/xfs.img"
mkfs.xfs -q -m reflink=1 "$work/xfs.img"
mount_on "$x" -o loop "$work/xfs.img"
truncate -s $((2 * part_mb))M "$x/old.img"
for part in 0 1; do
  mkfs.ext4 -q -F -E lazy_itable_init=0,lazy_journal_init=0,offset=$((part * part_mb * 1048576)) \
    "$x/old.img" "${part_mb}M"
done
mkdir -p "$root/media/usb"
mount_disk "$x/old.img" "$root"
qvb_prepare_root "$root"
# Thousands of small old files, so that the first clearing takes a while.
for d in $(seq 1 150); do
  area=home/data
  [ "$d" -le 110 ] || area=opt/OEM/data
  mkdir "$root/$area/old folder $d"
  for f in $(seq 1 20); do echo "old $d $f" > "$root/$area/old folder $d/file $f"; done
  echo "old $d" > "$root/$area/old-$d.txt"
done
areas_manifest "$root" > "$work/old"
visible_only < "$work/old" > "$work/old-visible"
hidden_only < "$work/old" > "$work/old-hidden"
unmount_disk "$root"
echo "old data areas: $(wc -l < "$work/old-visible") visible and $(wc -l < "$work/old-hidden") hidden entries"

scenario "only /home/data written" only_home_data "Backup Restored" R "marker removal"
scenario "damaged body" damaged_at_80 "QVB Restore Failed" E "second clearing"
echo "== ${SECONDS} s"
finish
