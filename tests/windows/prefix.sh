# What the scripts here have in common, to be sourced with KEST KEST_EXE SOURCE as words: a prefix of Wine with products
# in $work/theirs, a copy of what matters of it in $work/ours, packages in $work/packages, and ways to look at both.
set -eu
native=$(realpath "$1") windows=$(realpath "$2") source=$(realpath "$3")
for tool in wine wineserver; do
  command -v $tool > /dev/null || { echo "$tool is not installed (scripts/setup windows): nothing was tried"; exit 77; }
done
work=$(mktemp -d)
export LC_ALL=C.UTF-8 WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml= XDG_DATA_HOME=$work/data
finish() {
  WINEPREFIX=$work/theirs wineserver -k 2> /dev/null || true
  rm -rf "$work"
}
trap finish EXIT
in_wine() { # PREFIX COMMAND...
  local prefix=$1; shift
  WINEPREFIX=$prefix "$@" < /dev/null 2> "$work/err"
}
# Ends all Windows programs of the prefix; what they changed in the registry is in its files then.
settle() { in_wine "$work/theirs" wineserver -k || true; in_wine "$work/theirs" wineserver -w || true; }

in_wine "$work/theirs" wineboot -i > /dev/null
"$native" machine new "$work/pc" --product "Tidemark Nova" > /dev/null 2>&1
program="drive_c/Program Files/Kestrel"
cp -a "$work/pc/$program" "$work/theirs/drive_c/Program Files/"
in_wine "$work/theirs" wine reg add 'HKLM\Software\Kestrel\Tidemark\6\Installation' /v InstallPath \
  /d 'C:\Program Files\Kestrel\Tidemark 6\' /f /reg:32 > /dev/null
settle
# the system's own programs, half a gigabyte, are of no use to the native program
mkdir "$work/ours"
tar -C "$work/theirs" -c --exclude='./drive_c/windows/*/*' --exclude='./drive_c/Program Files*/[!K]*' . | tar -C "$work/ours" -x

mkdir "$work/packages" "$work/umlauts"
for description in "$source"/examples/*/*.kei; do
  "$native" pack "$description" -o "$work/packages/$(basename "$description" .kei).kep" > /dev/null 2>&1
done
printf 'content' > "$work/umlauts/größe.htm"
for version in 1.0 2.0; do
  cat > "$work/umlauts/umlauts.kei" <<XML
<kestrel-extension name="Umlauts" version="$version" type="command">
  <author name="Jane Doe" />
  <products><product name="Tidemark" version="6" primary="true" /></products>
  <description><![CDATA[Names]]></description>
  <ui-access><![CDATA[None]]></ui-access>
  <files><file source="größe.htm" destination="\$tidemark/Configuration/Commands" /></files>
</kestrel-extension>
XML
  "$native" pack "$work/umlauts/umlauts.kei" -o "$work/packages/umlauts-$version.kep" > "$work/pack" 2>&1 || cat "$work/pack"
done
name_of() { "$native" info "$1" --json 2> /dev/null | python3 -c 'import json,sys; print(json.load(sys.stdin)["extension"]["name"])'; }

state() { # PREFIX: every file of the products with its date, its read-only mark and its content
  ( cd "$1/drive_c/Program Files" && find Kestrel -type f -printf '%TY-%Tm-%Td %TH:%TM:%.2TS %m %p\n' |
    sed -E 's/ ([0-7])[0-7]{2} / \1 /' | sort -k4 && find Kestrel -type f -exec sha256sum {} + | sort -k2 &&
    find Kestrel -type d | sort )
}
