"""Which product takes an extension and where each of its files goes, read simply; descriptions.py reads the description."""
import re

import descriptions
import installs
from random_descriptions import element, some, spelled

FOLDERS = {"system": "c:\\windows\\system32\\", "fonts": "c:\\windows\\fonts\\"}
MARLIN_PROGRAM = "c:\\program files\\kestrel\\marlin 6\\"


class Product:
    """One of those that a machine has, as its list tells it, in the order in which they are looked for."""

    def __init__(self, listed, many_users):
        self.name, self.version, self.running = listed["name"], descriptions.version_number(listed["version"]), listed["running"]
        self.install, self.many_users = listed["install_folder"]["windows"].lower(), many_users
        self.family = "vantage" if "Vantage" in self.name else self.name.split()[0].lower()
        configuration = listed["configuration_folder"]["windows"].lower().rstrip("\\")
        self.user = self.install if configuration.startswith("c:\\programdata") else configuration[:configuration.rindex("\\") + 1]

    def supports(self, name, version):
        name, version = name.lower(), descriptions.version_number(version)
        if self.family == "tidemark":
            stem = re.match("[^0-9]*", name)[0]
            stem = stem.rstrip(descriptions.BLANKS) if stem != name else name
            if "tidemark"[:len(stem)] == stem:
                return self.version >= version
            return name == "vantage" and self.version >= [6, 0, 0] and version <= [4, 0, 0]
        if self.family == "vantage" and not name.startswith("vantage"):
            return name.startswith("tidemark") and (version < [4, 0, 0] or self.version >= version)
        return name.startswith(self.family) and self.version >= version

    def tokens(self, destination):
        if self.name in ("Tidemark Nova", "Tidemark Vantage 4"):
            own = self.name == "Tidemark Nova" and self.many_users and "configuration\\" in destination.lower()
            return dict.fromkeys(["tidemark", "vantage"], self.user if own else self.install)
        return {self.family: self.install}

    def rewritten(self, place):
        if self.family == "prism":
            return re.sub(r"\\settings(?=\\)", r"\\configuration", place)
        if self.name == "Marlin Nova":
            for part in ("configuration\\include\\", "configuration\\helpmrf\\"):
                if part in place:
                    return MARLIN_PROGRAM + place[place.index(part):]
        return place

    def needs_restart(self, kind):
        return {"tidemark": kind not in (1, 2), "vantage": kind not in (1, 2), "prism": kind != 1, "marlin": True}.get(self.family, False)

    def resolve(self, destination, source, win_extension, tokens, left=None):
        known = dict(self.tokens(re.sub("[/:]", r"\\", destination) + "\\"), **FOLDERS)
        return installs.resolve(destination, source, win_extension, tokens, known, left, self.rewritten)


def supported(products, name, version):
    fitting = [product for product in reversed(products) if product.supports(name, version)]
    return next((product for product in fitting if product.running), fitting[0] if fitting else None)


def chosen(products, record):
    """(the product that an install picks, the lines that no product here takes)"""
    wanted = [line for line in record.products() if line.get("primary") or line.get("required")]
    missing = [line for line in wanted if supported(products, line.get("name"), line.get("version")) is None]
    primary = [supported(products, line.get("name"), line.get("version")) for line in wanted if line.get("primary")]
    return primary[0] if primary and not missing else None, missing


def placed(product, record):
    """(entry, place or None) of every file, in the order in which they are copied. Refused when one has no token at all."""
    tokens = {token.get("name"): token.get("definition") for token in record.records("file-tokens")}
    for token in record.records("file-tokens"):
        given = token.get("default" if token.get("prompt") else "definition")
        if given:  # one that names a later one keeps that one's text
            left = [installs.native(given)]
            tokens[token.get("name")] = given.startswith("$") and product.resolve(given, "", "", tokens, left) or left[-1]
    if product.name == "Tidemark Nova":
        descriptions.convert(record)
    out = []
    for entry in record.files():
        mac = entry.get("platform") == 1
        if not mac and not entry.get("destination").startswith("$"):
            raise installs.Refused()
        win = "" if entry.get("platform") else entry.get("win-extension")
        out.append((entry, None if mac else product.resolve(entry.get("destination"), entry.get("source"), win, tokens)))
    taken = [place for _, place in out if place]
    if any(place.startswith(other + "\\") for place in taken for other in taken):
        raise installs.Refused()  # a file where another one needs a folder
    return out


