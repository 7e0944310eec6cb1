#!/usr/bin/env bash
# Runs windows_tests.exe on a prefix with products: what holds for every machine, files of a PC, and every so manieth call
# of it failing. Usage: suite.sh KEST KEST_EXE SOURCE WINDOWS_TESTS [EVERY]
. "$(dirname "$0")/prefix.sh"
tests=$(realpath "$4")
in_wine "$work/theirs" wineserver -p
ln -s / "$work/theirs/drive_c/out" # nobody may get there
KEST_PACKAGES="Z:${work//\//\\}\\packages" KEST_FAULT_EVERY=${5:-41} WINEPREFIX=$work/theirs wine "$tests" --gtest_brief=1 < /dev/null
[ ! -e /kest-test ] || { echo "a test got out of the drive"; exit 1; }
