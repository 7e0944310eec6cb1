#!/usr/bin/env bash
# Fails on an include that breaks the order of the layers, on a circle between files, and on a system header that
# belongs below the platform seam alone.
set -u
cd "$1" || exit 2

# folder -> what its files may include; "products/product.h" is the product interface, which stands lower than its folder
declare -A allowed=(
  [platform]="platform"
  [journal]="journal platform"
  [config]="config platform journal products/product.h"
  [menus]="menus platform config journal products/product.h"
  [description]="description platform config menus products/product.h"
  [products]="products platform journal config menus description"
  [manager]="manager platform journal config menus description products"
  [host]="host platform manager products description config menus journal"
)
status=0
fail() { printf '%s\n' "$*"; status=1; }

edges=$(mktemp)
trap 'rm -f "$edges"' EXIT
while IFS=: read -r file line target; do
  folder=${file%%/*}
  to=${target%%/*}
  rules=${allowed[$folder]-}
  [ "$file" = products/product.h ] && rules="platform"
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
           platform journal config menus description products manager host 2>/dev/null |
         sed -E 's/^([^:]+:[0-9]+):.*"([^"]+)"$/\1:\2/')

[ -s "$edges" ] || fail "no include was found: is this the repository?"
circle=$(tsort "$edges" 2>&1 > /dev/null) || fail "files that include one another:
$circle"

while IFS=: read -r file line text; do
  fail "$file:$line: $text belongs in platform/"
done < <(grep -rnE '#[[:space:]]*include[[:space:]]*<(filesystem|fstream|unistd\.h|fcntl\.h|dirent\.h|sys/stat\.h|sys/file\.h|windows\.h|cstdio|stdio\.h)>' \
           --include='*.h' --include='*.cpp' journal config menus description products manager 2>/dev/null)

exit $status
