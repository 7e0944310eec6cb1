"""Measures Kest beside its peers and prints ratios. Usage: bench/run [WORK...] [--rounds N]

Every figure is a ratio to a peer of the same round; the median of the rounds is given, with the least and the greatest.
Works on a scratch disk of its own (an ext4 image, when run by root and loop devices are there; else $BENCH_SCRATCH or
/dev/shm), because a file system without a journal makes no two runs agree.
"""
import argparse
import os
import shutil
import subprocess
import sys

import inputs
from measure import Bench, Entry, exponent, report

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
NOVA = "drive_c/Program Files/Kestrel/Tidemark 6"
EXTENSIONS = f"{NOVA}/Configuration/Extensions"
YES = "-y --accept-agreement -q --progress never"
# a description that was changed within the last tenth of a second is not yet put into the index of its folder
SETTLE = "sleep 0.2"
MAKE_MACHINE = '"$B/kest" machine new "$S/pc" --product "Tidemark Nova" -q'

PACMAN_QUERY = ("--config $S/pacman.conf --root $S/root --dbpath $S/db --cachedir $S/cache --hookdir $S/hooks --gpgdir $S/gpg "
                "--logfile $S/pacman.log")
PACMAN = f"{PACMAN_QUERY} --noconfirm --noprogressbar"
PACMAN_SETUP = ("mkdir -p $S/root $S/db $S/cache $S/hooks $S/gpg; printf '[options]\\nSigLevel = Never\\nLocalFileSigLevel = "
                "Never\\nArchitecture = auto\\n' > $S/pacman.conf")
DPKG = "--root=$S/root --log=$S/dpkg.log --force-bad-path --no-force-unsafe-io"
DPKG_SETUP = ("mkdir -p $S/root/var/lib/dpkg/info $S/root/var/lib/dpkg/updates $S/root/var/lib/dpkg/triggers; "
              ": > $S/root/var/lib/dpkg/status; : > $S/root/var/lib/dpkg/available")
RPM = "--root $S/root --dbpath /var/lib/rpm --nodeps --force-debian"
RPM_SETUP = "mkdir -p $S/root/var/lib/rpm; rpm --root $S/root --dbpath /var/lib/rpm --initdb"


def managers(name, folder):
    """Package managers that are there, each with set-up, install and removal."""
    found = []
    if os.path.exists(f"{folder}/{name}.pkg.tar.gz"):
        found.append(("pacman -U", PACMAN_SETUP, f"pacman -U {PACMAN} {folder}/{name}.pkg.tar.gz", f"pacman -R {PACMAN} bench-{name}"))
    if os.path.exists(f"{folder}/{name}.deb"):
        found.append(("dpkg -i", DPKG_SETUP, f"dpkg {DPKG} -i {folder}/{name}.deb", f"dpkg {DPKG} -r bench-{name}"))
    if os.path.exists(f"{folder}/{name}.rpm"):
        found.append(("rpm -i", RPM_SETUP, f"rpm {RPM} -i {folder}/{name}.rpm", f"rpm {RPM} -e bench-{name}"))
    return found


def installs(bench, data):
    for name, count, size in (("p1", 2000, 4096), ("p2", 20000, 1024), ("p3", 20, 8 << 20)):
        folder = f"{data}/{name}"
        inputs.payload(folder, name, count, size)
        installed = f'{NOVA}/Configuration/Shared/bench/{name}'
        check = f'[ $(find "$S/pc/{installed}" -type f | wc -l) = {count} ]'
        here = f'[ $(find "$S/root/opt" -type f | wc -l) = {count} ]'
        entries = [
            Entry("unzip", f"unzip -q {folder}/{name}.kep -d $S/root", "mkdir -p $S/root", here, count),
            Entry("kest install", f'"$B/kest" -m "$S/pc" install {folder}/{name}.kep {YES}', MAKE_MACHINE, check, count),
        ]
        # dpkg waits for each file, so that 20,000 of them take minutes
        entries += [Entry(peer, install, setup, here, count) for peer, setup, install, _ in managers(name, folder)
                    if count <= 2000 or not peer.startswith("dpkg")]
        bench.measure(entries)
        report(f"install {count:,} files of {size:,} bytes, with journal and roll-back", "unzip: 1.0 (wall+sync 1.3), ahead of "
               "the package managers", entries, {"kest install"}, "unzip")


