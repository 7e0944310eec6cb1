"""Random menu-format files as a host writes them, and random changes to them."""
from menus import ALL, BARS, COMMANDS, GET_MORE, HELP, MISC, Node

IDS = ["Alpha", "Beta", "Gamma", "Delta", "TMMenu_File", "TMMenu_File_SaveAll", "TMMenu_File_SaveAllFrames",
       "TMMenu_TM_Help_ResourceCenter", "TMMenu_Help_ResourceCenter"]
VALUES = ["plain", "A & B", "_File", "R&D", "one && two", "caf&eacute; &#233;", "it's", "<% x %>", "tm.run('a', 1)", "a -> b", ""]
TEXTS = ["tools of ours", "keep together", "host's own"]


def spelled(random, text):
    return text if random.random() < 0.7 else random.choice([text.lower(), text.upper()])


def some_id(random, empty=0.1):
    return "" if random.random() < empty else spelled(random, random.choice(IDS))


def attributes(random, names, empty_id=0.1):
    out = {}
    for name in random.sample(names, len(names)):
        if name == "id":
            value = some_id(random, empty_id)
        elif name == "domRequired":
            value = random.choice(["true", "false", "yes", "0", ""])
        elif name == "visibility":
            value = random.choice(["hidden", "visible", "HIDDEN"])
        elif name == "dynamic":
            value = "true"
        elif name == "file":
            value = random.choice(["Commands/a.htm", "Menus/b c.htm"])
        elif name == "platform":
            value = random.choice(["win", "mac"])
        else:
            value = random.choice(VALUES)
        if name == "id" or random.random() < 0.4:
            out[name] = value
    return out


NAMES = {
    "menubar": ["name", "id", "platform", "app"],
    "formats": ["name", "id"],
    "menu": ["name", "id", "platform", "app", "visibility"],
    "menuitem": ["name", "id", "key", "platform", "app", "arguments", "command", "enabled", "checked", "file", "dynamic",
                 "domRequired"],
    "format": ["title", "id", "expression", "platform", "visibility", "file", "style", "wrap"],
    "shortcutlist": ["id", "platform", "app"],
    "shortcut": ["key", "file", "arguments", "platform", "app", "command", "id", "domRequired", "name", "checked",
                 "enabled", "dynamic"],
}


def host_node(random, tag, depth):
    if tag == "comment":
        return Node("comment", text=random.choice(TEXTS))
    if tag == "separator":
        node = Node("separator", attributes(random, ["platform", "app"]))
        if random.random() < 0.5:
            node.references = sorted({random.choice(["Alpha", "Beta", "standard", "Other"]) for _ in range(2)})
        if random.random() < 0.2:
            node.attributes["id"] = "Host"
        return node
    node = Node(tag, attributes(random, NAMES[tag]))
    if tag == "menu" or tag in BARS:
        for _ in range(random.randrange(5)):
            kinds = ["menuitem"] * 4 + ["separator"] * 3 + ["format", "comment"] + (["menu"] * 3 if depth < 3 else [])
            node.children.append(host_node(random, random.choice(kinds), depth + 1))
    elif tag == "shortcutlist":
        for _ in range(random.randrange(4)):
            node.children.append(host_node(random, random.choice(["shortcut"] * 4 + ["comment"]), depth + 1))
    return node


def host_file(random):
    tops = ["menubar"] * 4 + ["formats", "menu", "shortcutlist", "shortcutlist", "comment"]
    file = [host_node(random, random.choice(tops), 0) for _ in range(random.randrange(1, 6))]
    named = [(COMMANDS, 0.4), (HELP, 0.5), (MISC, 0.1)]
    for name, share in named:
        if random.random() < share:
            bar = next((n for n in file if n.tag in BARS), None)
            if bar is None:
                bar = Node("menubar", {"id": "Main"})
                file.append(bar)
            menu = host_node(random, "menu", 1)
            menu.attributes["id"] = name
            if name == COMMANDS and random.random() < 0.5:
                menu.children.insert(random.randrange(len(menu.children) + 1), Node("menuitem", {"name": "More", "id": GET_MORE}))
            bar.children.insert(random.randrange(len(bar.children) + 1), menu)
    return file


