"""What is compared: each subject makes one random case, asks both readings, and tells the difference."""
import copy
import difflib
import os
import re
import shutil

import descriptions
import installs
import kest
import menus
import placements
import random_descriptions
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


class Descriptions:
    """What a description says (of itself, packed, and as the copy that an install writes), and which are none."""

    def __init__(self, program):
        self.machine = kest.Machine(program, "Tidemark Nova")
        self.source = os.path.join(self.machine.folder, "source")
        self.file, self.package = os.path.join(self.source, "second.kei"), os.path.join(self.machine.folder, "second.kep")
        self.copy = self.machine.drive("Program Files", "Kestrel", "Tidemark 6", "Configuration", "Extensions", "second.kei")
        for name in random_descriptions.SOURCES:
            path = os.path.join(self.source, *name.replace("/", "\\").split("\\"))
            os.makedirs(os.path.dirname(path), exist_ok=True)
            write(path, name)

    def close(self):
        self.machine.close()

    def compare(self, random):
        text, sound = random_descriptions.document(random, random_descriptions.SOURCES)
        write(self.file, text)
        outcome, difference = self.differs(random, text, sound)
        return outcome, difference and difference + "\n--- description\n" + text

    def differs(self, random, text, sound):
        read_again = descriptions.Description(text)
        _, document = self.machine.json("validate", self.file)
        unknown = [re.search('attribute "([^"]*)"', one["text"])[1] for one in document["problems"] if one["rule"] == "unknown-attribute"]
        if min(document["code"], 1) != read_again.code or (read_again.code == 0 and unknown != read_again.unknown):
            return "validate", "code %d, predicted %d; unknown attributes %s, predicted %s" % (
                document["code"], read_again.code, unknown, read_again.unknown)
        status, document = self.machine.json("info", self.file)
        if read_again.code != 0:
            return "no description", None if status == 6 else "info: exit %d" % status
        if document["extension"] is None or facts(document["extension"]) != predicted_facts(read_again):
            return "info", differing(predicted_facts(read_again), facts(document["extension"]))
        if not sound:
            return "read", None
        packed = random.random() < 0.5 and self.complete(read_again)
        if packed:
            status, _ = self.machine.json("pack", self.file, "-o", self.package, "--force")
            _, again = self.machine.json("info", self.package)
            if status != 0 or facts(again["extension"]) != facts(document["extension"]):
                return "pack", "exit %d" % status
        status, document = self.machine.json("install", self.package if packed else self.file, "-y", "--accept-agreement",
                                             "--on-existing", "overwrite")
        if status != 0:
            return "install", "install: exit %d: %s" % (status, document["messages"])
        descriptions.convert(read_again)
        for token in read_again.records("file-tokens"):
            token.properties["definition"] = "C:\\Program Files\\Kestrel\\Tidemark 6\\Second\\"
        predicted, seen = read_again.written().shape(True), descriptions.Description(read(self.copy)).shape()
        status, _ = self.machine.json("uninstall", "second.kei", "-y")
        if predicted != seen or status != 0:
            return "written", "uninstall: exit %d\n%s" % (status, differing(predicted, seen))
        return "installed", None

    @staticmethod
    def complete(record):
        return record.author and record.texts["description"] and record.texts["ui-access"]


