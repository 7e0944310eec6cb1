#!/usr/bin/env bash
# The interface's documentation, with warnings as errors, made of the headers that are installed.
# Usage: check_api_documentation.sh SOURCE BUILD WORK
set -eu
source=$1 build=$2 work=$3
fail() { printf 'FAILED: %s\n' "$*"; exit 1; }

rm -rf "$work" && mkdir -p "$work/include"
version=$(sed -nE 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
while read -r header; do
  mkdir -p "$work/include/$(dirname "$header")"
  cp "$source/$header" "$work/include/$header"
done < <(sed -n '/^set(KEST_PUBLIC_HEADERS/,/)/p' "$source/cmake/KestInstall.cmake" | grep -oE '[a-z]+/[a-z_/]+\.h')
[ "$(find "$work/include" -name '*.h' | wc -l)" -gt 20 ] || fail "the list of public headers was not found"

KEST_DOC_FILTER=$source/docs/plain_members.awk KEST_DOC_INPUT=$work/include KEST_DOC_OUTPUT=$work KEST_DOC_VERSION=$version doxygen "$source/docs/Doxyfile" \
  > "$work/doxygen.log" 2>&1 || { sed "s|$work/include/||" "$work/doxygen.log" | head -n 60; fail "doxygen warns"; }
# an empty input would pass without a warning
for class in CKestExtensionManager CKestExtensionManagerUI MachineFolder CKestProduct CKestExtension; do
  grep -qs "kest::$class" "$work"/xml/class*.xml || fail "$class is not documented"
done
echo "ok: $(find "$work/xml" -name 'class*.xml' -o -name 'struct*.xml' | wc -l) classes in $work/html/index.html"
