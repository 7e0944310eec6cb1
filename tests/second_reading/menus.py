"""Menu-format files, read simply: a tree of nodes, walked again for every question.

Makes random files and changes, says what an install and an uninstall leave of the file, and renders it as the host does.
"""
import re

BARS = ("menubar", "formats")
ORDER = {  # attributes in the order in which they are written; "!" marks those that are written also when empty
    "menubar": ["name", "id", "platform", "app"],
    "formats": ["name", "id", "platform", "app"],
    "menu": ["name", "id!", "platform", "visibility", "app"],
    "menuitem": ["dynamic", "name", "key", "enabled", "command", "checked", "file", "arguments", "platform", "app",
                 "domRequired", "id"],
    "separator": ["id", "platform", "app", "references"],
    "format": ["title!", "file", "visibility", "platform", "expression", "*", "id"],
    "shortcutlist": ["id!", "platform", "app"],
    "shortcut": ["key", "platform", "domRequired", "dynamic", "app", "file", "arguments", "command", "enabled", "name",
                 "checked", "id!"],
}
CONTAINERS = BARS + ("menu", "shortcutlist")
SUBSTITUTES = {
    "TMMenu_Window_Templates": "TMMenu_Window_Timelines",
    "TMMenu_File_SaveAllFrames": "TMMenu_File_SaveAll",
    "TMMenu_Insert_Frames_Split": "TMMenu_Modify_Frameset_SplitDown",
    "TMMenu_Help_ResourceCenter": "TMMenu_TM_Help_ResourceCenter",
}
COMMANDS, HELP, MISC = "TMMenu_Commands", "TMMenu_Help", "TMMenu_Commands_Misc"
GET_MORE = "TMMenu_Commands_GetMoreCommands"


class Node:
    def __init__(self, tag, attributes=None, children=None, text=""):
        self.tag, self.attributes, self.text = tag, dict(attributes or {}), text
        self.children = list(children or [])
        self.references = []

    def id(self):
        return self.attributes.get("id", "")

    def copy(self):
        twin = Node(self.tag, self.attributes, [], self.text)
        twin.references = list(self.references)
        return twin


def same_id(node, wanted):
    return wanted != "" and node.id().lower() == wanted.lower()


def only_comments(node):
    return all(child.tag == "comment" for child in node.children)


# ---- writing

def underscored(name):
    """An access key's "&" becomes "_"; a doubled one and an entity reference stay."""
    out, at = "", 0
    while at < len(name):
        if name.startswith("&&", at):
            out, at = out + "&&", at + 2
        elif name[at] == "&" and not re.match(r"&(#[0-9]+|#[xX][0-9a-fA-F]+|[A-Za-z_][\w.-]*);", name[at:]):
            out, at = out + "_", at + 1
        else:
            out, at = out + name[at], at + 1
    return out


def attribute_text(node):
    out = ""
    for entry in ORDER[node.tag]:
        name = entry.rstrip("!")
        if name == "*":
            known = {"title", "file", "visibility", "platform", "expression", "id"}
            out += "".join(' %s="%s"' % (n, v) for n, v in node.attributes.items() if n not in known)
            continue
        value = node.attributes.get(name, "")
        if name == "dynamic" and node.tag == "menuitem":
            out += " dynamic" if value else ""
        elif name == "dynamic":
            out += " dynamic" if value[:1] in tuple("1YyTt") else ""
        elif name == "visibility":
            out += ' visibility="hidden"' if value.lower() == "hidden" else ""
        elif name == "domRequired":
            out += ' domRequired="false"' if name in node.attributes and value[:1] not in tuple("1YyTt") else ""
        elif name == "references":
            kept = [reference for reference in node.references if reference]
            out += ' references="%s"' % ",".join(kept) if node.references else ""
        else:
            if name == "name" and node.tag in ("menu", "menuitem"):
                value = underscored(value)
            out += ' %s="%s"' % (name, value) if value or entry.endswith("!") else ""
    return out


def render(nodes, level=0):
    out = ""
    for node in nodes:
        tabs = "\t" * level
        if node.tag == "comment":
            out += "%s<!-- %s -->\r\n" % (tabs, node.text)
            continue
        out += "\r\n" if node.tag in BARS + ("shortcutlist",) else ""
        out += "%s<%s%s" % (tabs, node.tag, attribute_text(node))
        if node.tag in CONTAINERS:
            out += ">\r\n" + render(node.children, level + 1) + "%s</%s>\r\n" % (tabs, node.tag)
        else:
            out += " />\r\n"
    return out


