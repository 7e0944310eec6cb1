#!/usr/bin/env bash
# Does the same with kest.exe under Wine and with the native program on copies of one prefix: what lies in the products'
# folders, their dates and the exit codes have to be the same after every step. Usage: compare.sh KEST KEST_EXE SOURCE
set -eu
native=$(realpath "$1") windows=$(realpath "$2") source=$(realpath "$3")
for tool in wine wineserver; do
  command -v $tool > /dev/null || { echo "$tool is not installed (scripts/setup windows): nothing was tried"; exit 77; }
done
work=$(mktemp -d)
export LC_ALL=C.UTF-8 WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml= XDG_DATA_HOME=$work/data
finish() {
  for prefix in "$work/theirs" "$work/ours"; do WINEPREFIX=$prefix wineserver -k 2> /dev/null || true; done
  rm -rf "$work"
}
trap finish EXIT
in_wine() { # PREFIX COMMAND...
  local prefix=$1; shift
  WINEPREFIX=$prefix "$@" < /dev/null 2> "$work/err"
}

# ---- a prefix with Tidemark Nova, twice
in_wine "$work/theirs" wineboot -i > /dev/null
"$native" machine new "$work/pc" --product "Tidemark Nova" > /dev/null 2>&1
program="drive_c/Program Files/Kestrel"
cp -a "$work/pc/$program" "$work/theirs/drive_c/Program Files/"
in_wine "$work/theirs" wine reg add 'HKLM\Software\Kestrel\Tidemark\6\Installation' /v InstallPath \
  /d 'C:\Program Files\Kestrel\Tidemark 6\' /f /reg:32 > /dev/null
in_wine "$work/theirs" wineserver -k || true
in_wine "$work/theirs" wineserver -w || true
cp -a "$work/theirs" "$work/ours"

# ---- packages: the examples, and one with names outside ASCII
mkdir "$work/packages"
for description in "$source"/examples/*/*.kei; do
  "$native" pack "$description" -o "$work/packages/$(basename "$description" .kei).kep" > /dev/null 2>&1
done
mkdir "$work/umlauts"
printf 'content' > "$work/umlauts/größe.htm"
cat > "$work/umlauts/umlauts.kei" <<'XML'
<kestrel-extension name="Umlauts" version="1.0" type="command">
  <author name="Jane Doe" />
  <products><product name="Tidemark" version="6" primary="true" /></products>
  <description><![CDATA[Names]]></description>
  <ui-access><![CDATA[None]]></ui-access>
  <files><file source="größe.htm" destination="$tidemark/Configuration/Commands" /></files>
</kestrel-extension>
XML
"$native" pack "$work/umlauts/umlauts.kei" -o "$work/packages/umlauts.kep" > "$work/pack" 2>&1 || cat "$work/pack"

state() { # PREFIX: every file of the products with its date and content
  ( cd "$1/drive_c/Program Files" && find Kestrel -type f -printf '%TY-%Tm-%Td %TH:%TM:%.2TS %m %p\n' | sed 's/ [0-7]\{3\} / /' |
    sort -k3 && find Kestrel -type f -exec sha256sum {} + | sort -k2 && find Kestrel -type d | sort )
}
steps=0
files=0
both() { # WORDS...: the same exit code, and the same files afterwards
  local ours=0 theirs=0
  "$native" -m "$work/ours" "$@" > "$work/out.native" 2>&1 < /dev/null || ours=$?
  in_wine "$work/theirs" wine "$windows" "${@/#\//Z:\/}" > "$work/out.windows" || theirs=$?
  steps=$((steps + 1))
  if [ $ours != $theirs ]; then
    echo "kest $*: exit $ours natively, $theirs under Wine"
    cat "$work/out.native" "$work/out.windows" "$work/err"
    exit 1
  fi
  state "$work/ours" > "$work/state.native"
  state "$work/theirs" > "$work/state.windows"
  diff "$work/state.native" "$work/state.windows" > "$work/difference" || { echo "kest $*: files differ"; head -20 "$work/difference"; exit 1; }
  files=$((files + $(find "$work/ours/$program" -type f | wc -l)))
}
both --version
both products
for package in "$work"/packages/*.kep; do
  both install "$package" -y --accept-agreement --on-existing overwrite
done
both list
both verify
for package in "$work"/packages/*.kep; do
  name=$("$native" info "$package" --json 2> /dev/null | python3 -c 'import json,sys; print(json.load(sys.stdin)["extension"]["name"])')
  both disable "$name" -y
  both enable "$name" -y
  both uninstall "$name" -y
done
echo "$steps operations, $files files compared, 0 differences"
