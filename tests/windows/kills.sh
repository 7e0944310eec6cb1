#!/usr/bin/env bash
# Ends kest.exe, and in turn the native program, at random moments in each kind of operation; the next start of kest.exe has
# to leave what was before the operation or what it makes, and nothing else. What kest.exe leaves the native program refuses:
# under Wine no folder is the user's alone. Usage: kills.sh KEST KEST_EXE SOURCE [COUNT]; COUNT (default 20) is for each kind.
. "$(dirname "$0")/prefix.sh"
count=${4:-20}
theirs=$work/theirs
kest_exe() { in_wine "$theirs" wine "$windows" "$@" > "$work/out.windows"; }
package=Z:$work/packages/umlauts-1.0.kep
newer=Z:$work/packages/umlauts-2.0.kep
in_wine "$theirs" wineserver -p # so that a start takes no longer than the program
# KIND, how to come to where it begins, and its own words
agreed="-y --accept-agreement --allow-downgrade"
kinds=("install|uninstall Umlauts -y|install $package $agreed" "replace|install $package $agreed|install $newer $agreed"
       "disable|enable Umlauts -y|disable Umlauts -y" "enable|disable Umlauts -y|enable Umlauts -y"
       "uninstall|install $package $agreed|uninstall Umlauts -y")
# Wine may start the program in a process of its own.
running() {
  for each in $(pgrep -x kest.exe || true); do
    ! grep -qzx "WINEPREFIX=$theirs" "/proc/$each/environ" 2> /dev/null || echo "$each"
  done
}
without_dates() { state "$theirs" | grep -v '^[0-9]\{4\}-' | sed -E 's/^[0-9a-f]{64} (.*\.kep)$/\1/'; } # a package holds the time of its making
total=0 mixed=0 middle=0 undone=0
kest_exe install "$package" -y --accept-agreement || { cat "$work/out.windows" "$work/err"; exit 1; }
for entry in "${kinds[@]}"; do
  IFS='|' read -r kind before words <<< "$entry"
  read -ra before <<< "$before"
  read -ra words <<< "$words"
  kest_exe "${before[@]}" || { cat "$work/out.windows" "$work/err"; exit 1; }
  without_dates > "$work/before"
  started=$(date +%s%N)
  kest_exe "${words[@]}" || { cat "$work/out.windows" "$work/err"; exit 1; }
  took=$((($(date +%s%N) - started) / 1000))
  without_dates > "$work/after"
  kest_exe "${before[@]}" || { cat "$work/out.windows" "$work/err"; exit 1; }
  settle
  started=$(date +%s%N)
  "$native" -m "$theirs" "${words[@]#Z:}" < /dev/null > "$work/out.windows" 2>&1 || { cat "$work/out.windows"; exit 1; }
  took_native=$((($(date +%s%N) - started) / 1000))
  of_kind=0
  for ((i = 0; i < count; ++i)); do
    cmp -s <(without_dates) "$work/before" || kest_exe "${before[@]}" || { cat "$work/out.windows" "$work/err"; exit 1; }
    cmp -s <(without_dates) "$work/before" || { echo "$kind: its beginning did not come back"; exit 1; }
    span=$took
    if ((i % 2)); then
      settle
      span=$took_native
      "$native" -m "$theirs" "${words[@]#Z:}" < /dev/null > /dev/null 2>&1 &
    else
      WINEPREFIX=$theirs wine "$windows" "${words[@]}" < /dev/null > /dev/null 2>&1 &
    fi
    victim=$!
    at=$(((RANDOM * 32768 + RANDOM) % (span * 11 / 10)))
    sleep "$(printf '%d.%06d' $((at / 1000000)) $((at % 1000000)))"
    for each in $(running) $victim; do kill -9 "$each" 2> /dev/null || true; done
    wait $victim 2> /dev/null || true
    # one that was only about to start goes on to its end
    sleep 0.2
    while [ -n "$(running)" ]; do sleep 0.1; done
    left=$(find "$theirs/drive_c/windows/temp" -mindepth 1 -maxdepth 1 -name 'kest-*' 2> /dev/null | wc -l)
    of_kind=$((of_kind + (left > 0)))
    kest_exe recover || true
    rest=$(find "$theirs/drive_c/windows/temp" -mindepth 1 -maxdepth 1 -name 'kest-*' || true)
    [ -z "$rest" ] || { echo "$kind: recovery left $rest"; cat "$work/out.windows" "$work/err"; exit 1; }
    without_dates > "$work/now"
    total=$((total + 1))
    if cmp -s "$work/now" "$work/before"; then undone=$((undone + 1));
    elif ! cmp -s "$work/now" "$work/after"; then
      mixed=$((mixed + 1))
      echo "$kind, killed after $at microseconds, is mixed:"
      diff "$work/now" "$work/before" | head -5
      cat "$work/out.windows"
      exit 1
    fi
  done
  middle=$((middle + of_kind))
  echo "$kind: $count kills, $of_kind in the middle"
done
echo "$total kills, $middle in the middle, $undone taken back, $mixed mixed"
