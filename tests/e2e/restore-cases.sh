#!/usr/bin/env bash
# End-to-end cases: the installed qvb-restore in a throwaway root (tools/in-root) on real
# backups, on Qt's vnc platform, tapped over RFB (tools/e2e/drive-restore). The recording
# test style tells what the dialogs showed; the data areas are compared with the archive.
#   restore-cases.sh CASE
set -euo pipefail

case_name=${1:?usage: restore-cases.sh CASE}
source "$QVB_SOURCE_DIR/tools/e2e/lib.sh"

top=$(mktemp -d "${TMPDIR:-/tmp}/qvb-e2e-$case_name.XXXXXX")
# Host mounts and loop devices of storage made real go before the directory, in reverse order.
mounts=() loops=()
cleanup() {
  local i
  for ((i = ${#mounts[@]} - 1; i >= 0; i--)); do umount -l "${mounts[i]}" 2> /dev/null || true; done
  for i in "${loops[@]}"; do losetup -d "$i" 2> /dev/null || true; done
  rm -rf --one-file-system "$top"
}
trap cleanup EXIT
in_dir() { work=$1 root=$1/root out=$1/root/tmp/qvb-drive; mkdir -p "$work"; }  # DIR: where a run keeps all
in_dir "$top"
program=${QVB_E2E_STAGE:-}/usr/bin/qvb-restore
backup=/media/usb/backup.qvb    # where the backup lies inside the root
shots=$QVB_BUILD_DIR/e2e-screenshots/$case_name

passed=0 failed=0 failures_shown=0 sub=""
check() { # DESCRIPTION COMMAND...: one verdict
  if "${@:2}"; then passed=$((passed + 1)); else failed=$((failed + 1)); echo "FAILED: ${sub:+$sub: }$1" >&2; fi
}
same() { diff -u "$1" "$2" >&2; }   # EXPECTED-FILE ACTUAL-FILE
# run_done: what the run showed when a check failed; its screenshots kept for a person to see.
run_done() {
  if [ "$failed" -gt "$failures_shown" ] && [ -d "$out" ]; then
    { echo "--- what the program showed:"; qvb_dialogs "$out/style.log"; echo "--- driver events:"
      cat "$out/events"; tail -n 20 "$out/program.out"; } >&2 || true
  fi
  failures_shown=$failed
  local png
  for png in "$out"/*.png; do [ ! -e "$png" ] || { mkdir -p "$shots"; cp "$png" "$shots/${sub:+$sub-}${png##*/}"; }; done
}
# sub_run NAME FUNCTION [ARG...]: one of several runs of a case, in a directory of its own.
sub_run() { sub=$1; in_dir "$top/$1"; "${@:2}"; run_done; sub=""; in_dir "$top"; }
finish() { run_done; [ ! -d "$shots" ] || echo "screenshots: $shots"; echo "$passed passed, $failed failed"; [ "$failed" -eq 0 ]; }

# --- texts the program shows ---------------------------------------------------------------
progress_en="Generic::ProgressDialog|Restore Memory|Please wait while the memory is being restored.  Do not remove the storage device.  The application will resume when the restore is complete.  (This may take several minutes.)"
restored_en="Generic::MessageDialog|Backup Restored|The system has been restored."
failed_en="Generic::MessageDialog|QVB Restore Failed|The process of restoring a backup file failed.  Please try restoring the backup again."
progress_de="Generic::ProgressDialog|Speicher wiederherstellen|Bitte warten Sie, während der Speicher wiederhergestellt wird.  Entfernen Sie das Speichermedium nicht.  Die Anwendung wird fortgesetzt, sobald die Wiederherstellung abgeschlossen ist.  (Dies kann einige Minuten dauern.)"
restored_de="Generic::MessageDialog|Sicherung wiederhergestellt|Das System wurde wiederhergestellt."
failed_de_title="Wiederherstellung fehlgeschlagen"
failed_de="Generic::MessageDialog|$failed_de_title|Die Sicherung konnte nicht wiederhergestellt werden.  Bitte versuchen Sie es erneut."

make_backup() { # FORMAT OBJECTS MAP_MB [qvb-make-backup options]: the backup in the root, body in $work
  "$qvb_e2e_dir/make-sample-tree" "$work/tree" "$2" "$3"
  qvb_make_body "$work/tree" "$1" "$work/body"
  mkdir -p "$root/media/usb"
  qvb_make_backup "$work/body" "$root$backup" "${@:4}"
}
# expected_after_success BODY: what the body holds plus the hidden entries there before.
expected_after_success() {
  rm -rf "$work/reference" && qvb_reference_extract "$1" "$work/reference"
  { qvb_manifest "$work/reference"; qvb_hidden_manifest "$root"; } | LC_ALL=C sort > "$work/expected"
}
prepared() { make_backup "$@"; qvb_prepare_root "$root"; expected_after_success "$work/body"; }  # as make_backup

run_program() { # [drive-restore options] -- [ARG...]: the installed program in the root
  local -a opts=()
  while [ "$1" != -- ]; do opts+=("$1"); shift; done
  qvb_hidden_manifest "$root" > "$work/hidden-before"
  qvb_run_in_root "$root" --timeout 120 "${opts[@]}" -- "$program" "${@:2}"
}

expect_exit() { [ "$(cat "$out/exit-status" 2> /dev/null)" = "$1" ]; }
marker_gone() { [ ! -e "$root/home/data/qvb-restore-in-progress" ] && [ ! -L "$root/home/data/qvb-restore-in-progress" ]; }
decoys_intact() { [ "$(cat "$root/home/other/keep.txt")" = decoy ] && [ "$(cat "$root/home/data-decoy.txt")" = decoy ]; }
program_said() { grep -qE "$1" "$out/program.out" || { echo "no trail line matching: $1" >&2; return 1; }; }
last_shot() { ls "$out"/*-"$1".png | tail -n 1; }   # KIND: message, beside
dialogs_are() { # EXPECTED-LINE...: the windows shown, in order, are exactly these
  printf '%s\n' "$@" > "$work/dialogs-expected" && qvb_dialogs "$out/style.log" > "$work/dialogs-actual" &&
    same "$work/dialogs-expected" "$work/dialogs-actual"
}
data_areas_as_expected() { qvb_manifest "$root" > "$work/actual"; same "$work/expected" "$work/actual"; }
only_hidden_left() { # nothing but the hidden entries, unchanged; no database
  qvb_visible_entries "$root" > "$work/visible"
  [ ! -s "$work/visible" ] || { echo "left in the data areas:" >&2; head "$work/visible" >&2; return 1; }
  qvb_hidden_manifest "$root" > "$work/hidden-after"
  same "$work/hidden-before" "$work/hidden-after"
}
font_is_16pt() { # the application font, and the text of every dialog, are 16 point
  awk -F'\t' '$1 == "shown" && $8 != 16 { bad = 1 }
              $1 == "label" && $3 != "labelTitle" && $4 != 16 { bad = 1 } END { exit bad }' "$out/style.log"
}
windows_centred() { # every window the program showed stood in the middle of the 1024x768 screen
  awk -F'\t' '$1 == "placed" && ($3 != int((1024 - $5) / 2) || $4 != int((768 - $6) / 2)) {
                 print "not centred: " $0 > "/dev/stderr"; bad = 1 }
              $1 == "placed" { n++ } END { exit bad || n == 0 }' "$out/style.log"
}
box_drawn_where_placed() { # the last message's screenshot shows one box, where the last window was placed
  local placed box
  placed=$(awk -F'\t' '$1 == "placed" { p = $5 "x" $6 "+" $3 "+" $4 } END { print p }' "$out/style.log")
  box=$(convert "$(last_shot message)" -format '%@' info:)
  [ -n "$placed" ] && [ "$box" = "$placed" ] || { echo "a box at $box, the window was placed at $placed" >&2; return 1; }
}
# title_shown_whole TITLE: the last label that drew TITLE drew it inside itself, on the screen,
# and the last message's screenshot shows its ink clear of the label's edges and centred.
title_shown_whole() {
  local line _ lx ly lw lh tx ty tw th iw ih ix
  line=$(awk -F'\t' -v t="$1" '$1 == "drawn" && $3 == "labelTitle" && $13 == t' "$out/style.log" | tail -n 1)
  [ -n "$line" ] || { echo "the title \"$1\" was never drawn" >&2; return 1; }
  IFS=$'\t' read -r _ _ _ lx ly lw lh tx ty tw th _ <<< "$line"
  ((tx >= lx && tx + tw <= lx + lw && ty >= ly && ty + th <= ly + lh && lx >= 0 && ly >= 0 && lx + lw <= 1024 &&
    ly + lh <= 768)) || { echo "drawn wider than its label, or the label not on the screen: $line" >&2; return 1; }
  # The ink: the bounding box (WxH+X+Y) of the dark pixels in the label's box.
  IFS='x+' read -r iw ih ix _ <<< "$(convert "$(last_shot message)" -crop "${lw}x${lh}+${lx}+${ly}" +repage \
    -colorspace Gray -threshold 50% -negate -format '%@' info:)"
  ((iw > 0 && iw < lw && ix >= 2 && ix + iw <= lw - 2 && 2 * ix + iw - lw <= 4 && lw - 2 * ix - iw <= 4)) ||
    { echo "the title's ink (${iw}x$ih+$ix) touches the edges of its ${lw}x$lh label, or is off its middle" >&2; return 1; }
}

expect_success() { # the checks of every successful restore
  check "exit status 0" expect_exit 0
  check "progress dialog, then \"Backup Restored\"" dialogs_are "$progress_en" "$restored_en"
  check "data areas hold exactly the archive plus the hidden old entries" data_areas_as_expected
  check "restore marker removed" marker_gone
  check "nothing outside the data areas touched" decoys_intact
}
expect_failure() { # [FIRST-DIALOG]: the checks of every failed restore
  local -a shown=("$@" "$progress_en" "$failed_en")
  check "exit status 0" expect_exit 0
  check "dialogs: ${shown[*]}" dialogs_are "${shown[@]}"
  check "data areas empty apart from hidden entries" only_hidden_left
  check "restore marker removed" marker_gone
  check "nothing outside the data areas touched" decoys_intact
}

wait_for() { local i; for i in $(seq 3000); do "$@" 2> /dev/null && return 0; sleep 0.02; done; return 1; }  # a minute
zero_64k_at() { # FILE FRACTION: 64 KiB of zeros over the file at FRACTION (as "2 / 3") of its size
  head -c 65536 /dev/zero | dd of="$1" bs=1 seek=$(($(stat -c %s "$1") * $2)) conv=notrunc status=none
}
# spoil FILE: a restored text overwritten inside an uncompressed body, which bsdtar and the
# program still read to the end: a tar holds no checksum of what its files hold.
spoil() {
  local at
  at=$(grep -obUaF 'Auftrag 17: Mais' "$1" | head -n 1 | cut -d: -f1)
  printf XXXXXXXX | dd of="$1" bs=1 seek="${at:?no text to spoil}" conv=notrunc status=none
}

mount_on() { mkdir -p "$1"; mount "${@:2}" "$1"; mounts+=("$1"); }   # DIR MOUNT-ARGUMENTS...
areas_on() { # DIR [ROOT]: ROOT's data areas bound to folders of DIR, what they held copied there
  local area dir
  for area in home/data opt/OEM/data; do
    dir=$1/${area//\//-} && mkdir -p "$dir"
    [ ! -d "${2:-$root}/$area" ] || cp -a "${2:-$root}/$area/." "$dir/"
    mount_on "${2:-$root}/$area" --bind "$dir"
  done
}

# --- the cases -------------------------------------------------------------------------------

case_install_layout() {
  rm -rf "$QVB_E2E_STAGE"
  DESTDIR=$QVB_E2E_STAGE cmake --install "$QVB_BUILD_DIR" --prefix /usr > "$work/install.log"
  (cd "$QVB_E2E_STAGE" && find . ! -type d | sed 's|^\./||' | LC_ALL=C sort) > "$work/installed"
  { echo usr/bin/qvb-restore
    for ts in "$QVB_SOURCE_DIR"/resources/translations/translation_*.ts; do
      echo "home/resources/language/$(basename "${ts%.ts}").qm"
    done; } | LC_ALL=C sort > "$work/wanted"
  check "installs the program and the compiled translations, nothing else" same "$work/wanted" "$work/installed"
  check "the installed program does not look into the build tree for libraries" \
    bash -c "! readelf -d '$QVB_E2E_STAGE/usr/bin/qvb-restore' | grep -E 'R(UN)?PATH' | grep -q '$QVB_BUILD_DIR'"
}

# Backups that restore: each body format, its names read as UTF-8 though no locale is set (a
# tar under a version-1 header, the others under version 2); a damaged body with no digest
# stored: nothing can tell, so the damaged text is restored; a large backup's progress.
case_restores() { local row; for row in tar.gz tar pax zip 7zip no_digest large; do sub_run "$row" restores; done; }
restores() {
  case $sub in
    no_digest)
      make_backup tar 20 3 --no-digest
      spoil "$root$backup"
      tail -c +205 "$root$backup" > "$work/body"
      qvb_prepare_root "$root"
      expected_after_success "$work/body" ;;
    large) prepared tar.gz 300 40 ;;
    *) prepared "$sub" 40 2 $([ "$sub" != tar ] || echo --header-version 1) ;;
  esac
  run_program -- "$backup"
  expect_success
  check "a non-ASCII name with blanks restored" test -f "$root/home/data/Aufträge & Kunden/Müller Hof/Feld Süd – Mais.txt"
  [[ $sub = zip || $sub = 7zip ]] ||
    check "hard link restored as a link" test "$root/home/data/logs/system.log" -ef "$root/home/data/logs/system.log.1"
  check "16-point application font in every dialog" font_is_16pt
  check "every window in the middle of the screen" windows_centred
  check "the outcome's box drawn there on the screen" box_drawn_where_placed
  check "the outcome's title whole and centred on the screen" title_shown_whole "Backup Restored"
  [ "$sub" != no_digest ] ||
    check "the spoilt text restored" grep -q XXXXXXXX "$root/home/data/Aufträge & Kunden/Müller Hof/Feld Süd – Mais.txt"
  if [ "$sub" = large ]; then
    qvb_progress_values "$out/style.log" > "$work/progress"
    check "at least three distinct percentages shown" test "$(sort -un "$work/progress" | wc -l)" -ge 3
    check "percentages never go back" sort -n -c "$work/progress"
    check "the bar reaches at least 95" test "$(sort -n "$work/progress" | tail -n 1)" -ge 95
  fi
}

# Backups, paths and storage that must not pass for a restore: [the open failure,] the
# progress, then the failure, nothing left, told soon. A row may name the trail line that says why.
case_must_fail() {
  local row
  for row in damaged truncated random_bytes digest_mismatch empty_file v1_header_only v2_header_only \
             length_past_end full_storage stick_pulled missing no_argument fifo; do sub_run "$row" must_fail; done
}
must_fail() {
  local path=$backup unopened="" said="" started
  qvb_prepare_root "$root"
  case $sub in
    damaged) # the unpacking fails after entries were written: those must go again
      make_backup tar.gz 300 4 --header-version 1
      zero_64k_at "$root$backup" "2 / 3"
      check "precondition: bsdtar fails on the damaged body" \
        bash -c "! tail -c +189 '$root$backup' | LC_ALL=C.UTF-8 bsdtar -tf - > /dev/null 2>&1" ;;
    truncated)
      make_backup tar.gz 100 4
      truncate -s $(($(stat -c %s "$root$backup") / 2)) "$root$backup" ;;
    random_bytes) head -c 300000 /dev/urandom > "$root$backup" ;;
    digest_mismatch) make_backup tar 20 3; spoil "$root$backup" ;;   # damage only the stored digest can tell
    empty_file) : > "$root$backup" ;;
    *_header_only) : > "$work/nothing"; qvb_make_backup "$work/nothing" "$root$backup" --no-digest --header-version "${sub:1:1}" ;;
    length_past_end) # the header's body length runs past the end of the file
      printf x > "$work/one-byte"
      qvb_make_backup "$work/one-byte" "$work/whole" --no-digest
      head -c 150 "$work/whole" > "$root$backup" ;;
    full_storage) # a 15 MB backup onto a 5 MB data file system
      make_backup tar.gz 60 14
      mount_on "$work/small" -t tmpfs -o size=5m tmpfs
      areas_on "$work/small"
      said='could not write .*No space left on device' ;;
    stick_pulled) stick_failing_at_60_percent; said='Input/output error' ;;
    missing) path="/media/usb/no such backup.qvb" unopened=1 ;;
    no_argument) path="" unopened=1 ;;   # the text ends after "file", with no blank left over
    fifo) mkfifo "$root$backup"; unopened=1 said='not a regular file|cannot open' ;;   # no wait for a writer
  esac
  case $sub in empty_file|*_header_only|length_past_end) said='holds no archive body|reading stopped' ;; esac
  started=$SECONDS
  run_program -- ${path:+"$path"}
  expect_failure ${unopened:+"Generic::MessageDialog|Restore Memory|Cannot open file${path:+ $path}"}
  check "the failure is told within seconds" test $((SECONDS - started)) -lt 60
  [ -z "$said" ] || check "the trail says why" program_said "$said"
}

case_interrupted() {
  # So many small entries that the kill once the bar has moved lands while the progress is up.
  make_backup tar.gz 6000 16
  qvb_prepare_root "$root"
  run_program --kill-at 2 -- "$backup"
  check "killed by the signal" expect_exit 137
  check "killed while the progress dialog was up, before any outcome" dialogs_are "$progress_en"
  check "the restore marker stays behind" test -e "$root/home/data/qvb-restore-in-progress"
  check "old visible entries were already wiped" test ! -e "$root/home/data/old name with blanks.txt"
}

case_german() {
  mkdir -p "$root/etc/sysconfig" "$root/home/resources/language"
  printf 'LANG="de_DE.UTF-8"\nSYSFONT="latarcyrheb-sun16"\n\n' > "$root/etc/sysconfig/i18n"
  cp "$QVB_E2E_STAGE"/home/resources/language/translation_de_de.qm "$root/home/resources/language/"
  make_backup tar.gz 20 1
  qvb_prepare_root "$root"
  run_program -- "$backup"
  check "exit status 0" expect_exit 0
  check "German progress dialog and success message" dialogs_are "$progress_de" "$restored_de"
  run_program -- /media/usb/fehlt.qvb   # the failure in German: a backup that is not there
  check "exit status 0" expect_exit 0
  check "German open failure, progress dialog and failure message" dialogs_are \
    "Generic::MessageDialog|Speicher wiederherstellen|Datei /media/usb/fehlt.qvb kann nicht geöffnet werden" \
    "$progress_de" "$failed_de"
  check "the German failure title whole and centred on the screen" title_shown_whole "$failed_de_title"
  check "every window in the middle of the screen" windows_centred
  check "the failure's box drawn there on the screen" box_drawn_where_placed
}

case_power_cut() {
  # The data areas on an ext4 image, copied as the outcome shows: what a power cut then leaves.
  prepared tar.gz 100 1
  truncate -s 96M "$work/disk.img"
  mkfs.ext4 -q -F "$work/disk.img"
  mount_on "$work/disk" -o loop "$work/disk.img"
  areas_on "$work/disk"
  ( # from the host, as soon as the driver has seen the outcome, with no sync of its own
    wait_for grep -q 'screenshot .*-message\.png' "$out/events" || true
    cp "$work/disk.img" "$work/cut.img"
  ) &
  local watcher=$!
  run_program -- "$backup"
  wait "$watcher"
  expect_success
  check "the trail tells of the flush" program_said 'qvb\.archive: flushed [0-9]+ file system'
  # What a display finds after the power cut: the journal replayed, the data areas read.
  e2fsck -fy "$work/cut.img" > "$work/fsck.log" 2>&1 || [ $? -lt 4 ] ||
    { cat "$work/fsck.log" >&2; check "the image copied at the outcome passes e2fsck" false; }
  mount_on "$work/cut" -o ro,loop "$work/cut.img"
  areas_on "$work/cut" "$work/cut-root"
  qvb_manifest "$work/cut-root" | grep -v 'qvb-restore-in-progress' > "$work/cut-manifest"
  grep -v 'dbmain\.sqlite' "$work/expected" > "$work/expected-on-disk"
  check "every restored entry is on the storage at the outcome, byte for byte" \
    same "$work/expected-on-disk" "$work/cut-manifest"
}

# stick_failing_at_60_percent: the backup on an ext4 image behind a loop device that reads past
# the end of its backing file as errors, the image cut at 60 % of the backup's data.
stick_failing_at_60_percent() {
  make_backup tar.gz 200 6
  truncate -s 64M "$work/stick.img"
  mkfs.ext4 -q -F -b 4096 "$work/stick.img"
  local dev first_block size
  dev=$(losetup --direct-io=on -f --show "$work/stick.img")
  loops+=("$dev")
  mount_on "$work/stick" "$dev"
  cp "$root$backup" "$work/stick/backup.qvb"
  sync -f "$work/stick/backup.qvb"
  first_block=$(filefrag -v "$work/stick/backup.qvb" | awk '$1 == "0:" { gsub(/\.\./, " "); split($4, a, " "); print a[1]; exit }')
  size=$(stat -c %s "$work/stick/backup.qvb")
  umount "$work/stick"
  truncate -s $((first_block * 4096 + size * 6 / 10 / 4096 * 4096)) "$work/stick.img"
  rm -f "$root$backup"
  mount_on "$root/media/usb" -o ro,noload "$dev"
}

case_read_only_data() {
  # A failing flash: no marker, so no progress and nothing removed anywhere, only the failure.
  make_backup tar.gz 20 1
  qvb_prepare_root "$root"
  mount_on "$root/home/data" --bind "$root/home/data"
  mount -o remount,bind,ro "$root/home/data"
  qvb_manifest "$root" > "$work/before"
  run_program -- "$backup"
  check "exit status 0" expect_exit 0
  check "only \"QVB Restore Failed\"" dialogs_are "$failed_en"
  qvb_manifest "$root" > "$work/after"
  check "nothing removed or changed in either data area or the database" same "$work/before" "$work/after"
  check "nothing outside the data areas touched" decoys_intact
}

stat_of() { local p; for p; do stat -c $'%n\t%i %z' "$p" 2> /dev/null || printf '%s\tmissing\n' "$p"; done; }

case_second_start() {
  # A second start leaves all to the first: a sentinel planted while the first unpacks (a second
  # wipe would take it) and the marker (a second restore would touch it) stay as they were.
  prepared tar.gz 10000 32
  rm -rf "$out"
  local marker=$root/home/data/qvb-restore-in-progress sentinel=$root/home/data/zz-sentinel
  (
    wait_for grep -q '^qvb.restore: unpacking' "$out/program.out" || exit 0
    grep -q 'second start' "$out/events" || : > "$work/before-second"
    : > "$sentinel"
    stat_of "$marker" "$sentinel" > "$work/noted"
    wait_for test -e "$out/second-exit-status"
    stat_of "$marker" "$sentinel" > "$work/at-second-end"
    rm -f "$sentinel"
  ) &
  local watcher=$!
  run_program --timeout 60 --second-start-at 1 -- "$backup"
  wait "$watcher" || true
  check "the first was unpacking before the second started" test -e "$work/before-second"
  check "the second ended by itself with status 0" grep -qx 0 "$out/second-exit-status"
  check "the second ended within 5 s" awk -F'\t' '$2 ~ /^second start/ { s = $1 } $2 ~ /^second exit/ { e = $1 }
    END { if (e - s >= 5000) print "the second took " e - s " ms" > "/dev/stderr"; exit !(s && e && e - s < 5000) }' "$out/events"
  check "the second showed no window" bash -c "! grep -q '^shown' '$out/second-style.log' 2> /dev/null"
  check "the second's trail says it left the restore alone" grep -q 'another restore is running' "$out/second-program.out"
  check "the second removed nothing and left the marker alone" same "$work/noted" "$work/at-second-end"
  expect_success
}

# --- taps that must change nothing -----------------------------------------------------------

pixel() { # PNG X Y: the colour there as "R G B", 0 to 255
  convert "$1" -format "%[fx:int(255*p{$2,$3}.r+.5)] %[fx:int(255*p{$2,$3}.g+.5)] %[fx:int(255*p{$2,$3}.b+.5)]" info:
}
# overlay_shown: in the first message's screenshot the covered window's corner shows the top
# one's (the same dialog background) darkened by the overlay, 102/255 black.
overlay_shown() {
  local shot c t
  shot=$(ls "$out"/*-message.png | head -n 1)
  corner() { awk -F'\t' -v w="$1" '$1 == "placed" && $2 == w { print $3 + 3, $4 + 3 }' "$out/style.log"; }
  c=$(pixel "$shot" $(corner win1)) t=$(pixel "$shot" $(corner win2))
  awk -v c="$c" -v t="$t" 'BEGIN { n = split(c, a, " ") + split(t, b, " ")
    for (i = 1; i <= 3; i++) if (a[i] - int(b[i] * 153 / 255) > 2 || int(b[i] * 153 / 255) - a[i] > 2) n = 0
    exit n != 6 }' || { echo "covered corner $c, top corner $t in $shot: no overlay of 102/255 black" >&2; return 1; }
}
tapped_while_covered() { # the first window's button was tapped after the second painted over it
  local covered_at tapped_at
  covered_at=$(awk -F'\t' '$1 == "painted" && $2 == "win2" { print $3 }' "$out/style.log")
  tapped_at=$(awk -F'\t' '$2 ~ /^click .*StandardButtonsDialog/ { print $1; exit }' "$out/events")
  [ -n "$covered_at" ] && [ -n "$tapped_at" ] && [ "$tapped_at" -gt "$covered_at" ]
}

case_taps_missed() {
  # A tap 10 pixels beside the outcome's 120-pixel button changes nothing; one on it closes it.
  prepared tar.gz 20 1
  run_program --tap-beside 70 -- "$backup"
  expect_success
  local differ
  differ=$(compare -metric AE "$(last_shot message)" "$(last_shot beside)" null: 2>&1) || true
  check "the message unchanged on the screen after a tap beside its button: $differ pixels differ" test "$differ" = 0
  check "then one tap on the button closed it" bash -c "! grep -q 'click again' '$out/events'"
  # A covered dialog: the overlay over it swallows the tap on its button; the top one is answered.
  qvb_run_in_root "$root" --timeout 60 -- "$QVB_E2E_COVERED_STACK"
  check "exit status 0: the covered dialog's button never reacted" expect_exit 0
  check "its button was tapped while the other dialog covered it" tapped_while_covered
  check "the overlay drawn over the covered dialog" overlay_shown
  check "both windows in the middle of the screen" windows_centred
}

# Sourced by crash-states.sh for the helpers above: no case is run then.
[ "${BASH_SOURCE[0]}" = "$0" ] || return 0
type "case_$case_name" > /dev/null 2>&1 || { echo "unknown case $case_name" >&2; exit 2; }
rm -rf "$shots"
"case_$case_name"
finish
