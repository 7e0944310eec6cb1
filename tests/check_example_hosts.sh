#!/usr/bin/env bash
# Runs the example hosts on a sample machine. Usage: check_example_hosts.sh SOURCE WORK KEST LIST_AND_INSTALL SCRIPTED
set -eu
source=$1 work=$2 kest=$3 list=$4 scripted=$5
fail() { printf 'FAILED: %s\n' "$*"; exit 1; }
installed() { "$kest" list -m "$work/pc" --json | tr '{' '\n' | grep -c "\"name\":\"$1\"" || true; }

rm -rf "$work" && mkdir -p "$work"
[ "$(wc -l < "$source/examples/host/list_and_install.cpp")" -le 101 ] || fail "the first example has more than a hundred lines"
"$kest" machine new "$work/pc" -q
for example in table-tools snippet-shelf; do
  "$kest" pack "$source/examples/$example/$example.kei" -o "$work/$example.kep" -q -m "$work/pc" > /dev/null
done

[ -z "$("$list" "$work/pc")" ] || fail "a new machine has extensions"
"$list" "$work/pc" "$work/table-tools.kep" --preview > "$work/out" || { cat "$work/out"; fail "there is no preview"; }
grep -q '^+ .*Table Tools' "$work/out" || { cat "$work/out"; fail "the preview does not tell of the menu item"; }
[ -z "$("$list" "$work/pc")" ] || fail "a preview installed something"
"$list" "$work/pc" "$work/table-tools.kep" > "$work/out" || { cat "$work/out"; fail "the install failed"; }
grep -q '^Tidemark.*: Table Tools$' "$work/out" || { cat "$work/out"; fail "the installed extension is not listed"; }
[ "$(installed 'Table Tools')" -ge 1 ] || fail "kest does not know what the example installed"
"$kest" disable "Table Tools" -m "$work/pc" -y -q > /dev/null
"$list" "$work/pc" | grep -q 'Table Tools (disabled)$' || fail "the disabled extension is not listed as such"
! "$list" "$work/nowhere" > /dev/null || fail "a machine that is not there was taken"

# a question that the script does not answer cancels; the answers go where they belong
code=0
"$scripted" "$work/pc" "$work/snippet-shelf.kep" /dev/null > /dev/null 2> "$work/err" || code=$?
[ $code -eq 3 ] || fail "exit $code for an unanswered question, not 3"
grep -q 'no answer to question [0-9]' "$work/err" || fail "the unanswered question is not named"
[ "$(installed 'Snippet Shelf')" -eq 0 ] || fail "a cancelled install left the extension"
printf '4016 yes\n4127 C:\\Shelf\n' > "$work/script"
"$scripted" "$work/pc" "$work/snippet-shelf.kep" "$work/script" > "$work/out" 2>&1 || { cat "$work/out"; fail "the script did not do"; }
[ "$(installed 'Snippet Shelf')" -ge 1 ] || fail "the scripted host installed nothing"
[ -f "$work/pc/drive_c/Shelf/address.csn" ] || fail "the folder of the script was not used"
printf '4016 yes\n4127 C:\\Shelf\n4021 no\n' > "$work/script"
! "$scripted" "$work/pc" "$work/snippet-shelf.kep" "$work/script" > /dev/null 2>&1 || fail "an equal version was replaced against the script"
echo "ok: example hosts"
