#!/usr/bin/env bash
# Builds the Debian package, lets lintian look at it, and tries it in a scratch root.
# Usage: check_debian_package.sh BUILD WORK
set -eu
build=$1 work=$2
fail() { printf 'FAILED: %s\n' "$*"; exit 1; }

rm -rf "$work" && mkdir -p "$work"
cmake --build "$build" --target kest_cli kest_completions $(grep -qs kest_window "$build/build.ninja" && echo kest_window) > "$work/build.log" || { tail -n 30 "$work/build.log"; fail "the build"; }
(cd "$build" && cpack -G DEB -B "$work/out" > "$work/cpack.log" 2>&1) || { tail -n 30 "$work/cpack.log"; fail "cpack"; }
package=$(find "$work/out" -maxdepth 1 -name 'kest_*.deb')
[ "$(wc -l <<< "$package")" -eq 1 ] && [ -n "$package" ] || fail "not one package: $package"

depends=$(dpkg-deb -f "$package" Depends)
for needed in libc6 libdeflate0 libexpat1 zlib1g; do
  grep -qE "(^|, )$needed" <<< "$depends" || fail "$needed is not among what the package depends on: $depends"
done
if command -v lintian > /dev/null; then
  lintian --fail-on error --suppress-tags initial-upload-closes-no-bugs --allow-root "$package" > "$work/lintian.log" 2>&1 ||
    { cat "$work/lintian.log"; fail "lintian"; }
  cat "$work/lintian.log"
else
  echo "lintian is not installed (scripts/setup package): the package is only tried"
fi

dpkg-deb -x "$package" "$work/root"
for file in usr/bin/kest usr/share/man/man1/kest.1.gz usr/share/man/man5/kest-description.5.gz \
  usr/share/bash-completion/completions/kest usr/share/zsh/vendor-completions/_kest \
  usr/share/fish/vendor_completions.d/kest.fish usr/share/doc/kest/copyright; do
  [ -s "$work/root/$file" ] || fail "the package has no $file"
done
[ -z "$(find "$work/root" -name '*.h' -o -name '*.a')" ] || fail "the package holds parts of the library"
bash -n "$work/root/usr/share/bash-completion/completions/kest" || fail "the completion for bash is no script"
kest() { env -i HOME="$work/home" PATH=/usr/bin:/bin "$work/root/usr/bin/kest" "$@"; }
mkdir "$work/home"
kest --version | grep -qF "$(dpkg-deb -f "$package" Version | sed 's/-[0-9]*$//')" || fail "the version is another"
kest machine new "$work/pc" -q || fail "machine new"
kest list -m "$work/pc" --json | grep -q '"ok":true' || fail "list"
kest products -m "$work/pc" | grep -q 'Tidemark' || fail "products"
if grep -q kest_window "$build/build.ninja"; then
  window=$(find "$work/out" -maxdepth 1 -name 'kest-window_*.deb')
  [ -n "$window" ] || fail "no package of the window"
  dpkg-deb -x "$window" "$work/window"
  for file in bin/kest-window share/man/man1/kest-window.1.gz share/applications/kest-window.desktop \
    share/mime/packages/kest-window.xml share/icons/hicolor/scalable/apps/kest-window.svg share/doc/kest-window/copyright; do
    [ -s "$work/window/usr/$file" ] || fail "the window's package has no $file"
  done
  dpkg-deb -f "$window" Depends | grep -q libqt6widgets6 || fail "the window's package does not ask for its toolkit"
  grep -q libqt6 <<< "$depends" && fail "kest asks for the window's toolkit"
  if command -v lintian > /dev/null; then
    lintian --fail-on error --suppress-tags initial-upload-closes-no-bugs --allow-root "$window" || fail "lintian"
  fi
fi
echo "ok: $(basename "$package"), $(du -k "$package" | cut -f1) KiB, depends on $depends"
