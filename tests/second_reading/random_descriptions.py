"""Random descriptions as authors write them, sound ones and broken ones."""
import descriptions

TEXTS = ["plain", "R & D", "A &amp; B", "it's", "a <% b %> c", "C+< x +> y", "caf\xe9", "&quot;q&quot;", "x &lt; y", "&#65;", "&nbsp;",
         "C++", "two  blanks", "a\tb", "1", "_File"]
WORDS = ["one", "two  three", "R & D", "&amp;", "&nbsp;", "it's", "<% x %>", "a +&lt; b", "caf\xe9", "\tfour", "five ", "+>"]
SOURCES = ["page.htm", "page.gif", "sub/page.HTML", "sub\\page.gif", "deep/er/other.htm", "read me", "R&D.js", "lib.dll"]
FOLDERS = ["Commands", "Reference", "references/x", "Reference/x", "Objects", "Objects/Common", "Objects\\tools",
           "objects/My Objects/In ner", "ServerBehaviors/ASP", "serverbehaviors/asp/Deep", "Connections/Scripts/asp", "Connections/harbor",
           "DataSources/Harbor/x",
           "ServerFormats/asp2", "ServerFormats", "Shared/Objects"]


def spelled(random, name, share=0.1):
    return name if random.random() >= share else random.choice([name.lower(), name.upper(), name.title()])


def element(random, name, attributes, inside=None):
    name, out = spelled(random, name), ""
    attributes = [pair for pair in attributes if pair[1] is not None]
    random.shuffle(attributes)
    for key, value in attributes:
        out += random.choice([" "] * 8 + ["\r\n\t", "\t"]) + spelled(random, key) + random.choice(['="%s"'] * 9 + [' = "%s"']) % value
    if inside is None and random.random() < 0.8:
        return "<%s%s%s" % (name, out, random.choice([" />", "/>"]))
    return "<%s%s>%s</%s>" % (name, out, inside or "", name)


def some(random, values, share=0.5):
    return random.choice(values) if random.random() < share else None


def long_text(random, cdata):
    lines = ["".join(random.choice(WORDS + (["<br>", "<BR>", "&bull;"] if cdata else [])) + random.choice(["", " "])
                     for _ in range(random.randrange(4))) for _ in range(random.randrange(4))]
    text = random.choice(["\r\n", "\n"]).join(lines)
    if cdata:
        return "<![CDATA[%s]]>" % text
    return text + random.choice(["", "", "<b>bold</b>", "<!-- remark -->rest", "<br/>"])


def products(random):
    lines = [("Tidemark", random.choice(["6", "4", "6.0", "3.0.1"]))] + [random.choice(
        [("Vantage", "4"), ("vantage", "1"), ("Prism", "4"), ("Marlin", "5.0.1"), ("Dreamland", "9")]) for _ in range(random.randrange(3))]
    random.shuffle(lines)
    marks = [random.choice(["true", "1", "Yes"]) if name == "Tidemark" or (name.lower() == "vantage" and random.random() < 0.4) else
             some(random, ["false", "0", ""], 0.3) for name, _ in lines]
    out = "".join("\t\t%s\r\n" % element(random, "product", [
        ("name", name), ("version", version), ("primary", mark),
        ("required", some(random, ["true", "no"], 0.3) if name in ("Tidemark", "Vantage", "vantage") else None)])
        for (name, version), mark in zip(lines, marks))
    return element(random, "products", [], "\r\n" + out + strays(random))


def strays(random):
    return random.choice([""] * 10 + ["<!-- it's & <remark> -->", "<comment>a & b</comment>", '<extra of="R & D">t<more/></extra>',
                                      '<extra><description>not <b>it</b></description><separator of="1"/></extra>', '<?target data?>', "<separator/>"])


def files(random, sources):
    out = ""
    for _ in range(random.randrange(6)):
        source = random.choice(sources)
        place = "$tidemark" + random.choice(["/", "\\", ":"]) + random.choice(["Configuration/", "configuration\\"] + ["Second/"]) + \
            random.choice(FOLDERS) + random.choice(["", "/", "\\", "/" + descriptions.re.split(r"[/\\]", source)[-1]])
        out += "\t\t%s\r\n" % element(random, "file", [
            (random.choice(["source", "name"]), source), (random.choice(["destination", "location"]), place),
            ("platform", some(random, ["win", "Windows", "mac", "Macintosh", "any", ""], 0.3)),
            ("shared", some(random, ["true", "y", "0"], 0.3)),
            ("systemfile", some(random, ["true", "no"], 0.1)), ("actual-path", some(random, TEXTS, 0.1)),
            ("win-extension", some(random, ["txt", "htm"], 0.1)), ("size", some(random, ["1"], 0.03))])
    return element(random, "files", [], "\r\n" + out + strays(random)) if out else ""


