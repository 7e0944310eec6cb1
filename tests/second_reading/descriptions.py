"""A description, read simply: from its bytes to a record, what its writer keeps, what an older one becomes in version 6."""
import copy
import re
from xml.parsers import expat

import menus

BLANKS = " \t\r\n"
REPAIRS = [("&", "&amp;"), ("<%", "&lt;%"), ("%>", "%&gt;"), ("+<", "+&lt;"), ("+>", "+&gt;"), ("'", "&apos;")]
CLEAN = [("&amp;", "&"), ("&apos;", "'"), ("+&lt;", "+<"), ("+&gt;", "+>"), ("  ", " "), ("\r\n\r\n", "\r\n"), ("\r\r", "\r"),
         ("\n\n", "\n"), ("<BR>", "<br>"), (" <br>", "<br>"), ("<br> ", "<br>"), ("<br>\r\n", "<br>"), ("<br>\r", "<br>"),
         ("<br>\n", "<br>"), ("\r", "<br>"), ("\n", "<br>")]
TYPES = [words.split("|") for words in (
    "command;object;action|behavior;browserprofile|browser "
    "profile;translator;dictionary;encoding;floater;inspector|property inspector|propertyinspector;jsextension|js "
    "extension|javascript extension;query;template;thirdpartytags|third party tags|3rd party "
    "tags;plugin;serverbehavior|server behavior;serverformat|server format;datasource|data source;servermodel|server "
    "model;suite;report;marlinbuttontemplate|marlin button template|marlinbutton template|marlin buttontemplate|marlin "
    "button style|marlinbutton style|marlin buttonstyle|marlinbuttonstyle;snap reel|snapreel;marlin "
    "script|marlinscript;lesson;sample;utility;library;style;texture;modlet;pattern;keyboard shortcuts|keyboard "
    "shortcut|keyboardshortcuts|keyboardshortcut;quarryobject|quarry object|quarry;publish|publish "
    "template|publishtemplate;marlin component|marlincomponent;marlin custom action|marlin custom "
    "marlinscript|marlincustommarlinscript|marlincustomaction;marlin panel|marlin mrf panel|marlin dynamic "
    "panel|marlinpanel;marlin importer|marlinimporter;marlin template|marlintemplate;tag library|taglibrary;tag "
    "importer|tagimporter;coloring scheme|coloringscheme;document type|documenttype;code hint|codehint;code "
    "snippet|codesnippet;site;toolbar;help book|helpbook;connection;sample content|samplecontent|content").split(";")]

ACTIONS = ["insertBefore", "insertAfter", "appendTo", "prependTo"]
FOLDER = "server=folder servermodel=folder folder servermodelfolder=folder"
MENU_PLACES = " ".join("%s%s=%s:place" % (action, ending, action) for action in ACTIONS for ending in ("", "Id", "MenuId", "Menu"))
PLACES = " ".join("%s:place" % action for action in ACTIONS)
SETS = {"configuration-changes": ("", "Menus\\Menus.xml"), "toolbar-changes": ("file", "Toolbars\\toolbars.xml"),
        "insertbar-changes": ("", "Objects\\insertbar.xml"), "server-behavior-changes": (FOLDER, "ServerBehaviors\\%s\\ServerBehaviors.xml"),
        "server-format-changes": (FOLDER, "ServerFormats\\%s\\ServerFormats.xml"),
        "server-format-definition-changes": (FOLDER, "ServerFormats\\%s\\Formats.xml"),
        "data-source-changes": (FOLDER, "DataSources\\%s\\DataSources.xml"),
        "documenttype-changes": ("", "DocumentTypes\\KRDocumentTypes.xml"), "taglibrary-changes": ("", "TagLibraries\\TagLibraries.vtm"),
        "source-format-changes": ("", "\\SourceFormat.txt"), "ftp-extension-map-changes": ("", "\\FTPExtensionMap.txt"),
        "extensions-changes": ("", "\\Extensions.txt")}
HELP_SETS = {"help-changes": ("", ""), "helpbook-changes": ("", "help.xml")}
CHANGES = {  # attributes as NAME=PROPERTY:KIND; pushed when it may hold something
    "menu-remove": "id menuid=id", "shortcut-remove": "id", "element-insert": "name break indent:tri indentGroup:group namecase noformat:tri",
    "element-remove": "name:first", "attribute-insert": "name namecase samecase:tri", "attribute-remove": "name:first",
    "ftp-extension-insert": "extension mac-creator mac-file-type type:ascii", "ftp-extension-remove": "extension",
    "extension-insert": "extension description", "extension-remove": "extension description",
    "documenttype-remove": "id", "taglibrary-remove": "id", "helpbook-remove": "id"}