def as_host_writes(random, nodes, level=0):
    """The host's own text: attributes in any order, unknown ones and unknown elements strewn in."""
    out = ""
    for node in nodes:
        tabs = "\t" * level
        if node.tag == "comment":
            out += "%s<!--%s-->\r\n" % (tabs, random.choice([" %s ", "%s", "  %s"]) % node.text)
            continue
        pieces = []
        for name, value in node.attributes.items():
            if name == "dynamic" and random.random() < 0.7:
                pieces.append("dynamic")
            else:
                pieces.append('%s="%s"' % (name, value))
        if node.references:
            pieces.append('references="%s"' % (",".join(node.references) + random.choice(["", ","])))
        if node.tag != "format" and random.random() < 0.1:
            pieces.append('colour="red"')
        name = node.tag if node.tag in BARS or random.random() < 0.9 else node.tag.upper()
        head = "%s<%s%s" % (tabs, name, "".join(" " + piece for piece in pieces))
        if "dynamic" in pieces and pieces[-1] == "dynamic":
            head += " " # the bare word stands between blanks
        if node.children or (node.tag in BARS + ("menu", "shortcutlist") and random.random() < 0.5):
            out += "%s>\r\n%s%s</%s>\r\n" % (head, as_host_writes(random, node.children, level + 1), tabs, name)
        else:
            out += head + ("/>" if head.endswith(" ") else random.choice([" />", "/>"])) + "\r\n"
        if level > 0 and random.random() < 0.05:
            out += '%s<novelty of="it"><menuitem id="Alpha" /></novelty>\r\n' % tabs
    return out


# ---- changes

def payload_node(random, tag):
    if tag == "comment":
        return Node("comment", text=random.choice(TEXTS))
    if tag == "separator":
        node = Node("separator", attributes(random, ["platform", "app"]))
        if random.random() < 0.8:
            node.attributes["id"] = random.choice(["Alpha", "Beta", "Sep"])
        return node
    names = [name for name in NAMES[tag] if not (tag == "shortcut" and name in ("enabled", "dynamic"))]
    node = Node(tag, attributes(random, names))
    return node


def change(random):
    kind = random.choice(["menu-insert"] * 6 + ["menu-remove", "shortcut-insert", "shortcut-insert", "shortcut-remove"])
    if kind in ("menu-remove", "shortcut-remove"):
        return {"kind": kind, "id": some_id(random)}
    count = random.randrange(1, 5)
    if kind == "menu-insert":
        kinds = ["menubar"] + ["menu"] * 3 + ["menuitem"] * 5 + ["format", "separator", "separator", "comment"]
        return {"kind": kind, "location": random.choice([some_id(random), some_id(random), "Nowhere", MISC, COMMANDS]),
                "action": random.choice(["insertBefore", "insertAfter", "prependTo", "appendTo"]),
                "skipSeparator": random.random() < 0.3,
                "payload": [payload_node(random, random.choice(kinds)) for _ in range(count)]}
    kinds = ["shortcutlist"] + ["shortcut"] * 3 + ["comment"]
    return {"kind": kind, "list": some_id(random, 0.3),
            "payload": [payload_node(random, random.choice(kinds)) for _ in range(count)]}


def as_author_writes(random, changes):
    out = ""
    for one in changes:
        if one["kind"].endswith("-remove"):
            out += '\t\t<%s id="%s" />\r\n' % (one["kind"], one["id"])
            continue
        if one["kind"] == "menu-insert":
            name = one["action"] + random.choice(["", "Id", "MenuId", "Menu"])
            out += '\t\t<menu-insert %s="%s"%s>\r\n' % (name, one["location"],
                                                        ' skipSeparator="true"' if one["skipSeparator"] else "")
        else:
            out += '\t\t<shortcut-insert listId="%s">\r\n' % one["list"]
        for node in one["payload"]:
            if node.tag == "comment":
                out += "\t\t\t<comment>%s</comment>\r\n" % random.choice([" %s ", "%s"]).__mod__(node.text)
                continue
            pieces = ['%s="%s"' % (name, value) for name, value in node.attributes.items()]
            out += "\t\t\t<%s%s />\r\n" % (node.tag, "".join(" " + piece for piece in pieces))
        out += "\t\t</%s>\r\n" % one["kind"]
    return out
