#!/usr/bin/env bash
# Every text of the window stands in every translation, and has one. Usage: check_translations.sh DESKTOP
set -eu
[ -x /usr/lib/qt6/bin/lupdate ] || { echo "skipped: lupdate is not installed (scripts/setup window)"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$1" "$work/desktop"
"$work/desktop/translations/update" 2> /dev/null
status=0
for file in "$work"/desktop/translations/*.ts; do
  missing=$(grep -B3 'type="unfinished"' "$file" | grep '<source>' || true)
  [ -z "$missing" ] || { printf '%s lacks:\n%s\n' "$(basename "$file")" "$missing"; status=1; }
  [ "$(grep -c '<source>' "$file")" -gt 100 ] || { echo "$(basename "$file") has hardly any text"; status=1; }
done
exit $status
