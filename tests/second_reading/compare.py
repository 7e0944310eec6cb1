#!/usr/bin/env python3
"""Compares kest with a second, simple reading of its rules on random input.

Usage: compare.py KEST SUBJECT [--count N] [--seed N] [--most N]
SUBJECT: descriptions (what they say, packed too and as the copy that an install writes), installs (files that are
placed, and what an uninstall leaves), menus (files after an install and after the uninstall), placements (which
products take an extension, where its files go). Exit status 1 and the first differences when there are any.
"""
import argparse
import random
import sys

import subjects

parser = argparse.ArgumentParser()
parser.add_argument("kest")
parser.add_argument("subject", choices=sorted(subjects.ALL))
parser.add_argument("--count", type=int, default=300)
parser.add_argument("--seed", type=int, default=1)
parser.add_argument("--most", type=int, default=3, help="differences to show")
options = parser.parse_args()

subject = subjects.ALL[options.subject](options.kest)
differences = 0
shown = {}
try:
    for number in range(options.seed, options.seed + options.count):
        outcome, difference = subject.compare(random.Random(number))
        shown[outcome] = shown.get(outcome, 0) + 1
        if difference:
            differences += 1
            if differences <= options.most:
                print("seed %d: %s" % (number, difference))
finally:
    subject.close()
print("%s: %d compared (%s), %d different" % (options.subject, options.count, ", ".join(
    "%s %d" % pair for pair in sorted(shown.items())), differences))
sys.exit(1 if differences else 0)
