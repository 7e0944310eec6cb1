#!/usr/bin/env bash
# Ends kest.exe at random moments under Wine, in each kind of operation; the next start, by kest.exe and by the native
# program in turn, has to leave what was before the operation or what it makes. Usage: kills.sh KEST KEST_EXE SOURCE [COUNT]
# COUNT (default 20) is for each kind.
. "$(dirname "$0")/prefix.sh"
count=${4:-20}
theirs=$work/theirs
kest_exe() { in_wine "$theirs" wine "$windows" "$@" > "$work/out.windows"; }
package=Z:$work/packages/umlauts-1.0.kep
newer=Z:$work/packages/umlauts-2.0.kep
in_wine "$theirs" wineserver -p # so that a start takes no longer than the program
# KIND, how to come to where it begins, and its own words
kinds=("install|uninstall Umlauts -y|install $package -y" "replace|install $package -y|install $newer -y"
       "disable|enable Umlauts -y|disable Umlauts -y" "enable|disable Umlauts -y|enable Umlauts -y"
       "uninstall|install $package -y|uninstall Umlauts -y")
without_dates() { state "$theirs" | grep -v '^[0-9]\{4\}-'; }
total=0 mixed=0 middle=0 undone=0
kest_exe install "$package" -y
for entry in "${kinds[@]}"; do
  IFS='|' read -r kind before words <<< "$entry"
  read -ra before <<< "$before"
  read -ra words <<< "$words"
  kest_exe "${before[@]}" || { cat "$work/out.windows"; exit 1; }
  without_dates > "$work/before"
  begun=$(date +%s%N)
  kest_exe "${words[@]}" || { cat "$work/out.windows"; exit 1; }
  took=$((($(date +%s%N) - begun) / 1000))
  without_dates > "$work/after"
  of_kind=0
  for ((i = 0; i < count; ++i)); do
    cmp -s <(without_dates) "$work/before" || kest_exe "${before[@]}" || { cat "$work/out.windows"; exit 1; }
    cmp -s <(without_dates) "$work/before" || { echo "$kind: its beginning did not come back"; exit 1; }
    WINEPREFIX=$theirs wine "$windows" "${words[@]}" < /dev/null > /dev/null 2>&1 &
    victim=$!
    at=$(((RANDOM * 32768 + RANDOM) % (took * 6 / 5)))
    sleep "$(printf '%d.%06d' $((at / 1000000)) $((at % 1000000)))"
    kill -9 $victim 2> /dev/null || true
    wait $victim 2> /dev/null || true
    sleep 0.1
    left=$(find "$theirs/drive_c/windows/temp" -mindepth 1 -maxdepth 1 -name 'kest-*' 2> /dev/null | wc -l)
    of_kind=$((of_kind + (left > 0)))
    if ((i % 2)); then
      settle
      "$native" -m "$theirs" --trust-machine list > "$work/out.windows" 2>&1 < /dev/null || true
      in_wine "$theirs" wineserver -p
    else
      kest_exe list || true
    fi
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
