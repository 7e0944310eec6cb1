"""What is compared: each subject makes one random case, asks both readings, and tells the difference."""
import copy
import difflib
import os

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


def write(path, text):
    with open(path, "wb") as file:
        file.write(text.encode("latin-1"))


def read(path):
    with open(path, "rb") as file:
        return file.read().decode("latin-1")


ALL = {"menus": Menus}
