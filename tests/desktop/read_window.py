"""Reads the windows of one process: answers each line of the input with all visible parts, and writes down each event, in JSON.

It is a process of its own for each window, since the library of AT-SPI remembers windows that are gone.
"""
import functools
import json
import sys

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

PROCESS = int(sys.argv[1])
# The events with a text that the user must hear: a name that changed, and a part that appeared.
SPOKEN = ["object:property-change:accessible-name", "object:state-changed:showing"]


def collect(node, found: list) -> None:
    if not node or not node.get_state_set().contains(Atspi.StateType.SHOWING):
        return
    keys = node.get_key_binding(0) if "Action" in node.get_interfaces() and node.get_n_actions() else ""
    found.append([node.get_role_name(), node.get_name(), node.get_description(), keys])
    # The list of a combo box is its menu, which is closed.
    for index in range(0 if node.get_role() == Atspi.Role.COMBO_BOX else node.get_child_count()):
        collect(node.get_child_at_index(index), found)


def parts() -> list:
    desktop = Atspi.get_desktop(0)
    # The library's memory does not follow all changes.
    desktop.set_cache_mask(Atspi.Cache.NONE)
    found: list = []
    for application in map(desktop.get_child_at_index, range(desktop.get_child_count())):
        if application and application.get_process_id() == PROCESS:
            application.set_cache_mask(Atspi.Cache.NONE)
            for window in map(application.get_child_at_index, range(application.get_child_count())):
                collect(window, found)
    return found


def answer(*_) -> bool:
    if not sys.stdin.readline():
        Atspi.event_quit()
        return False
    found = parts()
    if found:
        listen()
    print(json.dumps({"parts": found}), flush=True)
    return True


@functools.cache
def listen() -> Atspi.EventListener:
    """Not before the product is on the bus: it learns of those who listen at the moment when they begin."""
    listener = Atspi.EventListener.new(hear)
    for event in SPOKEN:
        listener.register(event)
    return listener


def hear(event) -> None:
    try:
        if event.source and event.source.get_process_id() == PROCESS:
            # A name comes with its event. By now the part may have another one.
            name = event.any_data if isinstance(event.any_data, str) else event.source.get_name()
            print(json.dumps({"heard": [event.source.get_role_name(), name]}), flush=True)
    except GLib.Error:  # The part is gone already.
        pass


GLib.io_add_watch(sys.stdin.fileno(), GLib.PRIORITY_LOW, GLib.IO_IN | GLib.IO_HUP, answer)
Atspi.event_main()
