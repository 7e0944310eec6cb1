#!/usr/bin/env bash
# Installs libkest in both kinds and builds and runs a program against each, through the CMake package and through
# pkg-config; then looks at what the shared library exports, and runs kest itself with it.
# Usage: check_consumer.sh SOURCE WORK KEST STATIC_BUILD SHARED_BUILD KEST_OBJECTS
# KEST_OBJECTS: a file with the names of the objects that kest is linked of.
# A build folder that is not there is made, with the library alone.
set -eu
source=$1 work=$2 kest=$3 static_build=$4 shared_build=$5 kest_objects=$6
status=0
fail() { printf 'FAILED: %s\n' "$*"; status=1; }

rm -rf "$work/prefix-static" "$work/prefix-shared" "$work/prefix-both" "$work/use" "$work/pc"
mkdir -p "$work/use"
for kind in static shared; do
  build=${kind}_build
  build=${!build}
  if [ ! -e "$build/CMakeCache.txt" ]; then
    [ "$kind" = shared ] && shared=ON || shared=OFF
    # not optimized: what the optimizer would inline has to be there
    cmake -G Ninja -S "$source" -B "$build" -DCMAKE_BUILD_TYPE=None -DBUILD_SHARED_LIBS=$shared -DKEST_BUILD_HOST=OFF \
      -DKEST_BUILD_TESTS=OFF > "$work/configure-$kind.log" || { cat "$work/configure-$kind.log"; exit 1; }
  fi
  cmake --build "$build" --target kest --parallel 2 > "$work/build-$kind.log" ||
    { tail -n 40 "$work/build-$kind.log"; exit 1; }
  for prefix in "$work/prefix-$kind" "$work/prefix-both"; do
    for component in devel runtime; do
      cmake --install "$build" --component $component --prefix "$prefix" > /dev/null
    done
  done
done

# ---- a machine to work on
"$kest" machine new "$work/pc" -q
cat > "$work/pc/drive_c/consumed.kei" <<'KEI'
<kestrel-extension name="Consumed" version="1.2" type="Command" colour="green">
  <products><product name="Tidemark" version="6" primary="true" /></products>
</kestrel-extension>
KEI

# ---- four ways, and both kinds in one place
run() {
  local way=$1 program=$2 out
  # a program that was linked with the build tree would pass for the wrong reason
  out=$(env -u LD_LIBRARY_PATH "$program" "$work/pc" 'C:\consumed.kei' 2>&1) || fail "$way: $out"
  grep -q 'Tidemark' <<< "$out" || fail "$way: no product: $out"
  case $way in
    *static*) ! readelf -d "$program" | grep -q 'NEEDED.*libkest' || fail "$way: linked with the shared library" ;;
    *) readelf -d "$program" | grep -q 'NEEDED.*libkest\.so\.[0-9]' || fail "$way: not linked with the library's SONAME" ;;
  esac
  [ $status -eq 0 ] && printf 'ok: %s\n' "$way"
  return 0
}
with_cmake() {
  local way=$1 prefix=$2
  shift 2
  cmake -G Ninja -S "$source/tests/consumer" -B "$work/use/$way" -DCMAKE_BUILD_TYPE=None -DCMAKE_PREFIX_PATH="$prefix" "$@" \
    > "$work/use/$way.log" 2>&1 && cmake --build "$work/use/$way" >> "$work/use/$way.log" 2>&1 ||
    { fail "$way does not build"; tail -n 30 "$work/use/$way.log"; return 0; }
  run "$way" "$work/use/$way/consumer"
}
with_pkg_config() {
  local kind=$1 program=${2:-$source/tests/consumer/consumer.cpp} prefix=$work/prefix-$1 pc flags
  local way=pkg-config-$1-$(basename "$program" .cpp)
  pc=$(dirname "$(find "$prefix" -name kest.pc)")
  flags=$(PKG_CONFIG_PATH=$pc pkg-config $([ "$kind" = static ] && echo --static) --cflags --libs kest) ||
    { fail "$way: kest.pc"; return 0; }
  # shellcheck disable=SC2086
  "${CXX:-c++}" -std=c++20 -fvisibility=hidden -o "$work/use/$way.bin" "$program" $flags \
    $([ "$kind" = shared ] && echo "-Wl,-rpath,$(dirname "$pc")") || { fail "$way does not build"; return 0; }
  run "$way" "$work/use/$way.bin"
}
with_cmake cmake-static "$work/prefix-static" -DKEST_WAY=cmake
with_cmake cmake-shared "$work/prefix-shared" -DKEST_WAY=cmake
with_pkg_config static
with_pkg_config shared
# a host that was written when the headers of platform/ lay side by side
sed -E 's|"platform/[a-z_]+/|"platform/|' "$source/tests/consumer/consumer.cpp" > "$work/use/old_paths.cpp"
with_pkg_config static "$work/use/old_paths.cpp"
with_cmake cmake-both-static "$work/prefix-both" -DKEST_WAY=cmake -DBUILD_SHARED_LIBS=OFF
with_cmake cmake-both-shared "$work/prefix-both" -DKEST_WAY=cmake -DBUILD_SHARED_LIBS=ON

