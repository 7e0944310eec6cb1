"""pacman_database.py FOLDER COUNT: a local package database of COUNT packages of 20 files each."""
import os
import sys

folder, count = sys.argv[1], int(sys.argv[2])
os.makedirs(folder)
with open(f"{folder}/ALPM_DB_VERSION", "w") as out:
    out.write("9\n")
for number in range(count):
    name = f"extension{number:05}"
    os.makedirs(f"{folder}/{name}-1.0-1")
    with open(f"{folder}/{name}-1.0-1/desc", "w") as out:
        out.write(f"%NAME%\n{name}\n\n%VERSION%\n1.0-1\n\n%BASE%\n{name}\n\n%DESC%\n{'An extension for measuring. ' * 100}\n\n"
                  f"%ARCH%\nany\n\n%BUILDDATE%\n1700000000\n\n%INSTALLDATE%\n1700000000\n\n%PACKAGER%\nnone\n\n%SIZE%\n20480\n\n"
                  "%REASON%\n0\n\n%LICENSE%\nnone\n\n%VALIDATION%\nnone\n\n")
    with open(f"{folder}/{name}-1.0-1/files", "w") as out:
        out.write("%FILES%\nopt/\n" + "".join(f"opt/{name}/part{k:02}.txt\n" for k in range(20)) + "\n")