def dry_runs(bench, data):
    """On a file system in memory, so that neither waits for a disk."""
    for name, count, size in (("p1", 2000, 4096), ("p3", 20, 8 << 20)):
        folder = f"{data}/{name}"
        inputs.payload(folder, name, count, size)
        machine = '"$B/kest" -m "$M/pc"'
        make = 'rm -rf "$M"; mkdir -p "$M"; "$B/kest" machine new "$M/pc" --product "Tidemark Nova" -q'
        entries = [Entry("kest install", f"{machine} install {folder}/{name}.kep {YES}", make),
                   Entry("kest install -n", f"{machine} install -n {folder}/{name}.kep {YES}", make, '[ ! -e "$M/pc/drive_c/ProgramData/Kest" ]')]
        bench.measure(entries)
        report(f"dry run of {count:,} files of {size:,} bytes beside the install, no disk to wait for", "1.3, and its memory",
               entries, {"kest install -n"}, "kest install")


def questions(bench, data):
    inputs.descriptions(f"{data}/descriptions10k", 10000)
    inputs.payload(f"{data}/tiny", "tiny", 1, 1024)
    fill = (f'{MAKE_MACHINE}; mkdir -p "$S/pc/{EXTENSIONS}"; cp {data}/descriptions10k/extension*.kei "$S/pc/{EXTENSIONS}/"; {SETTLE}; '
            f'"$B/kest" -m "$S/pc" install {data}/tiny/tiny.kep {YES}')
    file = "C:/Program Files/Kestrel/Tidemark 6/Configuration/Shared/bench/tiny/d000/file00000.txt"
    entries = [Entry("engine start-up", '"$B/engine_startup" "$S/pc"', fill),
               Entry("kest owns", f'"$B/kest" -m "$S/pc" owns "{file}"', fill),
               Entry("kest history", '"$B/kest" -m "$S/pc" history', fill)]
    bench.measure(entries)
    report("questions among 10,000 extensions", "within 20 ms of a bare start", entries, {"kest owns", "kest history"},
           "engine start-up")
    for entry in entries[1:]:
        if not entry.failure and not entries[0].failure:
            print(f"  {entry.name}: {1000 * (min(entry.wall) - min(entries[0].wall)):.1f} ms more (least of each)")


def verifying(bench, data):
    inputs.payload(f"{data}/p2", "p2", 20000, 1024)
    installed = f'{MAKE_MACHINE}; "$B/kest" -m "$S/pc" install {data}/p2/p2.kep {YES}'
    files = f"$S/pc/{NOVA}/Configuration/Shared/bench/p2"
    entries = [Entry("sha256sum", f"bash -c 'find \"{files}\" -type f -print0 | xargs -0 sha256sum'", installed),
               Entry("kest verify", '"$B/kest" -m "$S/pc" verify', installed)]
    bench.measure(entries)
    report("verify 20,000 files of 1,024 bytes", "sha256sum: 1.0", entries, {"kest verify"}, "sha256sum")


def replaces(bench, data):
    inputs.payload(f"{data}/p1", "p1", 2000, 4096)
    inputs.payload(f"{data}/p1new", "p1", 2000, 4096, "2.0", 8)
    old, new = f"{data}/p1", f"{data}/p1new"
    entries = [Entry("kest install (newer)", f'"$B/kest" -m "$S/pc" install {new}/p1.kep {YES} --on-existing overwrite',
                     f'{MAKE_MACHINE}; "$B/kest" -m "$S/pc" install {old}/p1.kep {YES}')]
    upgrades = {"pacman -U": f"pacman -U {PACMAN} {new}/p1.pkg.tar.gz", "dpkg -i": f"dpkg {DPKG} -i {new}/p1.deb",
                "rpm -i": f"rpm {RPM} -U {new}/p1.rpm"}
    entries += [Entry(peer, upgrades[peer], f"{setup}; {install} > /dev/null 2>&1") for peer, setup, install, _ in managers("p1", old)]
    bench.measure(entries)
    report("replace an installed version of 2,000 files", "ahead of every package manager", entries, {"kest install (newer)"},
           "kest install (newer)")