def payload(random, kind):
    text = lambda: some(random, TEXTS, 0.4)
    identity = random.choice(["Second_A", "Second_B"])
    if kind == "shortcut-insert":
        return element(random, *random.choice([
            ("shortcutlist", [("id", identity), ("platform", some(random, ["win", "mac"])), ("app", text())]),
            ("shortcut", [("key", "Ctrl+F%d" % random.randrange(1, 13)), ("file", "Commands:a\\b.htm"), ("arguments", text()), ("id", identity),
                          ("domRequired", some(random, ["true", "0"])), ("name", text()), ("checked", text())]), ("menu", [("id", identity)])]))
    return element(random, *random.choice([
        ("menu", [("name", text()), ("id", identity), ("visibility", some(random, ["hidden", "shown"]))]),
        ("menuitem", [("name", random.choice(TEXTS)), ("id", identity), ("key", some(random, ["F9", "Cmd+K"])), ("command", text()),
                      ("file", some(random, ["Commands:a\\b.htm"])), ("enabled", text()), ("checked", text()), ("arguments", text()),
                      ("domRequired", some(random, ["true", "false"])), ("dynamic", some(random, ["true"])), ("platform", some(random, ["win"]))]),
        ("format", [("title", text()), ("id", identity), ("expression", text()), ("file", some(random, ["a\\b"])), ("style", text())]),
        ("separator", [("id", some(random, [identity])), ("app", text())]), ("comment", [], random.choice([" ours ", "R & D"])),
        ("shortcut", [("id", identity)])]))


def plain(random, name, attributes, depth=0):
    inside = [plain(random, random.choice(["title", "description", "button", "Extra"]), [("of", some(random, TEXTS))], depth + 1)
              for _ in range(random.randrange(3) if depth < 2 else 0)] + \
        random.choice([[]] * 2 + [["text & more"], ["C++"], ["<![CDATA[x & y < z\r\n  indented]]>"], ["<comment>it's</comment>"], ["a <% b %>"]])
    return element(random, name, attributes, "".join(inside) if inside else None)


RECORD_CHANGES = {"documenttype-changes": ("documenttype-insert", "documenttype"), "taglibrary-changes": ("taglibrary-insert", "taglibrary"),
                  "toolbar-changes": ("toolbar-insert", "toolbar"), "insertbar-changes": ("insertbar-insert", "category")}


def change_set(random, tag):
    place = lambda names: random.choice(names) + random.choice(["", "Id", "MenuId", "Menu"])
    out, attributes = [], []
    if tag.startswith(("server-", "data-", "configuration")):
        attributes = [(random.choice(["server", "servermodel", "folder", "servermodelfolder"]), random.choice(
            ["asp", "ASP JavaScript", "asp.net c#", "PHP MySQL", "ASP_Vbs", "ASP_Js"]))] if tag[0] != "c" else [("of", some(random, ["x"], 0.1))]
        for _ in range(random.randrange(3)):
            kind = random.choice(["shortcut-insert", "menu-remove", "shortcut-remove"] +
                                 ["menu-insert"] * (2 if tag[:8] in ("configur", "server-b") else 0))
            inside = "\r\n".join(payload(random, kind) for _ in range(random.randrange(1, 4)))
            out.append(element(random, kind, [(place(descriptions.ACTIONS), random.choice(["TM_Nowhere", "TMMenu_Commands"])),
                                              ("skipSeparator", some(random, ["true", "0"]))], inside) if kind == "menu-insert" else
                       element(random, kind, [("listId", some(random, ["TM_Nowhere"]))], inside) if kind == "shortcut-insert" else
                       element(random, kind, [("id", "Second_Nothing")]))
    elif tag in RECORD_CHANGES:
        change, record = RECORD_CHANGES[tag]
        identity = random.choice(["Second_A", "Second_B"])
        attributes = [("file", some(random, ["own.xml"], 0.3))] if tag == "toolbar-changes" else []
        out.append(element(random, change, [("insertAfter", some(random, ["TM_Nowhere"], 0.3))] if record == "category" else [], plain(
            random, record, [("id", identity), ("label", some(random, TEXTS))] + ([("folder", "Second")] if record == "category" else []))))
        if record == "toolbar" and not attributes[0][1]:
            out.append(element(random, "toolbar-item-insert", [(random.choice(descriptions.ACTIONS), "TM_Nowhere"), ("toolbar", some(
                random, ["TM_Toolbar_Main"]))], plain(random, "button", [("id", "Second_C"), ("tooltip", some(random, TEXTS))])))
    elif tag == "source-format-changes":
        out.append(element(random, "element-insert", [
            ("name", "second"), ("break", some(random, ["1,1,0,0"])), ("indent", some(random, ["true", "FALSE", "x"])), ("indentGroup", some(
                random, ["0", "3", "9", "12"])), ("namecase", some(random, TEXTS[:1])), ("noformat", some(random, ["True", "false"]))]))
        out.append(element(random, "attribute-insert", [("name", "second"), ("samecase", some(random, ["true", "false"]))]))
    elif tag == "FTP-extension-map-changes":
        out.append(element(random, "FTP-extension-insert", [("extension", "SECOND"), ("mac-creator", some(random, ["Krtm"])), (
            "mac-file-type", some(random, ["TEXT"])), ("type", some(random, ["ascii", "BINARY", "x"]))]))
    else:
        out.append(element(random, "extension-insert", [("extension", "SCD"), ("description", "Second Files")]))
    return element(random, tag, attributes, "\r\n".join([""] + out + [""]))


