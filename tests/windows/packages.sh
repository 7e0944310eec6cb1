#!/usr/bin/env bash
# Makes the ZIP and the installer, and tries both: kest.exe of the ZIP runs from anywhere; the installer, asked nothing,
# brings the same files, makes .kep and .kei known, and takes all of it back. Usage: packages.sh KEST KEST_EXE SOURCE BUILD
. "$(dirname "$0")/prefix.sh"
build=$(realpath "$4")
theirs=$work/theirs
[ -x "$(command -v makensis)" ] || { echo "makensis is not installed (scripts/setup windows): nothing was tried"; exit 77; }
( cd "$build" && cpack -B "$work/made" ) > "$work/cpack" 2>&1 || { tail -20 "$work/cpack"; exit 1; }
zip=$(find "$work/made" -maxdepth 1 -name '*.zip')
setup=$(find "$work/made" -maxdepth 1 -name '*.exe')
version=$("$native" --version)
mkdir "$work/unpacked"
( cd "$work/unpacked" && cmake -E tar xf "$zip" )
of_zip=$(find "$work/unpacked" -name kest.exe)
[ "$(in_wine "$theirs" wine "$of_zip" --version | tr -d '\r')" = "$version" ] || { echo "kest.exe of the ZIP does not run"; exit 1; }

classes='HKLM\Software\Classes'
known() { # what opens a file of this kind, empty when it is unknown
  in_wine "$theirs" wine reg query "$classes\\$1" /ve 2> /dev/null | tr -d '\r' | awk '/REG_SZ/ { print $NF }'
}
listed() { ( cd "$1" && find . -type f | sort ); }
in_wine "$theirs" wine "$setup" /S
at="$theirs/drive_c/Program Files/Kest"
[ "$(in_wine "$theirs" wine "$at/bin/kest.exe" --version | tr -d '\r')" = "$version" ] || { echo "nothing was installed"; cat "$work/err"; exit 1; }
diff <(listed "$(dirname "$(dirname "$of_zip")")") <(listed "$at" | grep -v '/Uninstall.exe$') || { echo "other files than in the ZIP"; exit 1; }
[ "$(known .kep) $(known .kei)" = "Kest.Package Kest.Description" ] || { echo "kinds of files: $(known .kep) $(known .kei)"; exit 1; }
opens=$(in_wine "$theirs" wine reg query "$classes\\Kest.Package\\shell\\open\\command" /ve | grep -o 'cmd.exe.*' | tr -d '\r')
[ "$opens" = 'cmd.exe" /k ""C:\Program Files\Kest\bin\kest.exe" install "%1""' ] || { echo "a package is opened by $opens"; exit 1; }
files=$(listed "$at" | wc -l)
in_wine "$theirs" wine "$at/Uninstall.exe" /S
for ((i = 0; i < 100; ++i)); do [ -e "$at" ] && sleep 0.1; done # it goes on as a copy of itself
[ ! -e "$at" ] && [ -z "$(known .kep)$(known .kei)" ] || { echo "left behind:"; find "$at"; known .kep; exit 1; }
echo "the ZIP runs; the installer brought $files files and both kinds of files, and took them back"
