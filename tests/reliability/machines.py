"""Machines and packages for the scripts of this folder: made by the real program, compared byte by byte."""
import hashlib
import os
import re
import shutil
import subprocess
import sys

SKIPPED = 77
NOVA = "drive_c/Program Files/Kestrel/Tidemark 6"
CHANGES = """<configuration-changes>
<menu-insert insertAfter="TMMenu_Insert_Table"><menuitem name="Tool" command="tm.tool()" id="Tool_Item" /></menu-insert>
<toolbar-changes><toolbar-insert><toolbar id="Tool_Bar" label="Tool"><button id="Tool_Button" /></toolbar></toolbar-insert></toolbar-changes>
<extensions-changes><extension-insert extension="WBK" description="Notes" /></extensions-changes>
<FTP-extension-map-changes><FTP-extension-insert extension="wbk" type="ASCII" /></FTP-extension-map-changes>
</configuration-changes>"""


def skip(why):
    print(f"skipped: {why}")
    sys.exit(SKIPPED)


def quiet(*command, **options):
    return subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)


class Program:
    def __init__(self, path, scratch):
        self.path = path
        self.environment = {"PATH": os.environ["PATH"], "HOME": scratch, "XDG_DATA_HOME": f"{scratch}/data"}

    def command(self, machine, *words):
        return [self.path, "-m", machine, *words]

    def run(self, machine, *words):
        return subprocess.run(self.command(machine, *words), env=self.environment, stdin=subprocess.DEVNULL, capture_output=True)

    def must(self, machine, *words):
        result = self.run(machine, *words)
        if result.returncode != 0:
            sys.exit(f"kest {' '.join(words)} fails undisturbed: {result.stderr.decode(errors='replace')}")

    def make_machine(self, folder):
        quiet(self.path, "machine", "new", folder, "--product", "Tidemark Nova", env=self.environment)
        with open(f"{folder}/drive_c/windows/system32/part.dll", "w") as out:
            out.write("the system's own")
        self.must(folder, "list")


def make_package(program, machine, folder, version, files, size):
    """Packs an extension of that many files; of ten, one belongs to this version alone. Returns the package."""
    tree = f"{folder}/tree{version}"
    os.makedirs(tree)
    entries = []
    for i in range(files):
        name = f"part{i:04}" + (f"v{version}" if i % 10 == 3 else "") + ".htm"
        with open(f"{tree}/{name}", "wb") as out:
            block = hashlib.sha256(f"{name} {version}".encode()).digest()
            out.write((block * (size // len(block) + 1))[:max(1, size - i % 7)] if i % 2 else os.urandom(size))
        os.utime(f"{tree}/{name}", (1600000000 + i, 1600000000 + i))
        entries.append(f'<file source="{name}" destination="$tidemark/Configuration/Shared/Tool/d{i % 5}" />')
    for name, more in (("fancy.ttf", 'destination="$fonts"'), ("part.dll", 'destination="$system" systemfile="true"')):
        with open(f"{tree}/{name}", "w") as out:
            out.write(f"{name} {version}")
        entries.append(f'<file source="{name}" {more} />')
    with open(f"{tree}/tool.kei", "w") as out:
        out.write(f'<kestrel-extension name="Tool" version="{version}" type="command"><author name="Jane Doe" />'
                  '<products><product name="Tidemark" version="4" primary="true" /></products>'
                  '<description><![CDATA[Sorts.]]></description><ui-access><![CDATA[Menu.]]></ui-access>'
                  f'<files>{"".join(entries)}</files>{CHANGES}</kestrel-extension>')
    package = f"{folder}/tool-{version}.kep"
    program.must(machine, "pack", f"{tree}/tool.kei", "-o", package)
    shutil.rmtree(tree)
    return package


def age(machine):
    """Dates everything back, so that what is written later shows."""
    for folder, _, names in os.walk(machine):
        for name in names:
            path = f"{folder}/{name}"
            if os.stat(path).st_mtime > 1700000000:
                os.utime(path, (1650000000, 1650000000))


def state(machine):
    """Path -> bytes, read-only mark and date of all but the trash and backup copies; a leftover shows in it."""
    found = {}
    for folder, folders, names in os.walk(machine):
        inside = os.path.relpath(folder, machine)
        past = ("./trash", "./lost+found", "drive_c/ProgramData/Kest")
        folders[:] = [f for f in folders if os.path.join(inside, f) not in past]
        for name in folders:
            if os.path.join(inside, name) != "drive_c/ProgramData":
                found[os.path.join(inside, name)] = "folder"
        for name in names:
            path = os.path.join(inside, name)
            if re.search(r"\..bk$", name):
                continue
            info = os.stat(f"{folder}/{name}")
            with open(f"{folder}/{name}", "rb") as file:
                content = file.read()
            if name.endswith(".reg"):
                found[path] = registry(content)
                continue
            digest = hashlib.sha256(content).hexdigest()
            # the name of a file that waits for the next log-on is made of a random one
            path = re.sub(r"rpl[^/]*\.tmp$", f"rpl {digest}", path)
            date = int(info.st_mtime) if info.st_mtime < 1700000000 else "now"
            found[path] = (digest, info.st_size, bool(info.st_mode & 0o200), date)
    return found


def registry(content):
    """Its lines without the times in it and without the random part of names."""
    lines = [re.sub(rb"^(\[.*\]).*", rb"\1", line) for line in content.splitlines() if not line.startswith(b"#time")]
    return re.sub(rb"rpl[^\"\\]*\.tmp", b"rpl.tmp", b"\n".join(sorted(line for line in lines if line)))


def difference(before, after):
    lines = [f"gone {p}" for p in before if p not in after]
    lines += [f"new {p}" for p in after if p not in before]
    lines += [f"changed {p}: {before[p]} -> {after[p]}" for p in before if p in after and before[p] != after[p]]
    return lines


def empty_files(found, reference):
    return sum(1 for p, entry in found.items() if isinstance(entry, tuple) and entry[1] == 0 and reference.get(p, entry) != entry)
