#!/bin/bash
# Compiles the public headers around <windows.h>, each order, each character set. Usage: check_windows_headers.sh SOURCE
set -eu
source=$1
compiler=x86_64-w64-mingw32-g++-posix
if ! command -v $compiler > /dev/null; then
  echo "$compiler is not installed (scripts/setup windows): nothing was tried"
  exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
headers=$(sed -n '/^set(KEST_PUBLIC_HEADERS/,/)/p' "$source/cmake/KestInstall.cmake" | grep -oE '[a-z_]+/[a-z_/]+\.h')
[ "$(wc -w <<< "$headers")" -gt 30 ] || { echo "the list of public headers was not found"; exit 1; }
windows='#include <winsock2.h>
#include <windows.h>
#include <shlobj.h>'
ours=$(sed 's/.*/#include "&"/' <<< "$headers")
use='bool Both(kest::Machine& machine) { return machine.DeleteFile("C:\\a") && DeleteFileW(L"C:\\a") != 0; }'
printf '%s\n' "$windows" "$ours" "$use" > "$work/after.cpp"
printf '%s\n' "$ours" "$windows" '#include "platform/text/windows_names.h"' "$use" > "$work/before.cpp"
for order in after before; do
  for set in -DUNICODE -UUNICODE; do
    $compiler -std=c++20 -DKEST_STATIC $set -Wall -Wextra -Werror -I"$source" -fsyntax-only "$work/$order.cpp"
  done
done
echo "$(wc -w <<< "$headers") headers before and after <windows.h>"
