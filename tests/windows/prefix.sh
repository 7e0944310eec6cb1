# What the scripts here have in common, to be sourced with KEST KEST_EXE SOURCE as words: a prefix of Wine with all products
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
# whoever builds meanwhile changes nothing
cp "$native" "$work/kest" && cp "$windows" "$work/kest.exe"
native=$work/kest windows=$work/kest.exe
in_wine() { # PREFIX COMMAND...
  local prefix=$1; shift
  WINEPREFIX=$prefix "$@" < /dev/null 2> "$work/err"
}
# Ends all Windows programs of the prefix; what they changed in the registry is in its files then.
settle() { in_wine "$work/theirs" wineserver -k || true; in_wine "$work/theirs" wineserver -w || true; }

in_wine "$work/theirs" wineboot -i > /dev/null
user=$(basename "$(find "$work/theirs/drive_c/users" -mindepth 1 -maxdepth 1 ! -name Public | head -1)")
"$native" machine new "$work/pc" --multi-user --user "$user:2" > /dev/null 2>&1
folders=("drive_c/Program Files/Kestrel" drive_c/ProgramData/Kestrel "drive_c/users/$user/AppData/Roaming/Kestrel")
for folder in "${folders[@]}"; do cp -a "$work/pc/$folder" "$work/theirs/${folder%/Kestrel}/"; done
cp "$work/pc/machine.ini" "$work/theirs/"
settle
for hive in system user; do
  [ ! -e "$work/pc/$hive.reg" ] || sed -n '/^\[/,$p' "$work/pc/$hive.reg" >> "$work/theirs/$hive.reg"
done
# the system's own programs, half a gigabyte, are of no use to the native program
mkdir "$work/ours"
tar -C "$work/theirs" -c --no-wildcards-match-slash --exclude='./drive_c/windows/*/*' --exclude='./drive_c/Program Files*/[!K]*' . | tar -C "$work/ours" -x

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

# Every file of the products with its date, its read-only mark and its content. What an operation wrote itself is of now.
begun=$(date '+%Y-%m-%d %H:%M:%S')
state() { # PREFIX
  ( cd "$1" && find "${folders[@]}" -type f -printf '%TY-%Tm-%Td %TH:%TM:%.2TS %m %p\n' |
    awk -v begun="$begun" '{ $3 = substr($3, 1, 1); if ($1 " " $2 >= begun) $2 = "now"; print }' | sort -k4 && find "${folders[@]}" -type f -exec sha256sum {} + | sort -k2 &&
    find "${folders[@]}" -type d | sort )
}
