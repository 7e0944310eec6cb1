"""Where the files of an extension go, what stays when it is removed, read from the rules alone; on Tidemark Nova."""

INSTALL_FOLDER = "c:\\program files\\kestrel\\tidemark 6\\"
MOST_PASSES = 200


class Refused(Exception):
    """The install is given up: nothing is placed."""


def native(path):
    return path[:2].replace("/", "\\") + path[2:].replace("/", "\\").replace(":", "\\")


def file_name(path):
    return path[path.rfind("\\") + 1:]


def resolve(destination, source, win_extension, tokens, known=None, left=None, rewritten=lambda place: place):
    """The place in lower case, as the product has it rewritten; `left`, a list, takes what a token that is not known
    leaves. Refused without any token."""
    destination = native(destination)
    name = file_name(native(source))
    if file_name(destination).lower() == name.lower():
        destination = destination[:destination.rfind("\\") + 1]
    if destination.startswith("\\") and not destination.startswith("\\\\"):
        destination = destination[1:]
    if not destination.endswith("\\"):
        destination += "\\"
    if not destination.startswith("$"):
        raise Refused()
    known = dict(known or {"tidemark": INSTALL_FOLDER, "vantage": INSTALL_FOLDER})
    for token, value in tokens.items():
        known.setdefault(token.lower(), value)
    for _ in range(MOST_PASSES):
        if not destination.startswith("$"):
            break
        end = destination.find("\\")
        value = known.get(destination[1:end].lower())
        if value is None:
            (left if left is not None else []).append(destination)
            return None
        destination = (value if value.endswith("\\") else value + "\\") + destination[end + 1:]
    else:
        return None
    if "." not in name and win_extension:
        name += "." + win_extension
    place = rewritten((destination + name).lower())
    if source and not place[1:3] == ":\\":
        raise Refused()  # a token without a value leads to no drive
    return place


class Extension:
    """`files`: dictionaries with source, destination, platform, shared, win (extension), missing (on the disk).
    `tokens`: (name, definition, prompt, chosen); chosen answers the prompt."""

    def __init__(self, files, tokens):
        self.files = files
        self.tokens = tokens

    def definitions(self):
        values = {}
        for name, definition, prompt, chosen in self.tokens:
            if prompt:
                values[name] = chosen
            elif definition:
                place = resolve(definition, "", "", {})
                values[name] = definition if place is None else place
            else:
                values[name] = ""
        return values

    def placed(self):
        """(entry, place) of what is placed, in order."""
        values = self.definitions()
        for entry in self.files:
            if entry["platform"] == "mac":
                continue
            if not entry["destination"].startswith("$"):
                raise Refused()
            win = entry["win"] if not entry["platform"] else ""
            place = resolve(entry["destination"], entry["source"], win, values)
            if place is None:
                continue
            if entry["missing"]:
                raise Refused()
            yield entry, place

    def install(self, disk):
        places = list(self.placed())
        for entry, place in places:
            disk[place] = entry["content"]

    def uninstall(self, disk, others):
        """`others`: places of files of other extensions."""
        for entry, place in self.placed():
            if not (entry["shared"] and place in others):
                disk.pop(place, None)


def random_extension(random):
    words = ["Commands", "shared", "Zone", "zone/Deep", "a b", "Grund", "X.y"]
    tokens = []
    for name in random.sample(["Home", "work", "SHELF", "tidemark"], random.randrange(0, 4)):
        prompt = random.random() < 0.4
        definition = random.choice(["", "$tidemark/Second/%s" % name, "$Vantage\\Second\\T", "$nowhere/x"])
        tokens.append((name, definition, "Where is %s?" % name if prompt else "",
                       "c:\\sites\\%s" % name.lower() if prompt else ""))
    files = []
    for number in range(random.randrange(1, 9)):
        name = random.choice(["f%d.htm", "F%d.HTM", "read me%d", "f%d.tar.gz"]) % random.randrange(4)
        source = random.choice(["", "sub/", "sub\\two/"]) + name
        folder = random.choice(words)
        destination = random.choice(["$tidemark", "$Tidemark", "$VANTAGE", "$home", "$Work", "$shelf", "$unknown"]) + \
            random.choice(["/", "\\"]) + "Second/" + folder
        destination += random.choice(["", "/", "\\", "/" + name, "/" + name.upper()])
        if random.random() < 0.03:
            destination = random.choice(["Second/", "\\$tidemark/Second", "/$tidemark/Second", "C:/Second"])
        files.append({"source": source, "destination": destination, "platform": random.choice(["", "", "", "win", "mac"]),
                      "shared": random.random() < 0.3, "win": random.choice(["", "", "txt"]),
                      "missing": random.random() < 0.01, "content": "%s %d" % (source, random.randrange(1000))})
    # one file on the disk has one content
    contents = {}
    for entry in files:
        key = native(entry["source"]).lower()
        entry["source"], entry["content"], entry["missing"] = contents.setdefault(
            key, (entry["source"], entry["content"], entry["missing"]))
    return Extension(files, tokens)


def describe(name, extension):
    lines = ['<kestrel-extension name="%s" version="1.0" type="Command">' % name,
             '<products><product name="Tidemark" version="6" primary="true" /></products>']
    if extension.tokens:
        lines.append("<file-tokens>")
        for token, definition, prompt, _ in extension.tokens:
            lines.append('<token name="%s"%s%s />' % (token, ' definition="%s"' % definition if definition else "",
                                                      ' prompt="%s"' % prompt if prompt else ""))
        lines.append("</file-tokens>")
    lines.append("<files>")
    for entry in extension.files:
        lines.append('<file source="%s" destination="%s"%s%s%s />' % (
            entry["source"], entry["destination"], ' platform="%s"' % entry["platform"] if entry["platform"] else "",
            ' shared="true"' if entry["shared"] else "", ' win-extension="%s"' % entry["win"] if entry["win"] else ""))
    return "\n".join(lines + ["</files>", "</kestrel-extension>", ""])
