"""What is compared: each subject makes one random case, asks both readings, and tells the difference."""
import copy
import difflib
import os
import shutil

import installs
import kest
import menus
import random_menus

DESCRIPTION = """<kestrel-extension name="Second Reading" version="1.0" type="Command">
\t<products><product name="Tidemark" version="6" primary="true" /></products>
%s</kestrel-extension>
"""


def told(predicted, seen):
    lines = difflib.unified_diff(predicted.split("\r\n"), seen.split("\r\n"), "predicted", "seen", lineterm="", n=4)
    return "\n".join(list(lines)[:60])


class Menus:
    """A menus file after an install and after the uninstall."""

    def __init__(self, program):
        self.machine = kest.Machine(program, "Tidemark Nova")
        self.path = self.machine.drive("Program Files", "Kestrel", "Tidemark 6", "Configuration", "Menus", "Menus.xml")
        self.description = os.path.join(self.machine.folder, "second.kei")

    def close(self):
        self.machine.close()

    def compare(self, random):
        file = random_menus.host_file(random)
        changes = [random_menus.change(random) for _ in range(random.randrange(1, 4))]
        text = random_menus.as_host_writes(random, file)
        description = DESCRIPTION % ("\t<configuration-changes>\r\n" + random_menus.as_author_writes(random, changes) +
                                     "\t</configuration-changes>\r\n")
        write(self.path, text)
        write(self.description, description)
        after = copy.deepcopy(file)
        goes_through = menus.apply(after, changes)
        status, _ = self.machine.json("install", self.description, "-y", "--accept-agreement")
        case = "\n--- file\n%s\n--- description\n%s" % (text, description)
        predicted = menus.render(after) if goes_through else text
        seen = read(self.path)
        difference = told(predicted, seen)
        if (status == 0) != goes_through or difference:
            self.machine.run("uninstall", "Second Reading", "-y")
            return "install", "install: exit %d, predicted %s\n%s%s" % (status, goes_through, difference, case)
        if not goes_through:
            return "refused", None
        menus.undo(after, changes)
        status, _ = self.machine.json("uninstall", "Second Reading", "-y")
        difference = told(menus.render(after), read(self.path))
        if status != 0 or difference:
            return "uninstall", "uninstall: exit %d\n%s%s" % (status, difference, case)
        return "installed", None


class Installs:
    """The files that an install places and an uninstall leaves, beside another extension that shares some."""

    def __init__(self, program):
        self.machine = kest.Machine(program, "Tidemark Nova")
        self.source = os.path.join(self.machine.folder, "source")
        names = ["f%d.htm" % number for number in range(4)]
        self.holder = installs.Extension(
            [{"source": name, "destination": "$tidemark/Second/Zone", "platform": "", "shared": True, "win": "",
              "missing": False, "content": "held"} for name in names], [])
        self.lay("holder", self.holder)
        status, _ = self.machine.json("install", os.path.join(self.source, "holder.kei"), "-y", "--accept-agreement")
        if status != 0:
            raise RuntimeError("the other extension was not installed")
        self.held = {place for _, place in self.holder.placed()}

    def close(self):
        self.machine.close()

    def lay(self, name, extension):
        shutil.rmtree(self.source, ignore_errors=True)
        os.makedirs(self.source)
        for entry in extension.files:
            if not entry["missing"]:
                path = os.path.join(self.source, *installs.native(entry["source"]).split("\\"))
                os.makedirs(os.path.dirname(path), exist_ok=True)
                write(path, entry["content"])
        with open(os.path.join(self.source, name + ".kei"), "w", encoding="latin-1", newline="") as file:
            file.write('<?xml version="1.0" encoding="iso-8859-1"?>\n' + installs.describe(name, extension))

    def disk(self):
        found = {}
        for root, letters in ((self.machine.drive("Program Files", "Kestrel", "Tidemark 6", "Second"),
                               installs.INSTALL_FOLDER + "second"), (self.machine.drive("sites"), "c:\\sites"),
                              (self.machine.drive("Sites"), "c:\\sites")):
            for folder, _, files in os.walk(root):
                for name in files:
                    path = os.path.join(folder, name)
                    inside = os.path.relpath(path, root).replace("/", "\\")
                    found[(letters + "\\" + inside).lower()] = read(path)
        return found

    def compare(self, random):
        extension = installs.random_extension(random)
        self.lay("second", extension)
        before = self.disk()
        words = ["install", os.path.join(self.source, "second.kei"), "-y", "--accept-agreement", "--on-existing",
                 "overwrite"]
        for token, _, prompt, chosen in extension.tokens:
            words += ["--set", token + "=" + chosen] if prompt else []
        status, document = self.machine.json(*words)
        predicted = dict(before)
        try:
            extension.install(predicted)
            goes_through = True
        except installs.Refused:
            goes_through = False
        case = "\n%s\n%s" % (installs.describe("second", extension), document.get("error"))
        difference = told_of_files(predicted, self.disk())
        if (status == 0) != goes_through or difference:
            self.machine.run("uninstall", "second", "-y")
            return "install", "install: exit %d, predicted %s\n%s%s" % (status, goes_through, difference, case)
        if not goes_through:
            return "refused", None
        extension.uninstall(predicted, self.held)
        status, document = self.machine.json("uninstall", "second", "-y")
        difference = told_of_files(predicted, self.disk())
        if status != 0 or difference:
            return "uninstall", "uninstall: exit %d\n%s%s" % (status, difference, case)
        return "installed", None


def told_of_files(predicted, seen):
    lines = ["%s: predicted %s, seen %s" % (path, predicted.get(path), seen.get(path))
             for path in sorted(set(predicted) | set(seen)) if predicted.get(path) != seen.get(path)]
    return "\n".join(lines[:20])


def write(path, text):
    with open(path, "wb") as file:
        file.write(text.encode("latin-1"))


def read(path):
    with open(path, "rb") as file:
        return file.read().decode("latin-1")


ALL = {"installs": Installs, "menus": Menus}
