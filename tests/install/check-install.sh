#!/usr/bin/env bash
# Installs the build into a temporary prefix and checks what a desktop and a
# user get from it: every installed file, the desktop entry, the manual page,
# the user guide's links, the programs' libraries, the version and a run from
# the installed path over the samples.
#   check-install.sh CMAKE BUILD_DIR SOURCE_DIR
set -euo pipefail
cmake=$1
build=$(cd "$2" && pwd)
source=$(cd "$3" && pwd)

prefix=$(mktemp -d)
work=$(mktemp -d)
trap 'rm -rf "$prefix" "$work"' EXIT
failures=0
fail() {
  echo "FAIL: $*" >&2
  failures=$((failures + 1))
}

env -u DESTDIR "$cmake" --install "$build" --prefix "$prefix" >/dev/null

# Every installed file, each the same as its source, and nothing else.
declare -A from=(
  [bin/gleanmark]=""
  [libexec/gleanmark/gleanmark-window]=""
  [share/applications/gleanmark.desktop]=data/gleanmark.desktop
  [share/icons/hicolor/scalable/apps/gleanmark.svg]=data/gleanmark.svg
  [share/man/man1/gleanmark.1.gz]=docs/man/gleanmark.1
)
while IFS= read -r f; do
  from[share/doc/gleanmark/guide/$f]=docs/guide/$f
done < <(cd "$source/docs/guide" && find . -type f \( -name '*.html' -o -name '*.css' -o -name '*.png' \) | sed 's|^\./||')

installed=$(cd "$prefix" && find . -type f -o -type l | sed 's|^\./||' | sort)
expected=$(printf '%s\n' "${!from[@]}" | sort)
if [ "$installed" != "$expected" ]; then
  fail "installed files differ from the expected ones:"
  diff <(echo "$expected") <(echo "$installed") >&2 || true
fi
for f in "${!from[@]}"; do
  src=${from[$f]}
  [ -n "$src" ] && [ -f "$prefix/$f" ] || continue
  if [[ $f == *.gz ]]; then
    gzip -dc "$prefix/$f" | cmp -s - "$source/$src" || fail "$f is not $src"
  else
    cmp -s "$prefix/$f" "$source/$src" || fail "$f is not $src"
  fi
done

# The programs: run from the prefix alone. The command line loads no window
# libraries and knows its version; without arguments it opens the window
# program (tests/app/WindowStartTest.cpp checks that it is found here).
program="$prefix/bin/gleanmark"
window="$prefix/libexec/gleanmark/gleanmark-window"
for p in "$program" "$window"; do
  [ -x "$p" ] || fail "${p#"$prefix"/} is not executable"
  if readelf -d "$p" | grep -E 'R(UN)?PATH' | grep -q "$build"; then
    fail "the installed ${p#"$prefix"/} still looks for libraries in the build folder"
  fi
done
if readelf -d "$program" | grep -E 'NEEDED' | grep -qE 'libQt6(Widgets|Gui|WebEngine)'; then
  fail "bin/gleanmark links window libraries"
fi
readelf -d "$window" | grep -E 'NEEDED' | grep -q libQt6Widgets ||
  fail "the window program does not link the widgets"
version=$("$program" --version) || fail "--version exits with $?"
[ "$version" = "Gleanmark 2.0" ] || fail "--version prints '$version'"

# The desktop entry: valid, and naming the installed program and icon.
entry="$prefix/share/applications/gleanmark.desktop"
# (A hint about two main categories is expected: the entry belongs to both.)
if ! report=$(desktop-file-validate "$entry" 2>&1) || grep -qE 'error|warning' <<<"$report"; then
  fail "desktop-file-validate: $report"
fi
for line in 'Exec=gleanmark' 'Icon=gleanmark' 'Categories=Office;Utility;' 'Type=Application'; do
  grep -qxF "$line" "$entry" || fail "the desktop entry lacks $line"
done

# The manual page renders without warnings and covers the commands.
page=$(MANWIDTH=80 MANPAGER=cat PAGER=cat man --warnings -l "$prefix/share/man/man1/gleanmark.1.gz" 2>"$work/man.err") ||
  fail "man -l exits with $?"
[ -s "$work/man.err" ] && fail "man -l warns: $(cat "$work/man.err")"
for text in NAME SYNOPSIS 'gleanmark run' 'gleanmark crawl' 'gleanmark shortcut save' \
            'gleanmark shortcut process' 'gleanmark shortcut clear' '--version' \
            '--depth N' '--shortcut-dir DIR' 'EXIT STATUS' 130 EXAMPLES; do
  grep -qF -- "$text" <<<"$page" || fail "the manual page does not mention $text"
done

# The guide: every picture and page it links to is installed.
guide="$prefix/share/doc/gleanmark/guide"
[ -f "$guide/index.html" ] || fail "no guide/index.html"
for html in "$guide"/*.html; do
  while IFS= read -r target; do
    case $target in http:* | https:* | mailto:* | \#*) continue ;; esac
    [ -f "$guide/${target%%#*}" ] || fail "$(basename "$html") links to missing $target"
  done < <(grep -oE '(src|href)="[^"]*"' "$html" | sed -E 's/^(src|href)="(.*)"$/\2/')
done

# A run from the installed path over the samples, as the README shows it.
cd "$work"
out=$("$program" run --website --mailto --file-name --process-time \
  "$source/samples/pages/contact.html" "$source/samples/text/notes.txt" 2>/dev/null) ||
  fail "run exits with $?"
grep -q 'http://shop.harbourlane' <<<"$out" || fail "run found no web address: $out"
out=$("$program" run --mail --heading --from --to --cc "$source"/samples/mail/*.eml -o list.txt 2>/dev/null) ||
  fail "mail run exits with $?"
grep -q 'eleanor.price@example.org' list.txt || fail "the mail run wrote no mail list"

if [ "$failures" -ne 0 ]; then
  echo "$failures check(s) failed" >&2
  exit 1
fi
echo "installed $(echo "$installed" | wc -l) files; all checks passed"