def removals(bench, data):
    inputs.payload(f"{data}/p1", "p1", 2000, 4096)
    inputs.descriptions(f"{data}/descriptions", 1000)
    folder = f"{data}/p1"
    gone = f'[ ! -e "$S/pc/{NOVA}/Configuration/Shared/bench/p1" ]'
    entries = [
        Entry("rm -rf", "rm -rf $S/root/opt", f"mkdir -p $S/root; unzip -q {folder}/p1.kep -d $S/root", "[ ! -e $S/root/opt ]"),
        Entry("kest uninstall", f'"$B/kest" -m "$S/pc" uninstall "Payload p1" {YES}',
              f'{MAKE_MACHINE}; mkdir -p "$S/pc/{EXTENSIONS}"; cp {data}/descriptions/extension*.kei "$S/pc/{EXTENSIONS}/"; {SETTLE}; "$B/kest" -m '
              f'"$S/pc" install {folder}/p1.kep {YES}', gone),
    ]
    entries += [Entry(peer.replace("-U", "-R").replace("-i", "remove"), removal, f"{setup}; {install} > /dev/null 2>&1")
                for peer, setup, install, removal in managers("p1", folder)]
    bench.measure(entries)
    report("uninstall 2,000 files among 1,000 other extensions", "rm -rf: 2.0, ahead of the package managers", entries,
           {"kest uninstall"}, "rm -rf")


def startup(bench, data):
    inputs.descriptions(f"{data}/descriptions10k", 10000)
    inputs.payload(f"{data}/tiny", "tiny", 1, 1024)
    fill = f'{MAKE_MACHINE}; mkdir -p "$S/pc/{EXTENSIONS}"; cp {data}/descriptions10k/extension*.kei "$S/pc/{EXTENSIONS}/"'
    # the first operation that succeeds makes the index
    indexed = f'{fill}; {SETTLE}; "$B/kest" -m "$S/pc" install {data}/tiny/tiny.kep {YES}'
    entries = [
        Entry("bare expat pass", f'"$B/peer_expat_pass" "$S/pc/{EXTENSIONS}"', fill),
        Entry("engine start-up", '"$B/engine_startup" "$S/pc"', indexed),
        Entry("engine start-up, no index yet", '"$B/engine_startup" "$S/pc"', fill),
    ]
    if shutil.which("pacman"):
        entries.append(Entry("pacman -Qi", f"pacman -Qi {PACMAN_QUERY} --color never", f"{PACMAN_SETUP}; python3 "
                             f"{ROOT}/bench/pacman_database.py $S/db/local 10000"))
    bench.measure(entries)
    report("start-up with 10,000 installed descriptions of 4 KiB", "expat pass: 1.2, pacman: 0.1, 60 MiB", entries,
           {"engine start-up", "engine start-up, no index yet"}, "bare expat pass")


def packing(bench, data):
    inputs.payload(f"{data}/p1", "p1", 2000, 4096)
    tree = f"{data}/p1/tree"
    entries = [
        Entry("zip -6", f"bash -c 'cd {tree} && exec zip -q -X -6 -r $S/out.zip p1.kei opt'"),
        Entry("kest pack", f'"$B/kest" -m "$S/pc" pack {tree}/p1.kei -o $S/out.kep -q', MAKE_MACHINE, "unzip -tqq $S/out.kep"),
    ]
    bench.measure(entries)
    report("pack 2,000 files of 4,096 bytes", "zip: 1.1", entries, {"kest pack"}, "zip -6")


def journal(bench, data):
    for count, size in ((300, 16000), (2000, 4096), (20000, 1024)):
        name = f"j{count}"
        inputs.payload(f"{data}/{name}", name, count, size)
        check = f'[ $(find "$S/pc/{NOVA}/Configuration/Shared/bench/{name}" -type f | wc -l) = {count} ]'
        entries = [Entry(f"{mode} journal", f'"$B/engine_install" "$S/pc" {data}/{name}/{name}.kep {mode}', MAKE_MACHINE, check)
                   for mode in ("plain", "durable")]
        bench.measure(entries)
        report(f"install {count:,} files with the journal on the disk and without", "at most 1.5", entries, {"durable journal"},
               "plain journal")


def menus(bench, data):
    windows = r"C:\windows\temp\menu.xml"
    for label, size in (("1 MB", 1000000), ("20 MB", 20000000)):
        source = f"{data}/menu-{size}.xml"
        inputs.menu_file(source, size)
        for count in (1, 1000):
            prepare = f"{MAKE_MACHINE}; cp {source} $S/pc/drive_c/windows/temp/menu.xml"
            entries = [
                Entry("pugixml, hash index", f'"$B/peer_pugixml_menu" {source} $S/out.xml {count}'),
                Entry("engine", f'"$B/engine_menu" "$S/pc" \'{windows}\' {count}', prepare),
            ]
            if count == 1 and shutil.which("xmlstarlet"):
                entries.append(Entry("xmlstarlet ed", "xmlstarlet ed -P -a '//menuitem[@id=\"Bench_Item_0\"]' -t elem -n menuitem "
                                     f"-v '' {source}"))
            bench.measure(entries)
            report(f"menu file of {label}: load, {count:,} insertion{'s' if count > 1 else ''}, save", "pugixml: 1.5", entries,
                   {"engine"}, "pugixml, hash index")