def changes(random):
    names = [name for name in descriptions.SETS if name[:3] not in ("ftp", "con")] + ["FTP-extension-map-changes"]
    inner = "\r\n".join(change_set(random, random.choice(names)) for _ in range(random.choice([0, 0, 1, 2])))
    out = change_set(random, "configuration-changes")
    at = out.rindex("</")
    out = out[:at] + inner + out[at:]
    if random.random() < 0.15:
        out = change_set(random, random.choice(names)) + ("\r\n" + out if random.random() < 0.5 else "")
    if random.random() < 0.2:
        out += element(random, "help-changes", [], element(random, "helpbook-changes", [], element(random, "helpbook-insert", [], plain(
            random, "book-id", [("id", "SECOND"), ("win-mapping", some(random, TEXTS))]))))
    return out


def document(random, sources):
    """The text of a description and whether it is sound: two in ten have something wrong."""
    words = [word for line in descriptions.TYPES for word in line]
    sections = [element(random, "author", [("name", random.choice(TEXTS))]), products(random), files(random, sources),
                "<!-- it's & <remark> -->", strays(random),
                some(random, ['<token name="lost"/><file source="lost"/><menuitem id="lost"/><shortcut/><product name="lost"/>'], 0.1) or ""]
    sections += [element(random, name, [], long_text(random, random.random() < 0.6))
                 for name in ("description", "ui-access", "license-agreement") if random.random() < 0.8]
    if random.random() < 0.4:
        sections.append(element(random, "file-tokens", [], "".join(element(random, "token", [
            ("name", name), ("definition", "$tidemark/Second"), ("default", some(random, ["$tidemark/x"])), ("hint", some(random, ["y"], 0.05))])
            for name in random.sample(["Home", "shelf"], random.randrange(3))) + strays(random)))
    if random.random() < 0.6:
        sections.append(changes(random))
    random.shuffle(sections)
    inside = random.choice(["\r\n", "\n", "\r\n\t"]).join([""] + sections + [""])
    text = element(random, random.choice(["kestrel-extension"] * 4 + ["kestrel-package"]), [
        ("name", random.choice(TEXTS)), ("id", some(random, TEXTS)), ("version", random.choice(["1", "1.2", "10.20.30", "1.2.3.4", "0.9"])),
        ("type", spelled(random, random.choice(words + ["gadget"]), 0.5)), ("requires-restart", some(random, ["true", "Yes", "false", ""])),
        ("nosuch", some(random, ["x"], 0.05))], inside)
    declaration = random.choice([""] * 3 + ['<?xml version="1.0"?>\r\n', "<?xml version='1.0' encoding='iso-8859-1'?>\n", "<!-- first -->\n",
                                            "<!DOCTYPE kestrel-extension>\r\n"])
    text = declaration + text + random.choice(["", "\r\n", "\n", "\x1a"])
    return (broken(random, text), False) if random.random() < 0.2 else (text, True)


def broken(random, text):
    kind, at = random.randrange(8), random.randrange(len(text))
    lines = text.split("\n")
    if kind == 0:
        return text[:at]
    if kind == 1:
        return text[:at] + random.choice(["<", ">", '"', "&", "/", "'", "\x01", "</x>", "]]>", "<%", "..", "\xef"]) + text[at:]
    if kind == 2:
        return text.replace(" />", " / >", 1)
    if kind == 3:
        return text.replace("kestrel-", "castle-")
    if kind == 4:
        return text.replace("$tidemark", "$tidemark/..", 1)
    if kind == 5:
        del lines[random.randrange(len(lines))]
        return "\n".join(lines)
    if kind == 6:
        line = random.randrange(len(lines))
        return "\n".join(lines[:line] + [lines[line].replace('"', "'")] + lines[line + 1:])
    return random.choice(["", "\xef\xbb\xbf" + text, text + text, "\r\n" + text, '<?xml version="1.0" encoding="iso-x-sjis" ?>' + text])
