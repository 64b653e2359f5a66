"""The documents about a user, as XML, each with the date of its last change."""

import time
from email.utils import formatdate, parsedate_to_datetime
from xml.etree.ElementTree import Element, SubElement, tostring

from .model import User

DEFAULTS = {"quota": 5_368_709_120, "used": 1_288_490_189,
            "services": ["Storage", "Rendering", "Sharing"], "trials": []}
NAMES = ("account", "entitlement", "quota")


def _node(parent: Element, name: str, text: object) -> Element:
    node = SubElement(parent, name)
    node.text = str(text)
    return node


class Documents:
    def __init__(self) -> None:
        self._changed = dict.fromkeys(NAMES, 0)
        self.clear()

    def clear(self) -> None:
        self.values = dict(DEFAULTS)
        for name in NAMES:
            self.touch(name)

    def touch(self, name: str) -> None:
        # HTTP dates have whole seconds. Two changes in one second still get two dates.
        self._changed[name] = max(int(time.time()) - 60, self._changed[name] + 1)

    def last_modified(self, name: str) -> str:
        return formatdate(self._changed[name], usegmt=True)

    def is_unchanged(self, name: str, since: str | None) -> bool:
        try:
            return since is not None and (
                parsedate_to_datetime(since).timestamp() >= self._changed[name])
        except (ValueError, TypeError):
            return False

    def render(self, name: str, user: User) -> bytes:
        root = getattr(self, f"_{name}")(user)
        return tostring(root, encoding="utf-8", xml_declaration=True)

    def _account(self, user: User) -> Element:
        root = Element("User")
        _node(root, "UserName", user.name)
        _node(root, "Id", user.guid)
        _node(root, "Email", user.email)
        profile = SubElement(root, "Profile")
        _node(profile, "FirstName", user.first_name)
        _node(profile, "LastName", user.last_name)
        return root

    def _entitlement(self, user: User) -> Element:
        root = Element("EntitlementList")
        for name in self.values["services"]:
            service = SubElement(root, "Service")
            _node(service, "Name", name)
            _node(service, "Entitled", "True")
            _node(service, "Trial", name in self.values["trials"])
        return root

    def _quota(self, user: User) -> Element:
        root = Element("Service")
        _node(root, "Quota", self.values["quota"])
        _node(root, "CurrentUsage", self.values["used"])
        return root
