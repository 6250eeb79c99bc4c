#!/usr/bin/python3
"""Listens on the bus of accessibility as a screen reader does, and writes what it would speak to a file: a line for
each object that comes to the focus, and once for each window the names of all that is in it."""
import sys

import pyatspi

out = open(sys.argv[1], "a", buffering=1, encoding="utf-8")
seen = []


def text_of(item):
    try:
        text = item.queryText()
    except NotImplementedError:
        return ""
    return text.getText(0, text.characterCount)


def tell_all(item):
    out.write("item %s|%s\n" % (item.getRoleName(), item.name))
    for i in range(item.childCount):
        child = item.getChildAtIndex(i)
        if child is not None:
            tell_all(child)


def tell_window(item):
    while item.parent is not None and item.parent.getRole() != pyatspi.ROLE_APPLICATION:
        item = item.parent
    window = (item.getRoleName(), item.name)
    if window not in seen:
        seen.append(window)
        tell_all(item)
        out.write("window %s\n" % item.name)


def focused(event):
    if not event.detail1:
        return
    item = event.source
    try:
        out.write("focus %s|%s|%s|%s\n" % (item.getRoleName(), item.name, text_of(item), item.description))
        tell_window(item)
    except Exception as error:  # the object is gone already
        out.write("gone %s\n" % error)


pyatspi.Registry.registerEventListener(focused, "object:state-changed:focused")
out.write("listening\n")
pyatspi.Registry.start()
