"""Makes what the measurements work on, the same every time: payload trees and their packages, descriptions, menu files."""
import os
import random
import shutil
import subprocess

STAMP = 1700000000
WORDS = ("the table of a page keeps its rows in order while every cell may hold text an image or a form the editor reads "
         "each line once and writes it back as it was with new items placed where the author wanted them").split()


def sh(text):
    subprocess.run(["bash", "-c", "set -e\n" + text], check=True, stdout=subprocess.DEVNULL)


def filler(source, size):
    """Half words, half digits: text that packs to about two thirds."""
    parts, length = [], 0
    while length < size:
        part = source.choice(WORDS) if source.random() < 0.5 else "%x" % source.getrandbits(48)
        parts.append(part)
        length += len(part) + 1
    return (" ".join(parts) + "\n" * size)[:size].encode()


def description(name, files, version="1.0", product="Tidemark", folder="bench"):
    rows = "\n".join(f'\t\t<file name="{source}" destination="$tidemark/Configuration/Shared/{folder}/{target}" />'
                     for source, target in files)
    return (f'<kestrel-extension\n\tname="{name}"\n\tversion="{version}"\n\ttype="Command">\n\t<author name="Bench" />\n'
            f'\t<products>\n\t\t<product name="{product}" version="6" primary="true" />\n\t</products>\n'
            f'\t<description>\n\t<![CDATA[\n\tFiles for measuring.\n\t]]>\n\t</description>\n'
            f'\t<ui-access>\n\t<![CDATA[\n\tNowhere.\n\t]]>\n\t</ui-access>\n\t<files>\n{rows}\n\t</files>\n</kestrel-extension>\n')


def payload(folder, name, count, size, version="1.0", seed=7):
    """A tree below opt/NAME, 100 files a folder, and its package in the form of every peer that is there."""
    if os.path.exists(f"{folder}/DONE"):
        return
    shutil.rmtree(folder, ignore_errors=True)
    source = random.Random(seed)
    tree = f"{folder}/tree/opt/{name}"
    files = []
    for number in range(count):
        sub = f"d{number // 100:03}"
        os.makedirs(f"{tree}/{sub}", exist_ok=True)
        path = f"{tree}/{sub}/file{number:05}.txt"
        with open(path, "wb") as out:
            for _ in range(max(1, size >> 20)):
                out.write(filler(source, min(size, 1 << 20)))
        os.utime(path, (STAMP, STAMP))
        files.append((f"opt/{name}/{sub}/file{number:05}.txt", f"{name}/{sub}"))
    kei = f"{folder}/tree/{name}.kei"
    with open(kei, "w") as out:
        out.write(description(f"Payload {name}", files, version))
    os.utime(kei, (STAMP, STAMP))
    sh(f"cd {folder}/tree && zip -q -X -6 {folder}/{name}.kep {name}.kei && zip -q -X -6 -r {folder}/{name}.kep opt")
    total = count * size
    if shutil.which("bsdtar") and shutil.which("pacman"):
        with open(f"{folder}/.PKGINFO", "w") as out:
            out.write(f"pkgname = bench-{name}\npkgbase = bench-{name}\npkgver = {version}-1\npkgdesc = payload\n"
                      f"builddate = {STAMP}\npackager = none\nsize = {total}\narch = any\nlicense = none\n")
        sh(f"cp {folder}/.PKGINFO {folder}/tree/ && cd {folder}/tree && bsdtar -czf .MTREE --format=mtree "
           f"--options='!all,use-set,type,uid,gid,mode,time,size,md5,sha256,link' .PKGINFO opt && bsdtar --no-fflags --uid 0 "
           f"--gid 0 -czf {folder}/{name}.pkg.tar.gz .MTREE .PKGINFO opt && rm .MTREE .PKGINFO")
    if shutil.which("dpkg-deb"):
        os.makedirs(f"{folder}/deb/DEBIAN")
        with open(f"{folder}/deb/DEBIAN/control", "w") as out:
            out.write(f"Package: bench-{name}\nVersion: {version}\nArchitecture: all\nMaintainer: none <none@example.invalid>\n"
                      f"Installed-Size: {total // 1024}\nDescription: payload\n")
        sh(f"cp -al {folder}/tree/opt {folder}/deb/ && dpkg-deb --root-owner-group -Zgzip -z6 --build {folder}/deb "
           f"{folder}/{name}.deb && rm -r {folder}/deb")
    if shutil.which("rpmbuild"):
        with open(f"{folder}/p.spec", "w") as out:
            out.write(f"Name: bench-{name}\nVersion: {version}\nRelease: 1\nSummary: payload\nLicense: none\nBuildArch: noarch\n"
                      f"AutoReqProv: no\n%description\npayload\n%install\nmkdir -p %{{buildroot}}\ncp -a {folder}/tree/opt "
                      f"%{{buildroot}}/\n%files\n/opt/{name}\n")
        sh(f"rpmbuild -bb --define '_topdir {folder}/rb' --define '_rpmdir {folder}' --define '_rpmfilename {name}.rpm' "
           f"--define '_binary_payload w6.gzdio' --define '__os_install_post %{{nil}}' --define '_build_id_links none' "
           f"--define 'debug_package %{{nil}}' {folder}/p.spec 2>/dev/null && rm -rf {folder}/rb")
    open(f"{folder}/DONE", "w").close()


def descriptions(folder, count):
    """`count` descriptions of about 4 KiB."""
    if os.path.exists(f"{folder}/DONE{count}"):
        return
    os.makedirs(folder, exist_ok=True)
    for number in range(count):
        files = [(f"files/part{k:02}/extension{number:05}-{k:02}.htm", f"e{number % 97:02}/part{k:02}") for k in range(27)]
        text = description(f"Extension {number:05}", files, f"1.{number % 50}")
        with open(f"{folder}/extension{number:05}.kei", "w", newline="") as out:
            out.write(text.replace("\n", "\r\n"))
    open(f"{folder}/DONE{count}", "w").close()


def menu_file(path, size):
    """A menu file of about `size` bytes: bars of menus of menus of items, and a shortcut list."""
    if os.path.exists(path):
        return
    item = 0
    parts = ["<menubar name=\"Main\" id=\"Bench_Bar\">\r\n"]
    length = 0
    menu = 0
    while length < size:
        rows = [f'\t<menu name="Menu {menu}" id="Bench_Menu_{menu}">\r\n']
        for sub in range(4):
            rows.append(f'\t\t<menu name="Sub {menu} {sub}" id="Bench_Sub_{menu}_{sub}">\r\n')
            for _ in range(12):
                rows.append(f'\t\t\t<menuitem name="Item _{item}..." key="Cmd+Shift+{item % 26}" enabled="tm.canDo({item})" '
                            f'command="tm.do({item})" id="Bench_Item_{item}" />\r\n')
                item += 1
            rows.append("\t\t\t<separator />\r\n\t\t\t<menuitem name=\"Last\" file=\"Commands/last.htm\" "
                        f"id=\"Bench_Last_{menu}_{sub}\" />\r\n\t\t</menu>\r\n")
        rows.append("\t</menu>\r\n")
        text = "".join(rows)
        parts.append(text)
        length += len(text)
        menu += 1
    parts.append("</menubar>\r\n")
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", newline="") as out:
        out.write("".join(parts))