# ---- questions

def bars(file):
    return [node for node in file if node.tag in BARS]


def free_menus(file):
    return [node for node in file if node.tag == "menu"]


def holders(file):
    """Where menu objects are looked for: the bars, then the menus outside of any bar."""
    return bars(file) + free_menus(file)


def within(node, matches):
    """The first match below `node`, depth first, and who holds it."""
    for child in node.children:
        if matches(child):
            return child, node
        if child.tag == "menu":
            found = within(child, matches)
            if found:
                return found
    return None


def find_bar(file, wanted):
    return next((bar for bar in bars(file) if same_id(bar, wanted)), None)


def find_menu(file, wanted):
    """(menu, its bar or None, the menu that holds it or None)"""
    matches = lambda node: node.tag == "menu" and same_id(node, wanted)
    for top in file:
        if top.tag == "menu" and matches(top):
            return top, None, None
        if top.tag in BARS + ("menu",):
            found = within(top, matches)
            if found:
                menu, holder = found
                bar = top if top.tag in BARS else None
                return menu, bar, None if holder is bar else holder
    return None


def find_object(file, tag, wanted):
    """(object, who holds it)"""
    for top in holders(file):
        found = within(top, lambda node: node.tag == tag and same_id(node, wanted))
        if found:
            return found
    return None


# ---- editing

def merge(target, other):
    """The attributes of `other`, never children."""
    if target.tag == "format":
        known = {"title", "file", "visibility", "platform", "expression", "id"}
        for name in known:
            target.attributes.pop(name, None)
        target.attributes.update(other.attributes)
    elif target.tag in BARS:
        target.tag, target.attributes = other.tag, dict(other.attributes)
    elif target.tag == "shortcutlist":
        target.attributes = dict(other.attributes)
    else:
        target.attributes = dict(other.attributes)


def tidy(menu):
    """Separators: none first, none last but alone, none after another."""
    if menu.children and menu.children[0].tag == "separator":
        menu.children.pop(0)
    while len(menu.children) > 1 and menu.children[-1].tag == "separator":
        menu.children.pop()
    again = True
    while again:
        again = False
        for first, second in zip(menu.children, menu.children[1:]):
            if first.tag == "separator" and second.tag == "separator":
                if not first.references or not second.references:
                    add_reference(first, "standard")
                for reference in second.references:
                    add_reference(first, reference)
                remove(menu.children, second)
                again = True
                break


def add_reference(separator, reference):
    if reference not in separator.references:
        separator.references.append(reference)


def remove(nodes, gone):
    nodes[:] = [node for node in nodes if node is not gone]


def index(nodes, wanted):
    return next(at for at, node in enumerate(nodes) if node is wanted)


def copied(payload):
    twin = payload.copy()
    if payload.tag == "separator":
        twin.attributes.pop("id", None)
        if payload.id():
            add_reference(twin, payload.id())
    return twin


def known_already(payload, target):
    if payload.tag in ("separator", "comment"):
        return None
    if payload.tag in ("menuitem", "format") and target.tag in BARS and not target.as_menu:
        found = within(target, lambda node: node.tag == payload.tag and same_id(node, payload.id()))
        return found[0] if found else None
    return next((node for node in target.children if node.tag == payload.tag and same_id(node, payload.id())), None)


Node.as_menu = False  # set while a bar is treated as the menu that holds an item


def place(target, payloads, kinds, at):
    """Copies the payload into `target` from place `at` on, in its order."""
    for payload in payloads:
        if payload.tag not in kinds:
            continue
        twin = known_already(payload, target)
        if twin is not None:
            merge(twin, payload)
        else:
            target.children.insert(at, copied(payload))
            at += 1


def place_backwards(target, payloads, kinds, at):
    """The same result for new objects, but taken from last to first: what is there already is told by what is there then."""
    for payload in reversed(payloads):
        if payload.tag not in kinds:
            continue
        twin = known_already(payload, target)
        if twin is not None:
            merge(twin, payload)
        else:
            target.children.insert(at(), copied(payload))


ALL = ("menu", "menuitem", "format", "separator", "comment")


