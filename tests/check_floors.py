#!/usr/bin/env python3
"""Fails when a source file uses a name from a floor above its own, or from a sibling
folder on its own floor: C++ by its #include lines, QML by the types it names, both by
the QML files they load by name.

check_floors.py SRC           checks the tree
check_floors.py --prove SRC   also plants an upward use of each kind in a copy of the
                              tree and fails unless the check catches every one
"""
import os, re, shutil, subprocess, sys, tempfile

# Ground first; folders in one group share a floor and may not use each other.
FLOORS = [["core"], ["model"], ["store"], ["ui"], ["capture/reminders", "capture/dictation", "sync"],
          ["actions"], ["capture", "browse", "menubar", "firstrun", "settings", "update"], ["app"]]
LEVEL = {folder: level for level, group in enumerate(FLOORS) for folder in group}

STRING = re.compile(r'"(?:\\.|[^"\\])*"')
COMMENT = re.compile(r"//.*")
QML_USE = re.compile(r"\b([A-Z]\w*)\s*(?:\{|\.)")
# A view named by its file, loaded only when it is shown.
QML_FILE = re.compile(r'"(?:qrc:/Fikranest/)?([A-Z]\w*)\.qml"')
REGISTERED = re.compile(r"class\s+(\w+)\s*(?:final\s*)?:[^{]*\{[^}]*?\bQML_(?:ELEMENT|SINGLETON)\b", re.S)


def files(src, folder, suffixes):
    path = os.path.join(src, folder)
    return [os.path.join(path, name) for name in sorted(os.listdir(path))
            if os.path.isfile(os.path.join(path, name)) and name.endswith(suffixes)] if os.path.isdir(path) else []


def homes(src):
    """Where each header and each QML type lives."""
    headers, types = {}, {}
    for folder in LEVEL:
        for path in files(src, folder, (".h",)):
            headers[os.path.basename(path)] = folder
            with open(path, encoding="utf-8") as f:
                for name in REGISTERED.findall(f.read()):
                    types[name] = folder
        for path in files(src, folder, (".qml",)):
            types[os.path.basename(path)[:-4]] = folder
    return headers, types


def check(src):
    headers, types = homes(src)
    faults = []

    def judge(path, folder, kind, name, target):
        if target is None or target == folder or LEVEL[target] < LEVEL[folder]:
            return
        where = "a floor above it" if LEVEL[target] > LEVEL[folder] else "a sibling on its floor"
        faults.append(f"{os.path.relpath(path, src)} {kind} {target}/{name}, {where}")

    for folder in LEVEL:
        for path in files(src, folder, (".h", ".cpp")):
            with open(path, encoding="utf-8") as f:
                text = f.read()
            for name in re.findall(r'^#include "([^"]+)"', text, re.M):
                judge(path, folder, "includes", name, headers.get(name))
            for name in sorted(set(QML_FILE.findall(text))):
                judge(path, folder, "loads", name, types.get(name))
        for path in files(src, folder, (".qml",)):
            with open(path, encoding="utf-8") as f:
                text = f.read()
            for name in sorted(set(QML_FILE.findall(text))):
                judge(path, folder, "loads", name, types.get(name))
            for name in sorted(set(QML_USE.findall(COMMENT.sub("", STRING.sub('""', text))))):
                judge(path, folder, "uses", name, types.get(name))
    return faults


def prove(src):
    """Each plant must be caught: a QML type from above, a QML sibling, a sibling's file, an include from above."""
    plants = [("browse/IdeaCard.qml", "\nItem { SettingsView {} }\n", "uses settings/SettingsView"),
              ("menubar/MenuBarView.qml", "\nItem { Component.onCompleted: IdeasListView.x }\n",
               "uses browse/IdeasListView"),
              ("browse/IdeaCard.qml", '\nLoader { source: "CaptureSheet.qml" }\n', "loads capture/CaptureSheet"),
              ("store/IdeaStore.cpp", '\n#include "IdeaActions.h"\n', "includes actions/IdeaActions.h")]
    ok = True
    for path, addition, expected in plants:
        with tempfile.TemporaryDirectory() as root:
            copy = os.path.join(root, "src")
            shutil.copytree(src, copy)
            with open(os.path.join(copy, path), "a", encoding="utf-8") as f:
                f.write(addition)
            caught = [fault for fault in check(copy) if expected in fault]
            print(f"planted in {path}: " + (caught[0] if caught else "NOT CAUGHT"))
            ok = ok and bool(caught)
    return ok


def main():
    args = sys.argv[1:]
    proving = args[:1] == ["--prove"]
    src = os.path.abspath(args[-1])
    faults = check(src)
    for fault in faults:
        print(fault)
    if not faults:
        print("every include and QML type stays on its floor or below")
    ok = not faults and (not proving or prove(src))
    sys.exit(0 if ok else 1)


if __name__ == "__main__":
    main()
