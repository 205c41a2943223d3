#!/usr/bin/env bash
# End-to-end cases of qvb-restore: the program as installed for a display, started inside a
# throwaway root (tools/in-root) on real backups made here with bsdtar and qvb-make-backup,
# on Qt's vnc framebuffer platform, its buttons tapped over RFB (tools/e2e/drive-restore).
# The recording test style tells what the dialogs showed; the root's data areas are then
# compared with what the archive holds. The host is never touched: every root is a
# temporary directory, removed at the end.
#
#   restore-cases.sh CASE
#
# Environment (set by CTest): QVB_SOURCE_DIR, QVB_BUILD_DIR, QVB_IN_ROOT, QVB_E2E_STAGE (the
# staged installation), QVB_E2E_PLUGINS, QVB_MAKE_BACKUP, QVB_E2E_COVERED_STACK (two dialogs,
# one covering the other).
set -euo pipefail

case_name=${1:?usage: restore-cases.sh CASE}
source "$QVB_SOURCE_DIR/tools/e2e/lib.sh"

work=$(mktemp -d "${TMPDIR:-/tmp}/qvb-e2e-$case_name.XXXXXX")
# File systems and loop devices a case sets up on the host (storage made real: a full
# disk, a power cut, a failing stick) go before the work directory, in reverse order.
mounts=()
loops=()
cleanup() {
  local i
  for ((i = ${#mounts[@]} - 1; i >= 0; i--)); do umount -l "${mounts[i]}" 2> /dev/null || true; done
  for i in "${loops[@]}"; do losetup -d "$i" 2> /dev/null || true; done
  rm -rf --one-file-system "$work"
}
trap cleanup EXIT
root=$work/root
out=$root/tmp/qvb-drive
program=${QVB_E2E_STAGE:-}/usr/bin/qvb-restore
backup=/media/usb/backup.qvb    # where the backup lies inside the root

passed=0
failed=0
check() { # DESCRIPTION COMMAND...: one verdict
  local what=$1
  shift
  if "$@"; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    echo "FAILED: $what" >&2
  fi
}
same() { # EXPECTED-FILE ACTUAL-FILE: equal, or show how they differ
  diff -u "$1" "$2" >&2
}
finish() {
  if [ "$failed" -gt 0 ] && [ -d "$out" ]; then
    echo "--- what the program showed:" >&2
    qvb_dialogs "$out/style.log" >&2 || true
    echo "--- driver events:" >&2
    cat "$out/events" >&2 || true
    tail -n 20 "$out/program.out" >&2 || true
  fi
  # What the framebuffer showed stays with the build, for a person to look at.
  if compgen -G "$out/*.png" > /dev/null; then
    local shots=$QVB_BUILD_DIR/e2e-screenshots/$case_name
    rm -rf "$shots" && mkdir -p "$shots" && cp "$out"/*.png "$shots"/ && echo "screenshots: $shots"
  fi
  echo "$passed passed, $failed failed"
  [ "$failed" -eq 0 ]
}

# --- texts the program shows ---------------------------------------------------------------
progress_en="Generic::ProgressDialog|Restore Memory|Please wait while the memory is being restored.  Do not remove the storage device.  The application will resume when the restore is complete.  (This may take several minutes.)"
restored_en="Generic::MessageDialog|Backup Restored|The system has been restored."
failed_en="Generic::MessageDialog|QVB Restore Failed|The process of restoring a backup file failed.  Please try restoring the backup again."
cannot_open_en() { echo "Generic::MessageDialog|Restore Memory|Cannot open file $1"; }
progress_de="Generic::ProgressDialog|Speicher wiederherstellen|Bitte warten Sie, während der Speicher wiederhergestellt wird.  Entfernen Sie das Speichermedium nicht.  Die Anwendung wird fortgesetzt, sobald die Wiederherstellung abgeschlossen ist.  (Dies kann einige Minuten dauern.)"
restored_de="Generic::MessageDialog|Sicherung wiederhergestellt|Das System wurde wiederhergestellt."
failed_de_title="Wiederherstellung fehlgeschlagen"
failed_de="Generic::MessageDialog|$failed_de_title|Die Sicherung konnte nicht wiederhergestellt werden.  Bitte versuchen Sie es erneut."
cannot_open_de() { echo "Generic::MessageDialog|Speicher wiederherstellen|Datei $1 kann nicht geöffnet werden"; }

# --- building blocks -----------------------------------------------------------------------

# make_backup FORMAT OBJECTS MAP_MB [qvb-make-backup options]: a sample tree packed as FORMAT
# and wrapped as the backup inside the root; the body stays in $work/body.
make_backup() {
  local format=$1 objects=$2 map_mb=$3
  shift 3
  "$qvb_e2e_dir/make-sample-tree" "$work/tree" "$objects" "$map_mb"
  qvb_make_body "$work/tree" "$format" "$work/body"
  mkdir -p "$root/media/usb"
  qvb_make_backup "$work/body" "$root$backup" "$@"
}

# expected_after_success BODY: the data areas a successful restore leaves: what the body
# holds plus the hidden entries that were there before.
expected_after_success() {
  rm -rf "$work/reference"
  qvb_reference_extract "$1" "$work/reference"
  { qvb_manifest "$work/reference"; qvb_hidden_manifest "$root"; } | LC_ALL=C sort > "$work/expected"
}

# run_program [drive-restore options] [-- ARG...]: the installed program in the root.
run_program() {
  local -a opts=() args=()
  while [ $# -gt 0 ] && [ "$1" != -- ]; do opts+=("$1"); shift; done
  [ $# -gt 0 ] && { shift; args=("$@"); }
  qvb_hidden_manifest "$root" > "$work/hidden-before"
  qvb_run_in_root "$root" --timeout 120 "${opts[@]}" -- "$program" "${args[@]}"
}

expect_exit() { [ "$(cat "$out/exit-status" 2> /dev/null)" = "$1" ]; }
marker_gone() { [ ! -e "$root/home/data/qvb-restore-in-progress" ] && [ ! -L "$root/home/data/qvb-restore-in-progress" ]; }
decoys_intact() {
  [ "$(cat "$root/home/other/keep.txt")" = decoy ] && [ "$(cat "$root/home/data-decoy.txt")" = decoy ]
}
dialogs_are() { # EXPECTED-LINE...: the windows shown, in order, are exactly these
  printf '%s\n' "$@" > "$work/dialogs-expected"
  qvb_dialogs "$out/style.log" > "$work/dialogs-actual"
  same "$work/dialogs-expected" "$work/dialogs-actual"
}
data_areas_as_expected() {
  qvb_manifest "$root" > "$work/actual"
  same "$work/expected" "$work/actual"
}
only_hidden_left() { # nothing but the hidden entries, unchanged; no database
  qvb_visible_entries "$root" > "$work/visible"
  [ ! -s "$work/visible" ] || { echo "left in the data areas:" >&2; head "$work/visible" >&2; return 1; }
  qvb_hidden_manifest "$root" > "$work/hidden-after"
  same "$work/hidden-before" "$work/hidden-after"
}
font_is_16pt() { # the application font, and the text of every dialog, are 16 point
  awk -F'\t' '$1 == "shown" && $8 != 16 { bad = 1 }
              $1 == "label" && $3 != "labelTitle" && $4 != 16 { bad = 1 }
              END { exit bad }' "$out/style.log"
}

windows_centred() { # every window the program showed stood in the middle of the 1024x768 screen
  awk -F'\t' '$1 == "placed" && ($3 != int((1024 - $5) / 2) || $4 != int((768 - $6) / 2)) {
                 print "not centred: " $0 > "/dev/stderr"; bad = 1 }
              $1 == "placed" { n++ }
              END { exit bad || n == 0 }' "$out/style.log"
}

# box_drawn_where_placed: the last message's screenshot shows one box on the black screen,
# exactly where the program placed its last window (which windows_centred finds centred).
box_drawn_where_placed() {
  local shot placed box
  shot=$(ls "$out"/*-message.png | tail -n 1)
  placed=$(awk -F'\t' '$1 == "placed" { p = $5 "x" $6 "+" $3 "+" $4 } END { print p }' "$out/style.log")
  box=$(convert "$shot" -format '%@' info:)
  [ -n "$placed" ] && [ "$box" = "$placed" ] ||
    { echo "$shot shows a box at $box, the window was placed at $placed" >&2; return 1; }
}

# title_shown_whole TITLE: the last title label that drew TITLE drew it inside the label, the
# label lies on the screen, and the screenshot of that message shows the title's ink clear of
# the label's edges and over the middle of the label: nothing cut, nothing off-centre.
title_shown_whole() {
  local line shot box
  line=$(awk -F'\t' -v t="$1" '$1 == "drawn" && $3 == "labelTitle" && $13 == t' "$out/style.log" | tail -n 1)
  [ -n "$line" ] || { echo "the title \"$1\" was never drawn" >&2; return 1; }
  local _ lx ly lw lh tx ty tw th
  IFS=$'\t' read -r _ _ _ lx ly lw lh tx ty tw th _ <<< "$line"
  if ((tx < lx || tx + tw > lx + lw || ty < ly || ty + th > ly + lh)); then
    echo "drawn wider than its label: $line" >&2
    return 1
  fi
  if ((lx < 0 || ly < 0 || lx + lw > 1024 || ly + lh > 768)); then
    echo "the label is not on the screen: $line" >&2
    return 1
  fi
  shot=$(ls "$out"/*-message.png | tail -n 1)
  # The ink of the title: dark pixels of the label's box, their bounding box as WxH+X+Y.
  box=$(convert "$shot" -crop "${lw}x${lh}+${lx}+${ly}" +repage -colorspace Gray -threshold 50% -negate \
          -format '%@' info:)
  local iw ih ix iy
  IFS='x+' read -r iw ih ix iy <<< "$box"
  if ((iw <= 0 || iw >= lw || ix < 2 || ix + iw > lw - 2)); then
    echo "the title's ink ($box) touches the edges of its ${lw}x$lh label in $shot" >&2
    return 1
  fi
  if ((2 * ix + iw - lw > 4 || lw - 2 * ix - iw > 4)); then
    echo "the title's ink ($box) is not over the middle of its ${lw}-pixel label in $shot" >&2
    return 1
  fi
}

expect_success() { # the checks of every successful restore
  check "exit status 0" expect_exit 0
  check "progress dialog, then \"Backup Restored\"" dialogs_are "$progress_en" "$restored_en"
  check "data areas hold exactly the archive plus the hidden old entries" data_areas_as_expected
  check "restore marker removed" marker_gone
  check "nothing outside the data areas touched" decoys_intact
}

expect_failure() { # [FIRST-DIALOG]: the checks of every failed restore
  local -a shown=()
  [ $# -gt 0 ] && shown+=("$1")
  shown+=("$progress_en" "$failed_en")
  check "exit status 0" expect_exit 0
  check "dialogs: ${shown[*]}" dialogs_are "${shown[@]}"
  check "data areas empty apart from hidden entries" only_hidden_left
  check "restore marker removed" marker_gone
  check "nothing outside the data areas touched" decoys_intact
}

# flip_bytes FILE OFFSET COUNT: inverts COUNT bytes in place.
flip_bytes() {
  local file=$1 offset=$2 count=$3 b escaped=""
  for b in $(od -An -tu1 -v -j "$offset" -N "$count" "$file"); do
    escaped+=$(printf '\\x%02x' $((255 - b)))
  done
  printf "$escaped" | dd of="$file" bs=1 seek="$offset" conv=notrunc status=none
}

# damage_inside_stored_data BODY: flips bytes of a tar.gz body where gzip keeps an
# incompressible map file as stored blocks, at a place where bsdtar still reads the whole
# archive and exits 0 (it does not check the gzip CRC) while gzip -t reports the damage.
# Prints the offset used.
damage_inside_stored_data() {
  local body=$1 size offset tries
  size=$(stat -c %s "$body")
  for tries in $(seq 0 30); do
    offset=$((size / 3 + tries * 40961))
    cp "$body" "$work/damaged"
    flip_bytes "$work/damaged" "$offset" 8
    rm -rf "$work/probe" && mkdir -p "$work/probe"
    if LC_ALL=C.UTF-8 bsdtar -xpf "$work/damaged" -C "$work/probe" 2> /dev/null &&
       ! gzip -t < "$work/damaged" 2> /dev/null; then
      echo "$offset"
      return 0
    fi
  done
  echo "no place found where the damage goes unnoticed by bsdtar" >&2
  return 1
}

# --- the cases -------------------------------------------------------------------------------

case_install_layout() {
  rm -rf "$QVB_E2E_STAGE"
  DESTDIR=$QVB_E2E_STAGE cmake --install "$QVB_BUILD_DIR" --prefix /usr > "$work/install.log"
  (cd "$QVB_E2E_STAGE" && find . ! -type d | sed 's|^\./||' | LC_ALL=C sort) > "$work/installed"
  {
    echo usr/bin/qvb-restore
    for ts in "$QVB_SOURCE_DIR"/resources/translations/translation_*.ts; do
      echo "home/resources/language/$(basename "${ts%.ts}").qm"
    done
  } | LC_ALL=C sort > "$work/wanted"
  check "installs the program and the compiled translations, nothing else" same "$work/wanted" "$work/installed"
  check "the program is an executable" test -x "$QVB_E2E_STAGE/usr/bin/qvb-restore"
  check "the installed program does not look into the build tree for libraries" \
    bash -c "! readelf -d '$QVB_E2E_STAGE/usr/bin/qvb-restore' | grep -E 'R(UN)?PATH' | grep -q '$QVB_BUILD_DIR'"
  /usr/lib/qt5/bin/lconvert -i "$QVB_E2E_STAGE/home/resources/language/translation_de_de.qm" -o "$work/de.ts"
  check "the German translation carries the outcome texts" grep -q "Sicherung wiederhergestellt" "$work/de.ts"
}

case_success_v2_targz() {
  make_backup tar.gz 40 2
  qvb_prepare_root "$root"
  expected_after_success "$work/body"
  run_program -- "$backup"
  expect_success
  check "16-point application font in every dialog" font_is_16pt
  check "every window in the middle of the screen" windows_centred
  check "the outcome's box drawn there on the screen" box_drawn_where_placed
  check "the outcome's title whole and centred on the screen" title_shown_whole "Backup Restored"
  check "a non-ASCII name with blanks restored" \
    test -f "$root/home/data/Aufträge & Kunden/Müller Hof/Feld Süd – Mais.txt"
}

case_success_v1_tar() {
  make_backup tar 40 2 --header-version 1
  qvb_prepare_root "$root"
  expected_after_success "$work/body"
  run_program -- "$backup"
  expect_success
  check "hard link restored as a link" \
    test "$root/home/data/logs/system.log" -ef "$root/home/data/logs/system.log.1"
}

case_fail_damaged_body() {
  # A gzip body overwritten part way: the unpacking stops with an error after earlier
  # entries were already written, and those must go again.
  make_backup tar.gz 300 4 --header-version 1
  local size
  size=$(stat -c %s "$root$backup")
  head -c 65536 /dev/zero | dd of="$root$backup" bs=1 seek=$((size * 2 / 3)) conv=notrunc status=none
  check "precondition: bsdtar fails on the damaged body" \
    bash -c "! tail -c +189 '$root$backup' | LC_ALL=C.UTF-8 bsdtar -tf - > /dev/null 2>&1"
  qvb_prepare_root "$root"
  run_program -- "$backup"
  expect_failure
}

case_fail_truncated() {
  make_backup tar.gz 100 4
  truncate -s $(($(stat -c %s "$root$backup") / 2)) "$root$backup"
  qvb_prepare_root "$root"
  run_program -- "$backup"
  expect_failure
}

case_fail_random_bytes() {
  mkdir -p "$root/media/usb"
  head -c 300000 /dev/urandom > "$root$backup"
  qvb_prepare_root "$root"
  run_program -- "$backup"
  expect_failure
}

case_fail_missing_path() {
  qvb_prepare_root "$root"
  run_program -- "/media/usb/no such backup.qvb"
  expect_failure "$(cannot_open_en "/media/usb/no such backup.qvb")"
}

case_fail_no_argument() {
  qvb_prepare_root "$root"
  run_program
  # Without a path the text ends after "file", with no blank left over.
  expect_failure "Generic::MessageDialog|Restore Memory|Cannot open file"
}

case_interrupted() {
  # Many small entries make the unpacking take several seconds, so the kill lands while
  # the progress dialog is up even when the driver reads the progress late on a loaded
  # machine; the program is killed as soon as its progress bar has moved.
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
  expected_after_success "$work/body"
  run_program -- "$backup"
  check "exit status 0" expect_exit 0
  check "German progress dialog and success message" dialogs_are "$progress_de" "$restored_de"
  check "data areas restored" data_areas_as_expected
  cp -a "$out" "$work/first-run"
  # The failure path in German: a backup that is not there.
  run_program -- /media/usb/fehlt.qvb
  check "exit status 0" expect_exit 0
  check "German open failure, progress dialog and failure message" \
    dialogs_are "$(cannot_open_de /media/usb/fehlt.qvb)" "$progress_de" "$failed_de"
  check "the German failure title whole and centred on the screen" title_shown_whole "${failed_de_title}"
  check "every window in the middle of the screen" windows_centred
  check "the failure's box drawn there on the screen" box_drawn_where_placed
  check "data areas empty apart from hidden entries" only_hidden_left
  check "restore marker removed" marker_gone
}

case_progress_large() {
  make_backup tar.gz 300 40
  qvb_prepare_root "$root"
  expected_after_success "$work/body"
  run_program -- "$backup"
  expect_success
  qvb_progress_values "$out/style.log" > "$work/progress"
  check "at least three distinct percentages shown" \
    test "$(sort -un "$work/progress" | wc -l)" -ge 3
  check "percentages never go back" bash -c "sort -n -c '$work/progress'"
  check "the bar reaches at least 95" test "$(sort -n "$work/progress" | tail -n 1)" -ge 95
}

utf8_names_case() { # FORMAT: a body of that format with UTF-8 names, no locale set
  make_backup "$1" 30 1
  qvb_prepare_root "$root"
  expected_after_success "$work/body"
  check "precondition: the body holds non-ASCII names" \
    bash -c "LC_ALL=C.UTF-8 bsdtar -tf '$work/body' | grep -q 'Feld Süd – Mais.txt'"
  run_program -- "$backup"
  expect_success
}
case_utf8_pax() { utf8_names_case pax; }
case_utf8_zip() { utf8_names_case zip; }
case_utf8_7zip() { utf8_names_case 7zip; }

case_digest_mismatch() {
  "$qvb_e2e_dir/make-sample-tree" "$work/tree" 20 3
  qvb_make_body "$work/tree" tar.gz "$work/body"
  mkdir -p "$root/media/usb"
  qvb_make_backup "$work/body" "$root$backup"     # digest of the good body
  local offset
  offset=$(damage_inside_stored_data "$work/body")
  flip_bytes "$root$backup" $((204 + offset)) 8
  qvb_prepare_root "$root"
  run_program -- "$backup"
  expect_failure
}

differs_from_intact() {
  qvb_manifest "$work/intact" > "$work/intact-manifest"
  ! cmp -s "$work/intact-manifest" "$work/actual"
}

case_digest_empty() {
  # The same damage with no stored digest: nothing can tell, so the restore ends as it
  # always did, with the damaged data in place.
  "$qvb_e2e_dir/make-sample-tree" "$work/tree" 20 3
  qvb_make_body "$work/tree" tar.gz "$work/body"
  local offset
  offset=$(damage_inside_stored_data "$work/body")
  mkdir -p "$root/media/usb"
  qvb_make_backup "$work/damaged" "$root$backup" --no-digest
  qvb_prepare_root "$root"
  expected_after_success "$work/damaged"
  run_program -- "$backup"
  expect_success
  rm -rf "$work/intact" && qvb_reference_extract "$work/body" "$work/intact"
  check "the restored data differ from the intact backup's" differs_from_intact
}

# --- storage made real -------------------------------------------------------------------

# mount_on DIR MOUNT-ARGUMENTS...: mounts on DIR (created) and unmounts it at the end.
mount_on() {
  local dir=$1
  shift
  mkdir -p "$dir"
  mount "$@" "$dir"
  mounts+=("$dir")
}

# program_said PATTERN: the program's standard error holds a trail line matching PATTERN.
program_said() {
  grep -qE "$1" "$out/program.out" || { echo "no trail line matching: $1" >&2; return 1; }
}

case_power_cut() {
  # The data areas live on an ext4 image; its bytes are copied the moment the outcome is
  # on the screen, which is what the storage holds if the ignition is switched off then.
  make_backup tar.gz 100 1
  qvb_prepare_root "$root"
  expected_after_success "$work/body"
  truncate -s 96M "$work/disk.img"
  mkfs.ext4 -q -F "$work/disk.img"
  mount_on "$work/disk" -o loop "$work/disk.img"
  local area
  for area in home/data opt/OEM/data; do
    mkdir -p "$work/disk/${area//\//-}"
    cp -a "$root/$area/." "$work/disk/${area//\//-}/"
    mount_on "$root/$area" --bind "$work/disk/${area//\//-}"
  done
  # Watches from the host what the driver inside the root sees and copies the image at
  # once, without any sync of its own.
  (
    for _ in $(seq 1 6000); do
      grep -q 'screenshot .*-message\.png' "$out/events" 2> /dev/null && break
      sleep 0.02
    done
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
  for area in home/data opt/OEM/data; do
    mount_on "$work/cut-root/$area" --bind "$work/cut/${area//\//-}"
  done
  qvb_manifest "$work/cut-root" | grep -v 'qvb-restore-in-progress' > "$work/cut-manifest"
  grep -v 'dbmain\.sqlite' "$work/expected" > "$work/expected-on-disk"
  check "every restored entry is on the storage at the outcome, byte for byte" \
    same "$work/expected-on-disk" "$work/cut-manifest"
}

case_full_storage() {
  # A 15 MB backup onto a 5 MB data file system.
  make_backup tar.gz 60 14
  mount_on "$work/small" -t tmpfs -o size=5m tmpfs
  local area
  for area in home/data opt/OEM/data; do
    mkdir -p "$work/small/${area//\//-}"
    mount_on "$root/$area" --bind "$work/small/${area//\//-}"
  done
  qvb_prepare_root "$root"
  run_program -- "$backup"
  expect_failure
  check "the trail names the entry that did not fit" program_said 'could not write .*No space left on device'
}

empty_body_case() { # HOW: a backup whose body holds no byte
  mkdir -p "$root/media/usb" "$work/parts"
  : > "$work/parts/nothing"
  case "$1" in
    empty-file) : > "$root$backup" ;;
    v1-header-only) qvb_make_backup "$work/parts/nothing" "$root$backup" --header-version 1 ;;
    v2-header-only) qvb_make_backup "$work/parts/nothing" "$root$backup" --no-digest ;;
    length-past-end)
      printf 'x' > "$work/parts/one-byte"
      qvb_make_backup "$work/parts/one-byte" "$work/parts/whole" --no-digest
      head -c 150 "$work/parts/whole" > "$root$backup" ;;
  esac
  qvb_prepare_root "$root"
  run_program -- "$backup"
  expect_failure
  check "the trail says there was no body" program_said 'holds no archive body|reading stopped'
}
case_empty_file() { empty_body_case empty-file; }
case_empty_body_v1() { empty_body_case v1-header-only; }
case_empty_body_v2() { empty_body_case v2-header-only; }
case_header_past_end() { empty_body_case length-past-end; }

case_fifo_path() {
  # A FIFO where the backup should be: an ordinary open would wait for a writer forever,
  # before any dialog appeared.
  mkdir -p "$root/media/usb"
  mkfifo "$root$backup"
  qvb_prepare_root "$root"
  run_program -- "$backup"
  expect_failure "$(cannot_open_en "$backup")"
  check "the trail says why" program_said 'not a regular file|cannot open'
}

case_stick_pulled() {
  # The stick fails part way: the backup lies on an ext4 image behind a loop device that
  # reads past the end of its backing file as errors, and the image is cut at 60 % of the
  # backup's data, so reads fail with EIO once the restore is well under way.
  make_backup tar.gz 200 6
  truncate -s 64M "$work/stick.img"
  mkfs.ext4 -q -F -b 4096 "$work/stick.img"
  local dev
  dev=$(losetup --direct-io=on -f --show "$work/stick.img")
  loops+=("$dev")
  mount_on "$work/stick" "$dev"
  cp "$root$backup" "$work/stick/backup.qvb"
  sync -f "$work/stick/backup.qvb"
  local first_block size
  first_block=$(filefrag -v "$work/stick/backup.qvb" | awk '$1 == "0:" { gsub(/\.\./, " "); split($4, a, " "); print a[1]; exit }')
  size=$(stat -c %s "$work/stick/backup.qvb")
  umount "$work/stick"
  truncate -s $((first_block * 4096 + size * 6 / 10 / 4096 * 4096)) "$work/stick.img"
  rm -f "$root$backup"
  mount_on "$root/media/usb" -o ro,noload "$dev"
  qvb_prepare_root "$root"
  local started=$SECONDS
  run_program -- "$backup"
  expect_failure
  check "the failure is told within seconds" test $((SECONDS - started)) -lt 60
  check "the trail has the read error" program_said 'Input/output error'
}

# --- taps that must change nothing -----------------------------------------------------------

same_picture() { # A.png B.png: not one pixel differs
  local differ
  differ=$(compare -metric AE "$1" "$2" null: 2>&1) || true
  [ "$differ" = 0 ] || { echo "$differ pixels differ between $1 and $2" >&2; return 1; }
}

# pixel PNG X Y: the colour there as "R G B", 0 to 255.
pixel() {
  convert "$1" -format "%[fx:int(255*p{$2,$3}.r+.5)] %[fx:int(255*p{$2,$3}.g+.5)] %[fx:int(255*p{$2,$3}.b+.5)]" info:
}

# overlay_shown COVERED TOP: in the screenshot taken when the covered window painted, its
# corner shows through the overlay as the top window's corner (the same dialog background)
# darkened by 102/255 black, the overlay's colour.
overlay_shown() {
  local shot corner c t i
  shot=$(ls "$out"/*-message.png | head -n 1)
  corner() { awk -F'\t' -v w="$1" '$1 == "placed" && $2 == w { print $3 + 3, $4 + 3 }' "$out/style.log"; }
  read -r -a c <<< "$(pixel "$shot" $(corner "$1"))"
  read -r -a t <<< "$(pixel "$shot" $(corner "$2"))"
  [ ${#c[@]} -eq 3 ] && [ ${#t[@]} -eq 3 ] || { echo "no corners of $1 and $2 in $shot" >&2; return 1; }
  for i in 0 1 2; do
    if (( c[i] - t[i] * 153 / 255 > 2 || t[i] * 153 / 255 - c[i] > 2 )); then
      echo "covered corner ${c[*]}, top corner ${t[*]} in $shot: no overlay of 102/255 black" >&2
      return 1
    fi
  done
}

# tapped_while_covered: the driver tapped the first window's button after the second had
# painted over it.
tapped_while_covered() {
  local covered_at tapped_at
  covered_at=$(awk -F'\t' '$1 == "painted" && $2 == "win2" { print $3 }' "$out/style.log")
  tapped_at=$(awk -F'\t' '$2 ~ /^click .*StandardButtonsDialog/ { print $1; exit }' "$out/events")
  [ -n "$covered_at" ] && [ -n "$tapped_at" ] && [ "$tapped_at" -gt "$covered_at" ]
}

case_taps_missed() {
  # A tap 10 pixels beside the outcome's button (120 wide) changes nothing on the screen;
  # one tap on the button then closes the message.
  make_backup tar.gz 20 1
  qvb_prepare_root "$root"
  expected_after_success "$work/body"
  run_program --tap-beside 70 -- "$backup"
  expect_success
  check "the message unchanged on the screen after a tap beside its button" \
    same_picture "$(ls "$out"/*-message.png | tail -n 1)" "$(ls "$out"/*-beside.png | tail -n 1)"
  check "then one tap on the button closed it" bash -c "! grep -q 'click again' '$out/events'"
  # A dialog covered by another: the tap on its button is swallowed by the overlay over it,
  # and the dialog on top is answered.
  qvb_run_in_root "$root" --timeout 60 -- "$QVB_E2E_COVERED_STACK"
  check "exit status 0: the covered dialog's button never reacted" expect_exit 0
  check "its button was tapped while the other dialog covered it" tapped_while_covered
  check "the overlay drawn over the covered dialog" overlay_shown win1 win2
  check "both windows in the middle of the screen" windows_centred
}

case_read_only_data() {
  # "/home/data" mounted read-only: nothing can be restored there, so nothing anywhere may
  # be removed first, and the outcome must say so.
  make_backup tar.gz 20 1
  qvb_prepare_root "$root"
  mount_on "$root/home/data" --bind "$root/home/data"
  mount -o remount,bind,ro "$root/home/data"
  qvb_manifest "$root" > "$work/before"
  run_program -- "$backup"
  check "exit status 0" expect_exit 0
  # The storage cannot take the marker, so it cannot record a restore: nothing is
  # unpacked, and no progress is shown for it.
  check "only \"QVB Restore Failed\"" dialogs_are "$failed_en"
  qvb_manifest "$root" > "$work/after"
  check "nothing removed or changed in either data area or the database" same "$work/before" "$work/after"
  check "nothing outside the data areas touched" decoys_intact
}

# stat_of PATH...: each path with its inode and change time, or "missing"
stat_of() { local p; for p; do stat -c $'%n\t%i %z' "$p" 2> /dev/null || printf '%s\tmissing\n' "$p"; done; }
# wait_for COMMAND...: polls COMMAND for up to a minute
wait_for() { local i; for i in $(seq 3000); do "$@" 2> /dev/null && return 0; sleep 0.02; done; return 1; }

case_second_start() {
  # A second start while the first restores must leave everything to the first. From the
  # host, once the first is unpacking: a visible sentinel is planted (a second wipe would
  # take it) and the marker noted (a second restore would touch it); both must be as they
  # were when the second has ended.
  make_backup tar.gz 10000 32
  qvb_prepare_root "$root"
  expected_after_success "$work/body"
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

# Sourced by crash-states.sh for the helpers above: no case is run then.
[ "${BASH_SOURCE[0]}" = "$0" ] || return 0
type "case_$case_name" > /dev/null 2>&1 || { echo "unknown case $case_name" >&2; exit 2; }
"case_$case_name"
finish
