#!/usr/bin/env bash
# Man pages without warnings, and kest(1) in step with what the program says of itself. (kest-description(5) is compared
# with the reader's tables by the tests of description/.) Usage: check_man_pages.sh SOURCE KEST
set -eu
source=$1 kest=$2
page=$source/docs/man/kest.1
status=0
fail() { printf 'FAILED: %s\n' "$*"; status=1; }

for file in "$source"/docs/man/*.[15]; do
  mandoc -T lint -W warning "$file" || fail "$file has warnings"
done

# One line for each command ("list"), flag ("list: --sort a|b|c"; "*:" for every command) and exit code, from the page ...
from_page() {
  awk '
    function plain(text) {
      gsub(/Op Ar [A-Za-z.|]+( \.\.\.)?/, "[&]", text); gsub(/\[Op /, "[", text)
      gsub(/ (,|Fl|Ar|Cm|Ic) /, " ", text); gsub(/\[(Ar) /, "[", text); gsub(/(^| )(,|Fl|Ar|Cm|Ic) /, " ", text)
      gsub(/ \| /, "|", text); gsub(/ \.\.\./, "...", text)
      sub(/^ +/, "", text); return text
    }
    /^\.Sh / { section = substr($0, 5); owner = section == "OPTIONS" ? "*" : "" }
    /^\.Ss / { section = "" }
    section == "COMMANDS" && /^\.It Ic / {
      text = plain(substr($0, 5)); name = text; print text
      sub(/ [^a-z].*$/, "", name); sub(/ (bash)\|.*$/, "", name); owner = name
    }
    (section == "COMMANDS" || section == "OPTIONS") && /^\.It Fl / {
      text = substr($0, 5); letter = ""
      if (match(text, /^Fl [a-zA-Z] , /)) { letter = "-" substr(text, 4, 1) " "; text = substr(text, 8) }
      sub(/^Fl -/, "--", text); print owner ": " letter plain(text)
    }
    section == "EXIT STATUS" && /^\.It / { print "exit " $2 }
  ' "$page" | sort
}
# ... and from the help.
flags_of() { # of the help on stdin, from the line "$2" on
  awk -v owner="$1" -v from="$2" '
    index($0, from) == 1 { on = 1; next }
    /^[^ ]/ { on = 0 }
    on && /^ +-/ {
      line = $0; letter = ""; sub(/^ +/, "", line)
      if (match(line, /^-[a-zA-Z], /)) { letter = substr(line, 1, 2) " "; line = substr(line, 5) }
      sub(/  +.*$/, "", line); print owner ": " letter line
    }'
}
from_help() {
  local help commands
  help=$("$kest" help)
  commands=$(awk '/^Commands:/ { on = 1; next } /^[^ ]/ { on = 0 } on && NF { sub(/^ +/, ""); sub(/  +.*$/, ""); print }' <<< "$help")
  {
    printf '%s\n' "$commands"
    flags_of '*' 'Flags of every command:' <<< "$help"
    awk '/^Exit codes:/ { on = 1; next } /^[^ ]/ { on = 0 } on && NF { print "exit " $1 }' <<< "$help"
    while read -r command; do
      name=$(sed -E 's/ [^a-z].*$//; s/ bash\|.*$//' <<< "$command")
      # shellcheck disable=SC2086
      "$kest" help $name | flags_of "$name" 'Flags:'
    done <<< "$commands"
  } | sort
}
from_page > "${TMPDIR:-/tmp}/kest-page.$$"
from_help > "${TMPDIR:-/tmp}/kest-help.$$"
trap 'rm -f "${TMPDIR:-/tmp}"/kest-{page,help}.$$' EXIT
[ "$(wc -l < "${TMPDIR:-/tmp}/kest-help.$$")" -gt 40 ] || fail "the help could not be read"
difference=$(diff "${TMPDIR:-/tmp}/kest-page.$$" "${TMPDIR:-/tmp}/kest-help.$$") ||
  fail "kest.1 (<) and kest help (>) differ:
$difference"
# variables
for variable in $(cd "$source" && grep -rhoE 'getenv\("[A-Z_]+"\)|(Environment|NumberFrom)\("[A-Z_]+"\)' host/*.cpp |
                  grep -oE '[A-Z_]{4,}' | sort -u); do
  grep -q "Ev $variable" "$page" || fail "the program reads $variable, which kest.1 does not name"
done

# the examples of kest-description(5): the first is a whole description, the others are parts of one
examples=$(mktemp -d)
trap 'rm -rf "$examples"; rm -f "${TMPDIR:-/tmp}"/kest-{page,help}.$$' EXIT
awk '/^\.Bd/ { on = 1; next } /^\.Ed/ { exit } on' "$source/docs/man/kest-description.5" > "$examples/whole.kei"
{
  echo '<kestrel-extension name="Parts" version="1" type="Suite"><author name="Ann" />'
  echo '<products><product name="Tidemark" /></products><description>d</description><ui-access>u</ui-access>'
  echo '<configuration-changes>'
  awk '/^\.Bd/ { on = ++n > 1; next } /^\.Ed/ { on = 0 } on { gsub(/\\e/, "\\"); print }' "$source/docs/man/kest-description.5"
  echo '</configuration-changes></kestrel-extension>'
} > "$examples/parts.kei"
mkdir "$examples/Commands" "$examples/bin"
touch "$examples"/{Commands/wc.htm,bin/harbor.dll,address.csn,readme}
[ "$(wc -l < "$examples/parts.kei")" -gt 40 ] || fail "the examples were not found"
"$kest" validate "$examples/whole.kei" "$examples/parts.kei" > "$examples/out" 2>&1 ||
  { cat "$examples/out"; fail "an example of kest-description.5 is not in order"; }
exit $status