PUSHED_CHANGES = {"menu-insert": MENU_PLACES + " skipSeparator:truthy", "shortcut-insert": "listId", "documenttype-insert": "",
                  "taglibrary-insert": "", "helpbook-insert": ""}
BAR_CHANGES = {"toolbar-insert": "", "insertbar-insert": "insertBefore:place insertAfter:place",
               "toolbar-item-insert": PLACES + " toolbar", "insertbar-item-insert": PLACES + " category", "toolbar-remove": "id",
               "toolbar-item-remove": "id", "insertbar-remove": "id", "insertbar-item-remove": "id"}
PAYLOAD = {"menu-insert": {"menubar": "name id platform app", "menu": "name id platform app visibility:hidden",
                           "menuitem": "name id key platform app arguments command enabled checked file:path dynamic domRequired:truthy",
                           "format": "title id expression platform visibility:hidden file:path *"},
           "shortcut-insert": {"shortcutlist": "id platform app",
                               "shortcut": "key file:path arguments platform app command id domRequired:truthy name checked"}}
RECORDS = {"token": ("file-tokens", "name prompt default definition"),
           "file": ("files", "source name=source destination location=destination platform:platform shared:truthy systemfile:truthy "
                             "actual-path win-extension"),
           "product": ("products", "name version primary:truthy required:truthy")}
DEFAULTS = {"menuitem": {"domRequired": True}, "shortcut": {"domRequired": True},
            "ftp-extension-insert": {"mac-creator": "????", "mac-file-type": "????"}}
ROOTS = ("kestrel-extension", "kestrel-package")


def replaced(text, pairs):
    for old, new in pairs:
        text = text.replace(old, new)
    return text


def restored(text):
    return replaced(text, [(new, old) for old, new in REPAIRS])


def version_number(text):
    """Three numbers with dots between them, up to the first other character."""
    return [int(part or "0") for part in re.match("([0-9]*)(?:[.]([0-9]*)(?:[.]([0-9]*))?)?", text).groups()]


class Node:
    """`kind`: set, help set, change, the element for a payload holder or a container, plain, comment, menu (its objects)."""

    def __init__(self, tag, kind):
        self.tag, self.kind, self.text, self.properties, self.children = tag, kind, "", {}, []

    def get(self, name):
        return self.properties.get(name, "")

    def shape(self, written=False):
        """What tells it from another one; `written`: as it is after one write and read."""
        values = dict(DEFAULTS.get(self.tag, {}), **self.properties)
        if written and self.tag in ("menu", "menuitem"):
            values["name"] = menus.underscored(self.get("name"))
        if written and self.kind != "plain":
            values = {name: restored(value) if isinstance(value, str) else value for name, value in values.items()}
        values = {name: value for name, value in values.items() if value not in ("", 0, False)}
        return (self.tag, values, self.text.strip(BLANKS), [child.shape(written) for child in self.children])


