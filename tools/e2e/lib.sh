# Shell functions shared by the end-to-end tests (tests/e2e), the demo (tools/demo) and the
# whole-restore benchmark (bench/whole-restore). Source it from bash; it runs nothing.
#
# Everything here works on the host side: it writes sample trees, backups and throwaway
# root directories under temporary directories the caller names, and reads what a run left
# in such a root. The program itself only ever runs inside tools/in-root, through
# tools/e2e/drive-restore.

qvb_e2e_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
qvb_source_dir=$(cd "$qvb_e2e_dir/../.." && pwd)

# The configuration database, the one data-area entry outside the two directories.
qvb_database=opt/OEM/Terramux/ESC/bin/database/config/dbmain.sqlite

# The sample data areas themselves are written by make-sample-tree beside this file.

# qvb_make_body SRC_DIR FORMAT OUTPUT: an archive of home/ and opt/ below SRC_DIR, as the
# display's backup writer would pack them. FORMAT: tar.gz (restricted pax, gzip),
# tar (GNU tar, uncompressed), pax, zip, 7zip. Names are read as UTF-8.
qvb_make_body() {
  local src=$1 format=$2 out=$3
  local -a opts
  case "$format" in
    tar.gz) opts=(-z) ;;
    tar) opts=(--format gnutar) ;;
    pax) opts=(--format pax) ;;
    zip) opts=(--format zip) ;;
    7zip) opts=(--format 7zip) ;;
    *) echo "qvb_make_body: unknown format $format" >&2; return 2 ;;
  esac
  LC_ALL=C.UTF-8 bsdtar "${opts[@]}" -cf "$out" -C "$src" home opt
}

# qvb_make_backup BODY OUTPUT [qvb-make-backup options]: the body behind a backup header.
# Needs QVB_MAKE_BACKUP (the qvb-make-backup program).
qvb_make_backup() {
  local body=$1 out=$2
  shift 2
  "$QVB_MAKE_BACKUP" "$@" "$body" "$out"
}

# qvb_reference_extract BODY DIR: what the body holds, unpacked by bsdtar as root keeps
# it (owners, modes, times), with names read as UTF-8.
qvb_reference_extract() {
  mkdir -p "$2"
  LC_ALL=C.UTF-8 bsdtar -xpf "$1" -C "$2"
}