def insert(file, change):
    """The code of the change; above 9 it failed."""
    wanted, action = change["location"], change["action"]
    payload = change["payload"]
    for again in (False, True):
        if wanted == "":
            for one in reversed(payload):
                put_bar(file, one, len(file))
            return 0
        bar = find_bar(file, wanted)
        if bar is not None:
            if action == "insertBefore":
                for one in payload:
                    put_bar(file, one, index(file, bar))
            elif action == "insertAfter":
                for one in reversed(payload):
                    put_bar(file, one, index(file, bar) + 1)
            elif action == "prependTo":
                place_backwards(bar, payload, ALL, lambda: 0)
            else:
                place(bar, payload, ALL, len(bar.children))
            return 0
        found = find_menu(file, wanted)
        if found:
            menu, bar, parent = found
            if action == "prependTo":
                place_backwards(menu, payload, ALL, lambda: 0)
                tidy(menu)
            elif action == "appendTo":
                place(menu, payload, ALL, len(menu.children))
                tidy(menu)
            else:
                beside(change, menu, bar, parent)
            return 0
        for tag in ("menuitem", "format"):
            found = find_object(file, tag, wanted)
            if found:
                if action in ("prependTo", "appendTo"):
                    return 10
                beside(change, found[0], None, found[1])
                return 0
        substitute = next((SUBSTITUTES[key] for key in SUBSTITUTES if key.lower() == wanted.lower()), None)
        if substitute is None:
            break
        if again:
            return 10
        wanted = substitute
    return last_resort(file, payload)


def put_bar(file, payload, at):
    if payload.tag == "comment":
        file.insert(at, copied(payload))
    elif payload.tag in BARS:
        twin = find_bar(file, payload.id())
        if twin is not None:
            merge(twin, payload)
        else:
            file.insert(at, copied(payload))


def beside(change, anchor, bar, menu):
    target = menu or bar
    if target is None:
        return
    kinds = ALL if menu else ("menu", "comment")
    target.as_menu = menu is not None
    if change["action"] == "insertBefore":
        for one in change["payload"]:
            place(target, [one], kinds, index(target.children, anchor))
    else:
        after = anchor
        if change["skipSeparator"] and menu:
            at = index(target.children, anchor) + 1
            if at < len(target.children) and target.children[at].tag == "separator":
                after = target.children[at]
        place_backwards(target, change["payload"], kinds, lambda: index(target.children, after) + 1)
    target.as_menu = False
    if menu:
        tidy(menu)


def last_resort(file, payload):
    found = find_menu(file, MISC)
    misc = found[0] if found else None
    if misc is None:
        found = find_menu(file, COMMANDS)
        if not found:
            help_menu = find_menu(file, HELP)
            if not help_menu:
                return 10
            commands = Node("menu", {"name": "_Commands", "id": COMMANDS})
            help_bar = help_menu[1]
            help_bar.children.insert(index(help_bar.children, help_menu[0]), commands)
        else:
            commands = found[0]
        misc = Node("menu", {"name": "Miscellaneous", "id": MISC})
        more = next((n for n in commands.children if n.tag == "menuitem" and same_id(n, GET_MORE)), None)
        at = index(commands.children, more) + 1 if more else len(commands.children)
        commands.children[at:at] = [Node("separator"), misc]
    place(misc, payload, ALL, len(misc.children))
    tidy(misc)
    return 6


def take_out(file, change):
    for payload in change["payload"]:
        if payload.tag in BARS:
            bar = find_bar(file, payload.id())
            if bar is not None and only_comments(bar):
                remove(file, bar)
        elif payload.tag == "menu":
            found = find_menu(file, payload.id())
            if found and only_comments(found[0]):
                remove_menu(file, *found)
        elif payload.tag in ("menuitem", "format"):
            found = find_object(file, payload.tag, payload.id())
            if found:
                remove(found[1].children, found[0])
                tidy(found[1])
                prune(file, found[1])
        elif payload.tag == "separator":
            take_separator(file, payload.id())
        elif payload.tag == "comment":
            take_comment(file, payload.text)


def remove_menu(file, menu, bar, parent):
    if parent is not None:
        remove(parent.children, menu)
        tidy(parent)
        prune(file, parent)
    elif bar is not None:
        remove(bar.children, menu)
        if only_comments(bar):
            remove(file, bar)
    else:
        remove(file, menu)


def prune(file, menu):
    if menu.tag != "menu" or not only_comments(menu):
        return
    for top in file:
        if top is menu:
            remove(file, menu)
            return
        if top.tag in BARS + ("menu",):
            found = within(top, lambda node: node is menu)
            if found:
                bar = top if top.tag in BARS else None
                remove_menu(file, menu, bar, None if found[1] is bar else found[1])
                return


