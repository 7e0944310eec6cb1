#!/usr/bin/env bash
# Fails on an include that breaks the order of the layers, on a circle between files, and on a system header that
# belongs below the platform seam alone.
set -u
cd "$1" || exit 2

# folder -> what its files may include. A folder whose name stands with a slash is a room of another one, and sees only the
# rooms named; "products/product.h" is the product interface, which stands lower than its folder.
platform="platform/text platform/machine platform/machine_folder platform/xml platform/package platform/messages"
declare -A allowed=(
  [platform/text]="platform/text"
  [platform/machine]="platform/machine platform/text"
  [platform/machine_folder]="platform/machine_folder platform/machine platform/text"
  [platform/windows]="platform/windows platform/machine platform/text"
  [platform/xml]="platform/xml platform/machine platform/text"
  [platform/package]="platform/package platform/machine platform/text"
  [platform/messages]="platform/messages platform/text"
  [journal]="journal $platform"
  [config]="config $platform journal products/product.h"
  [menus]="menus $platform config journal products/product.h"
  [description]="description $platform config menus products/product.h"
  [products]="products $platform journal config menus description"
  [manager]="manager $platform journal config menus description products"
  [kest]="kest $platform description products manager"
  [host/sample]="host/sample $platform"
  [host/terminal]="host/terminal host kest $platform manager products description config menus journal"
  [desktop]="desktop"
  [host]="host kest host/sample host/terminal $platform platform/windows manager products description config menus journal"
)
# what a host outside of this tree sees, and no more
window=$(sed -n '/^set(KEST_PUBLIC_HEADERS/,/)/p' cmake/KestInstall.cmake | grep -oE '[a-z_/]+\.h')
allowed[desktop]+=" $window"
# the room or folder a file lies in
room_of() {
  local folder=${1%/*}
  case $folder in
    platform/*|host/sample|host/terminal) printf '%s' "$folder" ;;
    *) printf '%s' "${folder%%/*}" ;;
  esac
}
status=0
fail() { printf '%s\n' "$*"; status=1; }

edges=$(mktemp)
trap 'rm -f "$edges"' EXIT
while IFS=: read -r file line target; do
  folder=$(room_of "$file")
  to=$(room_of "$target")
  rules=${allowed[$folder]-}
  [ "$file" = products/product.h ] && rules=$platform
  case "$target" in
    */*) ;;
    *) fail "$file:$line: \"$target\" does not name its folder"; continue ;;
  esac
  ok=no
  for rule in $rules; do
    if [ "$rule" = "$to" ] || [ "$rule" = "$target" ]; then ok=yes; fi
  done
  [ "$ok" = yes ] || fail "$file:$line: $folder/ may not include $target"
  [ -e "$target" ] || fail "$file:$line: no file $target"
  printf '%s %s\n' "$file" "$target" >> "$edges"
done < <(grep -rnoE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"[^"]+"' --include='*.h' --include='*.cpp' \
           platform journal config menus description products manager kest host desktop 2>/dev/null |
         sed -E 's/^([^:]+:[0-9]+):.*"([^"]+)"$/\1:\2/')

[ -s "$edges" ] || fail "no include was found: is this the repository?"
circle=$(tsort "$edges" 2>&1 > /dev/null) || fail "files that include one another:
$circle"

while IFS=: read -r file line text; do
  fail "$file:$line: $text belongs in platform/"
done < <(grep -rnE '#[[:space:]]*include[[:space:]]*<(filesystem|fstream|unistd\.h|fcntl\.h|dirent\.h|sys/stat\.h|sys/file\.h|windows\.h|cstdio|stdio\.h)>' \
           --include='*.h' --include='*.cpp' journal config menus description products manager 2>/dev/null)

exit $status