class Description:
    def __init__(self, data):
        self.root = {}
        self.author, self.texts, self.unknown, self.code = "", {"description": "", "ui-access": "", "license-agreement": ""}, [], 0
        self.containers = {tag: Node(tag, tag) for tag in ("file-tokens", "files", "products")}
        self.sets, self.help_sets, self.found, self.several_primary = [], [], False, False
        self.stack, self.inside, self.in_comment, self.run, self.in_cdata = [], set(), False, "", False
        self.shift_jis = self.parse(data)
        if self.code == 0 and not self.found:
            self.code = -2
        if self.code == 0:
            self.settle()

    def parse(self, data):
        data = data.rstrip("\x00\x1a")
        data = data[3:] if data.startswith("\xef\xbb\xbf") else data
        declaration = re.match(r"\s*<\?xml\s.*?\?>", data, re.S)
        data = data[declaration.end():] if declaration else data
        parser = expat.ParserCreate("iso-8859-1")
        parser.StartElementHandler, parser.EndElementHandler = self.start, self.end
        parser.CharacterDataHandler = self.characters
        parser.CommentHandler = parser.ProcessingInstructionHandler = lambda *_: self.flush()
        parser.StartCdataSectionHandler, parser.EndCdataSectionHandler = self.cdata_start, self.cdata_end
        parser.ordered_attributes = True
        try:
            for line in re.split("\r\n|\r|\n", data):
                if "/ >" in line:
                    self.code = -3
                    return False
                parser.Parse((replaced(line, REPAIRS) + "\n").encode("latin-1"))
            parser.Parse(b"", True)
        except expat.ExpatError:
            self.code = 1
        return bool(declaration and re.search("sjis|shift[_-]jis", declaration.group(), re.I))

    def characters(self, text):
        self.run += text

    def flush(self):
        pieces, self.run = (re.findall("\n|[^\n]+", self.run) if self.in_cdata else [self.run]), ""
        for piece in pieces:
            self.text(piece)

    def cdata_start(self):
        self.flush()
        self.in_cdata = True

    def cdata_end(self):
        self.flush()
        self.in_cdata = False

    def top(self):
        return self.stack[-1] if self.stack else None

    def text(self, text):
        current = self.top()
        if self.in_comment:
            if current is not None and current.kind == "comment":
                current.text += text.split("</")[0]
            return
        text = text if self.in_cdata else text.strip(BLANKS)
        for flag in ("description", "ui-access", "license-agreement"):
            if flag in self.inside:
                if flag == "description" and not text.startswith("\n"):
                    text = text.strip(BLANKS)
                self.texts[flag] += text
                return
        if current is not None:
            current.text += text

    def fill(self, node, table, attributes, silent=False):
        known = {}
        for entry in table.split():
            names, _, kind = entry.partition(":")
            name, _, target = names.partition("=")
            known[name.lower()] = (target or name, kind)
        for number, (name, value) in enumerate(attributes):
            if name.lower() not in known:
                if "*" in known:
                    node.properties[name] = value
                elif not silent:
                    self.unknown.append(name)
                continue
            target, kind = known[name.lower()]
            if kind == "place":
                node.properties["action"], target = target, "location"
            elif kind == "truthy":
                value = value[:1] in tuple("1YyTt")
            elif kind == "tri":
                value = {"true": 1, "false": 2}.get(value.lower(), 0)
            elif kind == "hidden":
                value = value.lower() == "hidden" or node.get(target)
            elif kind == "group":
                value = int(value) if re.fullmatch("[1-8]", value) else node.get(target)
            elif kind == "ascii":
                value = {"ascii": 1, "binary": 0}.get(value.lower(), node.get(target))
            elif kind == "path":
                value = re.sub(r"[:\\]", "/", value)
            elif kind == "platform":
                value = {"mac": 1, "win": 2}.get(value[:3].lower(), 0)
            elif kind == "first" and number > 0:
                continue
            node.properties[target] = value
        return node

    def push(self, node, parent=None):
        if parent is not None:
            parent.append(node)
        self.stack.append(node)

    def start(self, name, flat):
        self.flush()
        attributes = list(zip(flat[::2], flat[1::2]))
        tag, current = name.lower(), self.top()
        kind = current.kind if current is not None else None
        if tag in ROOTS:
            self.found = True
            self.root.update(self.fill(Node(tag, "root"), "id name version requires-restart:truthy type", attributes).properties)
        elif tag in ("ui-access", "license-agreement") or (tag == "description" and current is None):
            self.inside.add(tag)
        elif tag == "author":
            self.author = self.fill(Node(tag, "author"), "name", attributes).properties.get("name", self.author)
        elif tag in self.containers:
            self.push(self.containers[tag])
        elif tag in RECORDS:
            node = self.fill(Node(tag, "record"), RECORDS[tag][1], attributes)
            if kind == RECORDS[tag][0]:
                current.children.append(node)
        elif tag == "comment" and current is not None:
            self.push(Node(tag, "comment"), current.children)
            self.in_comment = True
        elif tag in SETS or tag in HELP_SETS:
            table = (SETS.get(tag) or HELP_SETS.get(tag))[0]
            silent = tag in ("configuration-changes", "help-changes", "toolbar-changes")
            self.push(self.fill(Node(tag, "set" if tag in SETS else "help set"), table, attributes, silent),
                      self.sets if tag in SETS else self.help_sets)
        elif tag in CHANGES or tag in PUSHED_CHANGES:
            silent = tag.endswith("-remove") and tag.split("-")[0] in ("element", "attribute")
            node = self.fill(Node(tag, tag), CHANGES.get(tag, PUSHED_CHANGES.get(tag)), attributes, silent)
            if kind == ("help set" if tag.startswith("helpbook") else "set"):
                current.children.append(node)
            if tag in PUSHED_CHANGES:
                self.push(node)
        elif any(tag in objects for objects in PAYLOAD.values()):
            if tag in PAYLOAD.get(kind, {}):
                current.children.append(self.fill(Node(tag, "menu"), PAYLOAD[kind][tag], attributes))
        elif tag == "separator" and kind == "menu-insert":
            current.children.append(self.fill(Node(tag, "menu"), "platform app id", attributes))
        elif tag in BAR_CHANGES and current is not None:
            self.push(self.fill(Node(tag, tag), BAR_CHANGES[tag], attributes, True), current.children)
        else:
            node = Node(name, "plain")
            node.properties.update(attributes)
            if tag == "separator" and current is not None:
                current.children.append(node)
            else:
                self.push(node, current.children if current is not None else None)

    def end(self, name):
        self.flush()
        tag, current = name.lower(), self.top()
        if tag in ("ui-access", "license-agreement") or (tag == "description" and current is None):
            self.inside.discard(tag)
        elif tag == "comment":
            self.in_comment = False
            if self.stack:
                self.stack.pop()
        elif current is not None and current.tag.lower() == tag:
            self.stack.pop()

    def settle(self):
        for name, text in self.texts.items():
            self.texts[name] = replaced(text.strip(BLANKS), CLEAN)
        primaries = [product for product in self.products() if product.get("primary")]
        self.several_primary = len(primaries) > 1
        for product in primaries[1:] or []:
            product.properties["primary"] = False
        if not primaries and self.products():
            self.products()[0].properties["primary"] = True
        if any(".." in entry.get("source") or ".." in entry.get("destination") for entry in self.files()):
            self.code = -5

    def records(self, container):
        return [node for node in self.containers[container].children if node.kind == "record"]

    def files(self):
        return self.records("files")

    def products(self):
        return self.records("products")

    def type(self):
        keyword = self.root.get("type", "").lower()
        return next((number + 1 for number, words in enumerate(TYPES) if keyword in words), 0)

    def changes(self):
        """(set, file, change) of each."""
        out = []
        for one in self.sets + self.help_sets:
            path = dict(SETS, **HELP_SETS)[one.tag][1]
            if one.tag == "toolbar-changes":
                path = "Toolbars\\" + (one.get("file") or "toolbars.xml")
            out += [(one.tag, path.replace("%s", one.get("folder")), change.tag) for change in one.children if change.kind == change.tag]
        return out

    def written(self):
        """What one that its writer wrote and this reader read again holds."""
        after = copy.deepcopy(self)
        for name in ("description", "ui-access"):
            text = replaced(self.texts[name], [("&nbsp", "*nbsp"), ("&", "&amp"), ("*nbsp", "&nbsp"), ("<br>", "<br>\r\n"),
                                               ("+<", "+&lt"), ("+>", "+&gt")])
            again = Description("<kestrel-package>\r\n<%s>\r\n\t<![CDATA[\r\n\t%s\r\n\t]]>\r\n</%s></kestrel-package>" %
                                (name, text, name))
            after.texts[name] = again.texts[name]
        after.texts["license-agreement"], after.several_primary = "", False
        for sets, first in ((after.sets, "configuration-changes"), (after.help_sets, "help-changes")):
            if sets and sets[0].tag != first:
                sets.insert(0, Node(first, "set"))
        return after

    def shape(self, written=False):
        version = version_number(self.root.get("version", ""))
        head = [self.root.get(name, "") for name in ("id", "name", "type")] + [version, self.author,
                bool(self.root.get("requires-restart")), self.texts, self.several_primary, self.shift_jis]
        return head + [one.shape() for one in self.containers.values()] + [one.shape(written) for one in self.sets] + \
            [one.shape() for one in self.help_sets]


