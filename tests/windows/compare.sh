#!/usr/bin/env bash
# Does the same with kest.exe under Wine and with the native program on copies of one prefix: what lies in the products'
# folders, dates, read-only marks, exit codes and JSON have to be the same after every step; an operation that one program
# was killed in is taken back by the other. Usage: compare.sh KEST KEST_EXE SOURCE
. "$(dirname "$0")/prefix.sh"
steps=0
files=0
documents=0
# Which machine it was, when, by whom and with which program differs; paths are compared as Windows has them.
common() {
  python3 -c '
import json, re, sys
def same(value, key=""):
    if isinstance(value, dict):
        return {k: same(v, k) for k, v in value.items() if k not in ("machine", "when", "user", "host", "duration", "began", "ended")}
    if isinstance(value, list):
        return [same(v, key) for v in value]
    # a file that waits has a name of its own
    return re.sub(r"rpl\w+\.tmp$", "rpl.tmp", value) if isinstance(value, str) else value
text = sys.stdin.read()
print(json.dumps(same(json.loads(text)), sort_keys=True, indent=1) if text.strip() else "")'
}
both() { # WORDS...: the same exit code, document and files
  local ours=0 theirs=0
  "$native" -m "$work/ours" "$@" --json > "$work/out.native" 2> "$work/said.native" < /dev/null || ours=$?
  in_wine "$work/theirs" wine "$windows" "$@" --json > "$work/out.windows" || theirs=$?
  steps=$((steps + 1))
  if [ $ours != $theirs ]; then
    echo "kest $*: exit $ours natively, $theirs under Wine"
    cat "$work/out.native" "$work/said.native" "$work/out.windows" "$work/err"
    exit 1
  fi
  common < "$work/out.native" > "$work/json.native"
  common < "$work/out.windows" > "$work/json.windows"
  diff "$work/json.native" "$work/json.windows" > "$work/difference" || { echo "kest $*: documents differ"; head -20 "$work/difference"; exit 1; }
  documents=$((documents + 1))
  state "$work/ours" > "$work/state.native"
  state "$work/theirs" > "$work/state.windows"
  diff "$work/state.native" "$work/state.windows" > "$work/difference" || { echo "kest $*: files differ"; head -20 "$work/difference"; exit 1; }
  files=$((files + $(grep -c '^[0-9]\{4\}-' "$work/state.native")))
}
in_wine "$work/theirs" wineserver -p
cd "$work/packages"
both products
for package in *.kep; do
  both install "$package" -y --accept-agreement --on-existing overwrite
done
both list
both verify
for package in *.kep; do
  name=$(name_of "$package")
  [ "$package" != umlauts-1.0.kep ] || continue
  both disable "$name" -y
  both enable "$name" -y
  both uninstall "$name" -y
done
settle
# what products, fonts and the next start are told
python3 - "$work/ours" "$work/theirs" <<'PYTHON'
import re, sys
def read(prefix):
    found = []
    for hive in ("system", "user"):
        key = ""
        for line in open(f"{prefix}/{hive}.reg", encoding="utf-8", errors="surrogateescape"):
            if line.startswith("["):
                key = line[1:line.rindex("]")].lower()
            elif line.startswith('"') and re.search(r"kestrel|currentversion\\\\(fonts|runonce)$", key):
                # a file that waits has a name of its own; replace.exe lies beside the program
                line = re.sub(r'="[^ ]*replace\.exe', '="replace.exe', re.sub(r"rpl\w+\.tmp", "rpl.tmp", line))
                found.append((hive, key, line.strip()))
    return sorted(found)
ours, theirs = map(read, sys.argv[1:])
if ours != theirs or not ours:
    sys.exit("\n".join(["the registry differs:"] + [str(entry) for entry in ours + theirs if ours.count(entry) != theirs.count(entry)]))
PYTHON
echo "$steps operations, $files files and $documents documents compared, 0 differences"