# qvb_manifest ROOT: one line per entry inside the data areas below ROOT (the directories
# themselves excepted) and for the configuration database: path, type, mode, owner, time,
# size (files), link target, link count (files) and MD5 of the content (files). Sorted.
# The program's own hidden files in "/home/data" (the room it keeps for its marker) are
# no data of the display's and are left out.
qvb_manifest() {
  local root=$1
  (
    cd "$root" || exit 1
    local -a areas=()
    for a in home/data opt/OEM/data; do [ -d "$a" ] && areas+=("$a"); done
    {
      if [ ${#areas[@]} -gt 0 ]; then find "${areas[@]}" -mindepth 1 -path 'home/data/.qvb-restore-*' -prune -o \
        \( -type f -printf 'M\t%p\tf\t%m\t%U:%G\t%T@\t%s\t-\t%n\n' \) -o \
        \( -type l -printf 'M\t%p\tl\t%m\t%U:%G\t%T@\t-\t%l\t-\n' \) -o \
        \( -printf 'M\t%p\t%y\t%m\t%U:%G\t%T@\t-\t-\t-\n' \)
        find "${areas[@]}" -mindepth 1 -path 'home/data/.qvb-restore-*' -prune -o -type f -exec md5sum {} + | sed 's/^/D\t/'
      fi
      if [ -e "$qvb_database" ]; then
        find "$qvb_database" -printf 'M\t%p\tf\t%m\t%U:%G\t%T@\t%s\t-\t%n\n'
        if [ -f "$qvb_database" ]; then md5sum "$qvb_database" | sed 's/^/D\t/'; fi
      fi
    } | awk -F'\t' '
      $1 == "M" { line[$2] = $3 "\t" $4 "\t" $5 "\t" $6 "\t" $7 "\t" $8 "\t" $9; next }
      $1 == "D" { sum = substr($2, 1, 32); path = substr($2, 35); digest[path] = sum; next }
      END { for (p in line) printf "%s\t%s\t%s\n", p, line[p], (p in digest ? digest[p] : "-") }' |
      LC_ALL=C sort
  )
}

# qvb_hidden_manifest ROOT: qvb_manifest limited to hidden entries (a name beginning with a
# full stop directly inside a data area, and everything beneath such a directory).
qvb_hidden_manifest() {
  qvb_manifest "$1" | grep -E '^(home/data|opt/OEM/data)/\.' || true
}

# qvb_visible_entries ROOT: the data-area entries that are not hidden, and the database.
qvb_visible_entries() {
  qvb_manifest "$1" | cut -f1 | grep -vE '^(home/data|opt/OEM/data)/\.' || true
}

# qvb_dialogs LOG: one line per window the program showed, in order:
# <class>|<title label>|<other label texts joined by " / ">
qvb_dialogs() {
  awk -F'\t' '
    $1 == "shown" { order[++n] = $2; cls[$2] = $3; title[$2] = ""; text[$2] = "" }
    $1 == "label" && $3 == "labelTitle" { title[$2] = $5; next }
    $1 == "label" { text[$2] = (text[$2] == "" ? $5 : text[$2] " / " $5) }
    END { for (i = 1; i <= n; i++) print cls[order[i]] "|" title[order[i]] "|" text[order[i]] }' "$1"
}

# qvb_progress_values LOG: every value the progress bar took, in order.
qvb_progress_values() {
  awk -F'\t' '$1 == "progress" { print $2 }' "$1"
}

# qvb_prepare_root ROOT: an empty throwaway root directory for tools/in-root --root, with
# the display's data areas holding old files: visible ones (which a restore replaces) and
# hidden ones (which survive it), an old configuration database, and a decoy outside the
# data areas that nothing may touch.
qvb_prepare_root() {
  local root=$1
  mkdir -p "$root/media/usb" "$root/home/data" "$root/opt/OEM/data" "$root/home/other"
  local old_object="$root/home/data/objects/{0b3c7e9a-5d2f-4e61-9a8b-1c2d3e4f5a6b}"
  mkdir -p "$old_object" "$root/opt/OEM/data/old logs"
  printf 'old\n' > "$old_object/object.ini"
  printf 'old\n' > "$root/home/data/old name with blanks.txt"
  printf 'old\n' > "$root/home/data/-leading-dash"
  printf 'old\n' > "$root/opt/OEM/data/old logs/can-bus.log"
  printf 'keep\n' > "$root/home/data/.display-id"
  mkdir -p "$root/home/data/.cache/thumbnails" "$root/opt/OEM/data/.service"
  printf 'keep\n' > "$root/home/data/.cache/thumbnails/a.png"
  printf 'keep\n' > "$root/opt/OEM/data/.service/calibration"
  mkdir -p "$root/$(dirname "$qvb_database")"
  printf 'old database\n' > "$root/$qvb_database"
  printf 'decoy\n' > "$root/home/other/keep.txt"
  printf 'decoy\n' > "$root/home/data-decoy.txt"
}

# qvb_run_in_root ROOT [drive-restore options] -- PROGRAM [ARG...]: runs the program in the
# throwaway root ROOT (kept afterwards) under drive-restore; its files land in
# ROOT/tmp/qvb-drive. Needs QVB_E2E_PLUGINS (the folder holding styles/talon_style).
qvb_run_in_root() {
  local root=$1
  shift
  local -a binds=()
  [ -n "${QVB_BUILD_DIR:-}" ] && binds+=(--bind-ro "$QVB_BUILD_DIR")
  [ -n "${QVB_E2E_STAGE:-}" ] && binds+=(--bind-ro "$QVB_E2E_STAGE")
  [ -n "${QVB_E2E_PLUGINS:-}" ] && binds+=(--bind-ro "$QVB_E2E_PLUGINS")
  # A root used before still holds the links to /usr that the runner makes; it makes
  # them anew.
  local l
  for l in bin lib lib32 lib64 libx32 sbin; do
    [ -L "$root/$l" ] && rm -f "$root/$l"
  done
  "$qvb_source_dir/tools/in-root" --root "$root" "${binds[@]}" -- \
    "$qvb_source_dir/tools/e2e/drive-restore" --out /tmp/qvb-drive --plugins "$QVB_E2E_PLUGINS" "$@"
}
