#!/usr/bin/python3
"""One AT-SPI question about the program, asked from a process of its own: libatspi and
libdbus keep their bus connections for the life of a process, so the harness, which
follows a new desktop per test, asks each question through a fresh one of these."""

import contextlib
import json
import sys

from harness import normalize


def _node(acc, with_children=False, depth=0):
    node = {"name": acc.name, "role": acc.getRoleName(), "text": None, "path": acc.path, "extents": None,
            "states": sorted(s.value_nick for s in acc.getState().getStates()), "actions": []}
    with contextlib.suppress(NotImplementedError):
        node["text"] = acc.queryText().getText(0, -1)
    with contextlib.suppress(NotImplementedError):
        action = acc.queryAction()
        node["actions"] = [action.getName(i) for i in range(action.nActions)]
    with contextlib.suppress(NotImplementedError):
        box = acc.queryComponent().getExtents(0)
        node["extents"] = [box.x, box.y, box.width, box.height]
    if with_children and depth < 40:
        node["children"] = [_node(c, True, depth + 1) for c in acc if c is not None]
    return node


def _walk(acc, depth=0):
    yield acc
    if depth < 40:
        for child in (c for c in acc if c is not None):
            yield from _walk(child, depth + 1)


def _pid_of(acc):
    try:
        return acc.get_process_id()
    except Exception:  # applications that have gone away
        return None


def _atspi_main(request):
    import pyatspi
    op, name, role, frame = (request.get(k) for k in ("op", "name", "role", "frame"))
    app = next((a for a in pyatspi.Registry.getDesktop(0) if a is not None and _pid_of(a) == request["pid"]), None)
    if op == "app":
        return app is not None
    if app is None:
        return [] if op == "frames" else None
    if op == "tree":
        return _node(app, with_children=True)
    tops = [c for c in app if c is not None]
    if op == "frames":
        return [_node(c) for c in tops]
    found = [(top, acc) for top in tops if not frame or normalize(top.name) == frame for acc in _walk(top)
             if name in (None, normalize(acc.name)) and (not role or acc.getRoleName() == role)]
    # What a person would reach: later items are drawn on top (a sheet over the page under it),
    # so the last one showing; failing that, the first in tree order.
    showing = [m for m in found if m[1].getState().contains(pyatspi.STATE_SHOWING)]
    if not found:
        return None
    top, target = showing[-1] if showing else found[0]
    if op == "find":
        return dict(_node(target), frame=top.name)
    if op == "press":
        action = target.queryAction()
        names = [action.getName(i).lower() for i in range(action.nActions)]
        for wanted in ("press", "click", "activate"):
            if wanted in names:
                action.doAction(names.index(wanted))
                return wanted
        return None
    if op == "focus":
        return bool(target.queryComponent().grabFocus())
    raise ValueError(f"unknown AT-SPI op {op}")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("usage: atspi_query.py JSON")
    print(json.dumps(_atspi_main(json.loads(sys.argv[1])), ensure_ascii=False))
