#!/usr/bin/env bash
# Ends kest.exe, and now and then the native program, at random moments in each kind of operation: one half of them between
# start and end, the other while its private folder lies there. The next start, of kest.exe and of the native program in
# turn, has to leave what was before the operation or what it makes, and nothing else.
# Usage: kills.sh KEST KEST_EXE SOURCE [COUNT]; COUNT (default 20) is for each kind.
. "$(dirname "$0")/prefix.sh"
count=${4:-20}
theirs=$work/theirs
temp=$theirs/drive_c/windows/temp
kest_exe() { in_wine "$theirs" wine "$windows" "$@" > "$work/out.windows"; }
kest_native() { "$native" -m "$theirs" "${@#Z:}" < /dev/null > "$work/out.windows" 2> "$work/err"; }
told() { cat "$work/out.windows" "$work/err"; exit 1; }
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
left() { find "$temp" -mindepth 1 -maxdepth 1 -name 'kest-*'; }
now() { echo "${EPOCHREALTIME/./}"; }
exec {never}<> <(:) # reading from it only waits
pause() { read -rt "$(printf '%d.%06d' $(($1 / 1000000)) $(($1 % 1000000)))" -u "$never" || true; }
launch() { # PROGRAM WORDS...
  local program=$1; shift
  if [ "$program" = native ]; then
    exec "$native" -m "$theirs" "${@#Z:}" < /dev/null > /dev/null 2>&1
  fi
  WINEPREFIX=$theirs exec wine "$windows" "$@" < /dev/null > /dev/null 2>&1
}
until_begun() { until compgen -G "$temp/kest-*" > /dev/null || ! kill -0 "$victim" 2> /dev/null; do pause 1000; done; }
total=0 mixed=0 middle=0 undone=0
kest_exe install "$package" $agreed || told
for entry in "${kinds[@]}"; do
  IFS='|' read -r kind before words <<< "$entry"
  read -ra before <<< "$before"
  read -ra words <<< "$words"
  kest_native uninstall Umlauts -y || true # installed or disabled, or not there
  kest_native install "$package" $agreed || told
  kest_native "${before[@]}" || true # it may be so already
  without_dates > "$work/before"
  for program in native exe; do # how long it takes, and from when to when its folder lies there
    started=$(now)
    launch $program "${words[@]}" & victim=$!
    until_begun
    opened=$(now)
    wait $victim || { echo "$kind: not done by $program"; exit 1; }
    declare "took_$program=$(($(now) - started))" "lies_$program=$(($(now) - opened))"
    without_dates > "$work/after"
    kest_native "${before[@]}" || told
  done
  of_kind=0 by_native=0
  for ((i = 0; i < count; ++i)); do
    cmp -s <(without_dates) "$work/before" || kest_native "${before[@]}" || told
    cmp -s <(without_dates) "$work/before" || { echo "$kind: its beginning did not come back"; exit 1; }
    program=$([ $((i % 8)) = 7 ] && echo native || echo exe)
    recovers=$([ $((i / 2 % 2)) = 0 ] && echo kest_exe || echo kest_native)
    span=took_$program
    launch $program "${words[@]}" & victim=$!
    if ((i % 2)); then
      until_begun
      span=lies_$program
    fi
    at=$(((RANDOM * 32768 + RANDOM) % (${!span} * 11 / 10)))
    pause $at
    for each in $(running) $victim; do kill -9 "$each" 2> /dev/null || true; done
    wait $victim 2> /dev/null || true
    # one that was only about to start goes on to its end
    pause 100000
    while [ -n "$(running)" ]; do pause 50000; done
    [ -z "$(left)" ] || { of_kind=$((of_kind + 1)); [ $recovers = kest_exe ] || by_native=$((by_native + 1)); }
    $recovers recover || true
    rest=$(left)
    [ -z "$rest" ] || { echo "$kind: $recovers left $rest"; ls -laR "$rest"; told; }
    without_dates > "$work/now"
    total=$((total + 1))
    if cmp -s "$work/now" "$work/before"; then undone=$((undone + 1));
    elif ! cmp -s "$work/now" "$work/after"; then
      mixed=$((mixed + 1))
      echo "$kind, $program killed after $at microseconds of $span, $recovers leaves it mixed:"
      diff "$work/now" "$work/before" | head -5
      told
    fi
  done
  middle=$((middle + of_kind))
  echo "$kind: $count kills, $of_kind in the middle, $by_native of these recovered by the native program"
done
echo "$total kills, $middle in the middle, $undone taken back, $mixed mixed"