def take_separator(file, reference):
    if reference == "":
        return
    for top in holders(file):
        found = within(top, lambda node: node.tag == "separator" and reference in node.references)
        if found:
            separator, holder = found
            separator.references.remove(reference)
            if separator.references == ["standard"]:
                separator.references = []
            elif not separator.references:
                remove(holder.children, separator)
                prune(file, holder)
            return


def take_comment(file, text):
    matches = lambda node: node.tag == "comment" and node.text == text
    # the top level and the bars in file order, then the menus outside of any bar
    for top in [node for node in file if node.tag != "menu"] + free_menus(file):
        if matches(top):
            remove(file, top)
            return
        found = within(top, matches) if top.tag in BARS + ("menu",) else None
        if found:
            comment, holder = found
            remove(holder.children, comment)
            if holder.tag == "menu":
                tidy(holder)
                prune(file, holder)
            elif only_comments(holder):
                remove(file, holder)
            return


def take_away(file, wanted):
    bar = find_bar(file, wanted)
    if bar is not None:
        remove(file, bar)
        return
    found = find_menu(file, wanted)
    if found:
        menu, bar, parent = found
        remove(parent.children if parent else bar.children if bar else file, menu)
        if parent:
            tidy(parent)
        return
    for tag in ("menuitem", "format"):
        found = find_object(file, tag, wanted)
        if found:
            remove(found[1].children, found[0])
            tidy(found[1])
            return


# ---- shortcuts

def find_list(file, wanted):
    return next((n for n in file if n.tag == "shortcutlist" and same_id(n, wanted)), None)


def find_shortcut(file, wanted):
    for top in file:
        if top.tag == "shortcutlist":
            for shortcut in top.children:
                if shortcut.tag == "shortcut" and same_id(shortcut, wanted):
                    return shortcut, top
    return None


def insert_shortcuts(file, change):
    if change["list"] == "":
        for payload in reversed(change["payload"]):
            if payload.tag == "comment":
                file.append(payload.copy())
            elif payload.tag == "shortcutlist":
                twin = find_list(file, payload.id())
                if twin is not None:
                    merge(twin, payload)
                else:
                    file.append(payload.copy())
        return 0
    target = find_list(file, change["list"])
    if target is None:
        return 4
    for payload in change["payload"]:
        if payload.tag == "comment":
            target.children.append(payload.copy())
        elif payload.tag == "shortcut":
            twin = next((n for n in target.children if n.tag == "shortcut" and same_id(n, payload.id())), None)
            if twin is not None:
                merge(twin, payload)
            else:
                target.children.append(payload.copy())
    return 0


def take_shortcuts_out(file, change):
    for payload in change["payload"]:
        if payload.tag == "shortcutlist":
            gone = find_list(file, payload.id())
            if gone is not None:
                remove(file, gone)
        elif payload.tag == "shortcut":
            found = find_shortcut(file, payload.id())
            if found:
                remove(found[1].children, found[0])
                if only_comments(found[1]):
                    remove(file, found[1])
        elif payload.tag == "comment":
            take_list_comment(file, payload.text)


def take_list_comment(file, text):
    for top in file:
        if top.tag == "comment" and top.text == text:
            remove(file, top)
            return
    for top in file:
        if top.tag == "shortcutlist":
            comment = next((n for n in top.children if n.tag == "comment" and n.text == text), None)
            if comment is not None:
                remove(top.children, comment)
                if only_comments(top):
                    remove(file, top)
                return


def take_shortcut_away(file, wanted):
    gone = find_list(file, wanted)
    if gone is not None:
        remove(file, gone)
        return
    found = find_shortcut(file, wanted)
    if found:
        remove(found[1].children, found[0])


def apply(file, changes):
    """Whether the install goes through; `file` is then as it leaves it."""
    for change in changes:
        kind = change["kind"]
        code = 0
        if kind == "menu-insert":
            code = insert(file, change)
        elif kind == "menu-remove":
            take_away(file, change["id"])
        elif kind == "shortcut-insert":
            code = insert_shortcuts(file, change)
        else:
            take_shortcut_away(file, change["id"])
        if code > 9:
            return False
    return True


def undo(file, changes):
    for change in changes:
        if change["kind"] == "menu-insert":
            take_out(file, change)
        elif change["kind"] == "shortcut-insert":
            take_shortcuts_out(file, change)