class Placements:
    """Which products take an extension and where its files go: as explained, and as installed on machines of several kinds."""

    KINDS = [([], [], []), ([], [], ["Tidemark 4", "Prism 4"]), ([], [], ["Tidemark Nova", "Tidemark Vantage 4", "Marlin 5"]),
             (["Tidemark 4", "Prism Nova", "Marlin Nova"], [], []), (["Tidemark Vantage 4", "Quarry 2", "Marlin 5"], [], ["Marlin 5"]),
             (["Tidemark Nova", "Prism 4"], ["--multi-user", "--user=anna:1"], ["Tidemark Nova"]),
             (["Tidemark Nova", "Tidemark 4"], ["--multi-user", "--user=root:2"], [])]

    def __init__(self, program):
        self.machines = []
        for names, flags, running in self.KINDS:
            machine = kest.Machine(program, *names, flags=flags)
            for name in running:
                machine.run("machine", "start", name)
            _, document = machine.json("products")
            self.machines.append((machine, [placements.Product(one, bool(flags)) for one in document["products"]]))
            for name in placements.SOURCES:
                path = os.path.join(machine.folder, "source", *installs.native(name).split("\\"))
                os.makedirs(os.path.dirname(path), exist_ok=True)
                write(path, name)

    def close(self):
        for machine, _ in self.machines:
            machine.close()

    def compare(self, random):
        machine, products = random.choice(self.machines)
        really = random.random() < 0.3
        text = placements.random_document(random, products, not really)
        file = os.path.join(machine.folder, "source", "second.kei")
        write(file, text)
        outcome, difference = self.explained(machine, products, file, text) or self.installed(
            machine, products, file, text, really, random.choice(products) if random.random() < 0.2 else None)
        return outcome, difference and "%s\n--- description for %s\n%s" % (difference, [one.name for one in products], text)

    def explained(self, machine, products, file, text):
        status, document = machine.json("explain", file)
        missing, some_fit = placements.chosen(products, descriptions.Description(text))[1], False
        for product, seen in zip(products, document["products"]):
            record = descriptions.Description(text)
            lines = [product.supports(line.get("name"), line.get("version")) for line in record.products()]
            fits = not missing and any(met and line.get("primary") for met, line in zip(lines, record.products()))
            some_fit = some_fit or fits
            try:
                places = [place for _, place in placements.placed(product, record)] if fits else []
            except installs.Refused:
                places = None
            told = [one["destination"] and one["destination"]["windows"].lower() for one in seen["files"]]
            if [rule["met"] for rule in seen["rules"]] != lines or seen["fits"] != fits or (places is not None and told != places):
                return "explain", "%s: rules %s, predicted %s; fits %s, predicted %s\n%s" % (
                    product.name, [rule["met"] for rule in seen["rules"]], lines, seen["fits"], fits, differing(places or [], told))
        if status != (0 if some_fit else 5):
            return "explain", "exit %d" % status
        return None

    def installed(self, machine, products, file, text, really, wanted):
        record = descriptions.Description(text)
        product, missing = placements.chosen(products, record)
        if wanted and not missing and product:
            primary = next(line for line in record.products() if line.get("primary"))
            product = wanted if wanted.supports(primary.get("name"), primary.get("version")) else None
        really = really and product is not None and not product.running  # its scripts would be in use at the uninstall
        status, document = machine.json("install", file, "-y", "--accept-agreement", *([] if really else ["-n"]), *(
            ["-p", wanted.name] if wanted else []))
        if product is None:
            return "no product", None if status == 5 else "install: exit %d, no product predicted" % status
        if any(token.get("prompt") and not token.get("default") for token in record.records("file-tokens")):
            return "not answered", None if status == 3 else "install: exit %d, a question without an answer predicted" % status
        try:
            places = placements.placed(product, record)
        except installs.Refused:
            machine.run("uninstall", "second.kei", "-y")
            return "refused", None if status not in (0, 5) else "install: exit %d, a refusal predicted" % status
        predicted = [sorted({place for _, place in places if place}), product.name, placements.restart(product, record, places)]
        made = [one["windows"].lower() for one in document["changed"] if one["what"] == "created" and not one["windows"].endswith("second.kei")]
        folders = {path[:at] for path in made for at, letter in enumerate(path) if letter == "\\"}
        seen = [sorted(set(made) - folders), document["product"], document["restart"]]
        there = [one["host"] for one in document["changed"] if not os.path.exists(one["host"])]
        if really:
            status = status or machine.json("uninstall", "second.kei", "-y")[0]
        if status != 0 or predicted != seen or (really and there):
            return "install", "exit %d: %s\nnot there: %s\n%s" % (status, document["messages"], there, differing(predicted, seen))
        return "installed" if really else "previewed", None


def shown(text):
    """As a list tells it: without the five escapes of a description, in letters."""
    for escape, letter in (("&lt;", "<"), ("&gt;", ">"), ("&quot;", '"'), ("&apos;", "'"), ("&amp;", "&")):
        text = text.replace(escape, letter)
    return text


def predicted_facts(record):
    get = lambda node, *names: [shown(node.get(name)) for name in names]
    version = descriptions.version_number(record.root.get("version", ""))
    return [[shown(record.root.get("name", "")), shown(record.author), shown(record.root.get("id", "")), version,
             record.type(), record.root.get("type", ""), bool(record.root.get("requires-restart")), record.several_primary],
            [shown(record.texts[name]) for name in ("description", "ui-access", "license-agreement")],
            [get(one, "name", "version") + [bool(one.get("primary")), bool(one.get("primary") or one.get("required"))]
             for one in record.products()],
            [get(one, "name", "prompt", "default", "definition") for one in record.records("file-tokens")],
            [get(one, "source", "destination") + [("any", "mac", "win")[one.get("platform") or 0], bool(one.get("shared")),
                                                  bool(one.get("systemfile"))] for one in record.files()],
            [(one, file.lstrip("\\"), change) for one, file, change in record.changes()]]


def facts(one):
    version = descriptions.version_number(one["version"])
    return [[one["name"], one["author"], one["id"], version, one["type"]["id"], one["type"]["keyword"],
             one["requires_restart"], one["multiple_primary"]], [one["text"], one["ui_access"], one["license"]],
            [[each["name"], each["version"], each["primary"], each["required"]] for each in one["products"]],
            [[each["name"], each["prompt"], each["default"], each["definition"]] for each in one["tokens"]],
            [[each["source"], each["destination"], each["platform"], each["shared"], each["system"]] for each in one["files"]],
            [(each["set"], each["file"], each["change"]) for each in one["changes"]]]


def differing(predicted, seen):
    return "\n".join("predicted %s\nseen      %s" % pair for pair in zip(predicted, seen) if pair[0] != pair[1]) or \
        "%d parts predicted, %d seen" % (len(predicted), len(seen))


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


ALL = {"descriptions": Descriptions, "installs": Installs, "menus": Menus, "placements": Placements}