# ---- headers: each stands alone, and kest itself needs no other
headers=$work/prefix-static/include/kest
while read -r header; do
  printf '#include "%s"\n' "$header" | "${CXX:-c++}" -std=c++20 -fsyntax-only -Wall -Wextra -Werror -I"$headers" -x c++ - ||
    fail "$header does not stand alone"
done < <(cd "$headers" && find . -name '*.h' | sed 's|^\./||' | sort)
while read -r header; do
  [ -e "$headers/$header" ] || fail "$header is used by a host and not installed"
done < <(cd "$source" && grep -rhoE '^#include "(kest|platform|journal|config|menus|description|products|manager)/[^"]+"' \
           host examples/host tests/consumer --include='*.cpp' --include='*.h' --exclude='*_windows.cpp' |
           sed -E 's/.*"(.*)"/\1/' | sort -u)

# ---- what the shared library exports: marked classes and functions of the engine, nothing else
library=$(find "$work/prefix-shared" -name 'libkest.so.*.*.*')
nm -DC --defined-only "$library" | sed -E 's/^[0-9a-f]* . //; s/@@?KEST_.*$//' > "$work/exported"
[ "$(wc -l < "$work/exported")" -gt 300 ] || fail "too few exported symbols: $(wc -l < "$work/exported")"
strangers=$(grep -vE '^(KEST_[0-9.]+|((vtable|VTT|construction vtable|typeinfo|typeinfo name|guard variable) for |(non-)?virtual thunk to |covariant return thunk to )?kest::)' \
  "$work/exported" || true)
[ -z "$strangers" ] || fail "exported, and not the engine's: $(head -n 5 <<< "$strangers")"
(cd "$source" && cat platform/*/*.h journal/*.h config/*.h menus/*.h description/*.h products/*.h manager/*.h) |
  tr '\n' ' ' | grep -oE 'KEST_API [^;{(]*' |
  sed -E 's/^KEST_API +//; s/[[:space:]]+:[^:].*$//; s/^class //; s/^struct //; s/ final *$//; s/[[:space:]]+$//; s/.*[ *&]//' | sort -u > "$work/marked"
unmarked=$(sed -E 's/^.*(vtable|VTT|typeinfo|typeinfo name|guard variable) for //; s/^(non-)?virtual thunk to //; s/^kest::([a-z_]+::)*//; s/[^A-Za-z0-9_~].*$//' \
  "$work/exported" | grep -vE '^KEST_|^$' | sort -u | grep -vxF -f "$work/marked" || true)
[ -z "$unmarked" ] || fail "exported without being marked: $(head -n 8 <<< "$unmarked" | tr '\n' ' ')"

# ---- kest itself needs nothing that the shared library keeps to itself
"${CXX:-c++}" -o "$work/use/kest-shared" "@$kest_objects" "$library" -lfmt "-Wl,-rpath,$(dirname "$library")" &&
  readelf -d "$work/use/kest-shared" | grep -q 'NEEDED.*libkest\.so' &&
  "$work/use/kest-shared" products -m "$work/pc" | grep -q 'Tidemark' || fail "kest does not work with the shared library"

exit $status