def restart(product, record, places):
    if any("$system" in entry.get("destination").lower() for entry, place in places if place):
        return "machine"
    scripts = any("jsextensions" in entry.get("destination").lower() for entry in record.files() if entry.get("platform") != 1)
    due = product.running and (record.root.get("requires-restart") or product.needs_restart(record.type()))
    return "product" if scripts or due else "none"


# ---- random ones

NAMES = ["Tidemark"] * 12 + ["Tidemark 4", "tidemark  6", "Tidemark Nova", "Tide", "T", "", "9", "Tidemark ", "Tidemarks", "Vantage",
                             "vantage", "Vantage 4", "Tidemark Vantage", "Prism", "prism", "Prism Nova", "Prisma", "Marlin",
                             "marlin nova", "Mar", "Quarry", "QUARRY 2", "Other"]
VERSIONS = ["", "0", "1", "1.5", "2", "2", "2.0.1", "3", "3.9.9", "4", "4", "4.0", "4.0.1", "4.0.2", "4.0.3",
            "4.1", "5", "5.0.1", "6", "6.0.1", "6.0.1.9", "6.0.2", "7", "10"]
SOURCES = ["f1.htm", "sub/f2.HTM", "sub\\f3.gif", "read me", "f.tar.gz", "Settings"]
INSIDE = ["Configuration/Second", "configuration\\Second/deep", "Settings/Second", "Second/settings/Settings/x",
          "Settingsx/Second", "Configuration/Include/Second", "Second/Configuration\\HelpMRF/x", "Second",
          "Configuration/JSExtensions/Second", "Second.Configuration/x",
          "Configuration/Objects/Second", "Configuration/ServerBehaviors/ASP/Second", "Configuration/Reference/Second"]
DEFINITIONS = ["$tidemark/Configuration/Second", "$vantage", "$Prism\\Settings\\Second", "$nowhere/x", "$marlin:Second",
               "$quarry/Second"]


def random_document(random, products, system=True):
    here = [product.family for product in products]
    lines = [[("name", random.choice(NAMES if random.random() < 0.4 else here)), ("version", some(random, VERSIONS, 0.8)),
              ("primary", some(random, ["true", "1", "no"], 0.4)), ("required", some(random, ["true", "0", "0"], 0.15))]
             for _ in range(random.choice([0] + [1, 2] * 4 + [3]))]
    heads = ["$Tidemark", "$tidemark", "$VANTAGE", "$prism", "$Marlin", "$quarry", "$home", "$Shelf", "$unknown"] + (
        ["$system", "$fonts"] if system else [])
    files = []
    for _ in range(random.randrange(6)):
        source = random.choice(SOURCES)
        place = random.choice(heads) + random.choice(["/", "\\", ":"]) + random.choice(INSIDE) + random.choice(
            ["", "/", "\\", "/" + re.split(r"[/\\]", source)[-1].upper()])
        if random.random() < 0.02:
            place = random.choice(["\\" + place, "Second/", "C:/Second", "\\\\" + place])
        files.append([("source", source), ("destination", place), ("platform", some(random, ["win", "mac", "any"], 0.4)),
                      ("shared", some(random, ["true"], 0.2)), ("win-extension", some(random, ["txt"], 0.4)),
                      ("systemfile", some(random, ["true"], 0.1 if system else 0))])
    tokens = []
    for name in random.sample(["Home", "SHELF", "tidemark", "prism"], random.randrange(4)):
        asked = random.random() < 0.3
        folder = ("default", some(random, ["$system/Second", "C:/Sites/Second"], 0.9))
        tokens.append([("name", name)] + ([("prompt", "Where?"), folder] if asked else [("definition", some(random, DEFINITIONS, 0.9))]))

    def part(name, child, entries):
        return element(random, name, [], "".join(element(random, child, entry) for entry in entries)) if entries else ""

    return element(random, "kestrel-extension", [
        ("name", "Second Reading"), ("version", "1.0"), ("type", spelled(random, random.choice(["command", "object", "site", "gadget"]))),
        ("requires-restart", some(random, ["true"], 0.2))],
        part("products", "product", lines) + part("file-tokens", "token", tokens) + part("files", "file", files))