# ---- what version 6 of the web editor makes of an older one

SERVER_FOLDERS = ["connections/scripts", "serverbehaviors", "datasources", "serverformats", "connections"]
CATEGORIES = dict({name: name for name in "Common Text Tables Frames Forms Templates Characters Media Head Script ASP JSP Server".split()},
                  Tools="Layout")
MODELS = {"ASP.NET C#": "ASP.NET_CSharp", "ASP.NET VB": "ASP.NET_VB", "ASP VBScript": "ASP_Vbs", "ASP JavaScript": "ASP_Js",
          "PHP MySQL": "PHP_MySQL", "Harbor": "VN4-Harbor"}


def stem(path):
    folder, dot, extension = path.rpartition(".")
    return re.sub(r"[:/]", r"\\", folder if dot and not re.search(r"[\\/:]", extension) else path).lower()


def extension_of(path):
    return path.rpartition(".")[2].lower() if "." in re.split(r"[\\/:]", path)[-1] else ""


def convert(record):
    server = any((product.get("primary") or product.get("required")) and product.get("name").lower() == "vantage"
                 for product in record.products())
    files, pages, icons = record.containers["files"].children, [], []

    def add(entry, start, length, name):
        twin, place = copy.deepcopy(entry), entry.get("destination")
        twin.properties["destination"] = place[:start] + name + place[start + length:]
        key = lambda one: (one.get("source").lower(), one.get("destination").lower())
        if all(key(one) != key(twin) for one in record.files()):
            files.append(twin)

    for entry in files:  # grows while it is walked
        if entry.kind != "record" or entry.get("platform") == 1:
            continue
        place = entry.get("destination")
        work = re.sub(r"[:\\]", "/", place.lower())
        work += "" if work.endswith("/") else "/"
        if "/configuration/" not in work:
            continue
        at = work.index("/configuration/") + len("/configuration/")
        if work[at:].startswith("reference/"):
            entry.properties["destination"] = place[:at] + "Content\\" + place[at:]
        elif server:
            folder = next((name for name in SERVER_FOLDERS if work[at:].startswith(name)), None)
            if folder is None or work[at + len(folder)] != "/":
                continue
            at += len(folder) + 1
            if work[at:].startswith("asp/"):
                add(entry, at, 3, "ASP_Vbs")
                add(entry, at, 3, "ASP_Js")
            elif work[at:].startswith("harbor/"):
                add(entry, at, 6, "VN4-Harbor")
        if "/configuration/objects/" in work:
            if extension_of(entry.get("source"))[:3] == "htm":
                pages.append(entry)
            elif extension_of(entry.get("source")) == "gif":
                icons.append(entry)
    if pages and icons and not any(one.tag == "insertbar-changes" for one in record.sets):
        insert_bar(record, pages, icons)
    copies = []
    for one in record.sets:
        if one.get("folder").lower() == "asp" and one.tag.startswith(("server-", "data-")):
            twin = copy.deepcopy(one)
            one.properties["folder"], twin.properties["folder"] = "ASP_Vbs", "ASP_Js"
            copies.append(twin)
        for old, new in MODELS.items():
            if one.get("folder").lower() == old.lower():
                one.properties["folder"] = new
    record.sets += copies


