#!/usr/bin/env bash
# While kest.exe changes a prefix the native program is turned away, and the other way round: each is stopped in the middle
# of an install, the other one tries, then the first goes on. Usage: turns.sh KEST KEST_EXE SOURCE
. "$(dirname "$0")/prefix.sh"
theirs=$work/theirs
mkdir "$work/many"
files=
for ((i = 0; i < 1500; ++i)); do
  echo "file $i" > "$work/many/f$i.htm"
  files+="<file source=\"f$i.htm\" destination=\"\$tidemark/Configuration/Many\" />"
done
sed -e 's/Umlauts/Many/' -e "s|<files>.*</files>|<files>$files</files>|" "$work/umlauts/umlauts.kei" > "$work/many/many.kei"
"$native" pack "$work/many/many.kei" -o "$work/packages/many.kep" > "$work/pack" 2>&1 || { cat "$work/pack"; exit 1; }
in_wine "$theirs" wineserver -p
kest_exe() { WINEPREFIX=$theirs exec wine "$windows" "${@/#$work/Z:$work}" < /dev/null; }
kest_native() { exec "$native" -m "$theirs" "$@" < /dev/null; }
agreed="-y --accept-agreement"
for first in kest_exe kest_native; do
  other=$([ $first = kest_exe ] && echo kest_native || echo kest_exe)
  ( $first install "$work/packages/many.kep" $agreed ) > "$work/first" 2>&1 & job=$!
  until compgen -G "$theirs/drive_c/windows/temp/kest-*/kest-*" > /dev/null; do
    kill -0 $job 2> /dev/null || { echo "$first was never in the middle"; cat "$work/first"; exit 1; }
  done
  stopped=$job
  [ $first = kest_native ] || stopped=$(pgrep -x kest.exe | while read -r each; do
    ! grep -qzx "WINEPREFIX=$theirs" "/proc/$each/environ" || echo "$each"; done)
  kill -STOP $stopped
  for words in "install $work/packages/umlauts-1.0.kep $agreed --wait 1" "recover --wait 1"; do
    code=0
    ( $other $words ) > "$work/other" 2>&1 || code=$?
    if [ "${words%% *}" = install ] && { [ $code != 7 ] || ! grep -q 'changing this machine' "$work/other"; }; then
      echo "$other was not turned away: exit $code"; cat "$work/other"; kill -CONT $stopped; exit 1
    fi
  done
  kill -CONT $stopped
  wait $job || { echo "$first did not end well"; cat "$work/first"; exit 1; }
  found=$(find "$theirs/drive_c/Program Files/Kestrel" -name 'f*.htm' -path '*/Many/*' | wc -l)
  [ "$found" = 1500 ] || { echo "$found of 1500 files"; exit 1; }
  ( $other uninstall Many -y ) > "$work/other" 2>&1 || { echo "$other does not uninstall"; cat "$work/other"; exit 1; }
done
echo "each program turned the other away, and went on to its end"