def starting(bench, _):
    entries = [Entry("a program that only starts", '"$B/peer_start"'),
               Entry("kest list", '"$B/kest" -m "$S/pc" list', MAKE_MACHINE)]
    bench.measure(entries)
    report("kest list on an empty machine", "within 5 ms of the other", entries, {"kest list"}, "a program that only starts")
    if not any(e.failure for e in entries):
        print(f"  difference: {1000 * (min(entries[1].wall) - min(entries[0].wall)):.1f} ms (least of each)")


def growth(bench, data):
    print("\n## growth\naim: exponent of processor time over n, 2n, 4n, 8n at most 1.1")
    works = {"install": [], "uninstall": [], "start-up": []}
    sizes = (2500, 5000, 10000, 20000)
    for count in sizes:
        name = f"g{count}"
        inputs.payload(f"{data}/{name}", name, count, 1024)
        install = f'"$B/kest" -m "$S/pc" install {data}/{name}/{name}.kep {YES}'
        inputs.descriptions(f"{data}/descriptions{count}", count)
        for work, entry in (
            ("install", Entry("", install, MAKE_MACHINE)),
            ("uninstall", Entry("", f'"$B/kest" -m "$S/pc" uninstall "Payload {name}" {YES}', f"{MAKE_MACHINE}; {install}")),
            ("start-up", Entry("", '"$B/engine_startup" "$S/pc"',
                               f'{MAKE_MACHINE}; mkdir -p "$S/pc/{EXTENSIONS}"; find {data}/descriptions{count} -name "*.kei" -exec cp -t "$S/pc/{EXTENSIONS}/" {{}} +')),
        ):
            bench.measure([entry])
            works[work].append(min(entry.cpu) if entry.cpu else None)
            if entry.failure:
                print(f"  {work} {count}: {entry.failure}")
    for work, seconds in works.items():
        if None not in seconds:
            row = "  ".join(f"{count:,}: {value:.3f} s" for count, value in zip(sizes, seconds))
            print(f"  {work:10} {row}   exponent {exponent(sizes, seconds):.2f}")


def scratch_disk(folder):
    """An ext4 with a journal in an image file, its tables written out now and its blocks not cached twice; None where that
    cannot be had."""
    image, mount = f"{folder}/disk.img", f"{folder}/disk"
    os.makedirs(mount, exist_ok=True)
    if os.path.ismount(mount):
        return mount
    script = ('set -e; truncate -s 6G "$1"; mkfs.ext4 -q -F -E lazy_itable_init=0,lazy_journal_init=0 "$1"; loop=$(losetup -f); '
              'losetup --direct-io=on "$loop" "$1" || losetup "$loop" "$1"; mount "$loop" "$2" || { losetup -d "$loop"; exit 1; }')
    made = subprocess.run(["bash", "-c", script, "bash", image, mount], stderr=subprocess.DEVNULL).returncode == 0
    return mount if made else None


WORKS = {"install": installs, "dry-run": dry_runs, "questions": questions, "verify": verifying, "replace": replaces,
         "uninstall": removals, "startup": startup, "pack": packing, "menus": menus,
         "journal": journal, "start": starting, "growth": growth}


def main():
    parser = argparse.ArgumentParser(prog="bench/run", description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("works", nargs="*", metavar="WORK", help=", ".join(WORKS) + " (all without)")
    parser.add_argument("--rounds", type=int, default=9)
    parser.add_argument("--count", action="store_true", help="system calls (strace) and instructions (valgrind), too")
    arguments = parser.parse_args()
    for work in arguments.works:
        if work not in WORKS:
            parser.error(f"no such work: {work} (there are {', '.join(WORKS)})")
    base = os.environ.get("BENCH_WORK", "/var/tmp/kest-bench")
    scratch = os.environ.get("BENCH_SCRATCH") or scratch_disk(base) or "/dev/shm/kest-bench"
    data = f"{scratch}/inputs"  # making thousands of files takes minutes on some file systems without a journal
    os.makedirs(data, exist_ok=True)
    print(f"# scratch folder {scratch}; {arguments.rounds} rounds after one that does not count")
    programs = os.environ.get("BENCH_PROGRAMS") or f"{ROOT}/build/bench/programs"
    bench = Bench(scratch, data, programs, arguments.rounds, arguments.count)
    for work in arguments.works or WORKS:
        WORKS[work](bench, data)
    return 0


if __name__ == "__main__":
    sys.exit(main())