def below_objects(entry):
    """The folder below the objects folder without separators around it, and the file's name."""
    source, place = re.split(r"[/\\:]", entry.get("source"))[-1], re.sub(r"[/:]", r"\\", entry.get("destination"))
    if place.lower().split("\\")[-1] == source.lower():
        place = place[:place.rindex("\\")]
    inside = re.split(r"\\configuration\\objects\\", place + "\\", maxsplit=1, flags=re.I)[1]
    return inside.strip("\\"), source


def insert_bar(record, pages, icons):
    change = Node("insertbar-insert", "insertbar-insert")
    for page in pages:
        folder, name = below_objects(page)
        icon = next((one for one in icons if stem(one.get("source")) == stem(page.get("source"))), None)
        known = next((label for known, label in CATEGORIES.items() if known.lower() == folder.lower()), None)
        category = "TM_Insertbar_" + known if known else re.sub(r"[\\ ]", "_", "TM_Inserbar_" + folder)
        holder = next((one for one in change.children if one.get("id") == category), None)
        if holder is None:
            holder = Node("category", "plain")
            holder.properties = {"id": category, "folder": folder}
            change.children.append(holder)
        button = Node("button", "plain")
        inside = lambda entry: "\\".join(part for part in below_objects(entry) if part)
        button.properties = {"id": (record.root.get("name", "") + "_" + name.rpartition(".")[0]).replace(" ", "_"),
                             "image": inside(icon) if icon else "generic.gif", "file": inside(page)}
        holder.children.append(button)
    if not any(one.tag == "configuration-changes" for one in record.sets):
        record.sets.append(Node("configuration-changes", "set"))
    record.sets.append(Node("insertbar-changes", "set"))
    record.sets[-1].children.append(change)
