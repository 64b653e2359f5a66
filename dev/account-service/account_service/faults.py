"""Faults that tests request: what goes wrong, where and how often."""

import json
import threading
from dataclasses import asdict, dataclass, field
from urllib.parse import parse_qsl

from oauthlib.common import urlencode
from werkzeug.wrappers import Response

HTML = "<!DOCTYPE html><title>Please log on to the network</title><h1>Welcome to the hotel</h1>"

KINDS = {
    "status": "answers with status, headers and body",
    "problem": "refuses with status (401) and the problem headers",
    "delay": "waits delay_ms, then answers as usual",
    "drop": "closes the connection without an answer",
    "truncate": "announces the whole body and closes after keep_bytes (half of it)",
    "garbage": "answers 200 with bytes that are no text",
    "html": "answers 200 with an HTML page",
    "missing": "answers as usual, without the named parameters",
    "redirect": "redirects with status (302) to location",
    "clock": "uses clock + offset_seconds as the time of this request",
}
# The service executes the request first and then spoils the answer.
CARRIED_OUT = {"delay", "truncate", "missing", "clock"}


@dataclass
class Fault:
    kind: str
    endpoint: str = "*"
    count: int = 1              # how often; -1: until removed
    skip: int = 0               # number of requests to let pass first
    delay_ms: int = 0           # before anything else, with every kind
    carry_out: bool | None = None   # execute the request before the answer is spoilt
    omit_date: bool = False     # leave the Date header out
    status: int = 0
    headers: dict = field(default_factory=dict)
    body: str = ""
    content_type: str = "text/plain; charset=utf-8"
    problem: str = ""
    additional_error_info: str = ""
    parameters_absent: str = ""
    reason_phrase: str = ""
    keep_bytes: int = -1
    parameters: list = field(default_factory=list)
    location: str = ""
    offset_seconds: float = 0.0

    @staticmethod
    def from_json(data: dict) -> "Fault":
        """Raises ValueError with a text for the caller of the control interface."""
        defaults = asdict(Fault("status"))
        if not isinstance(data, dict) or data.get("kind") not in KINDS:
            raise ValueError(f"kind must be one of {', '.join(KINDS)}")
        for name, value in data.items():
            if name not in defaults:
                raise ValueError(f"unknown field {name}")
            wanted = bool if name == "carry_out" else type(defaults[name])
            allowed = (int, float) if wanted is float else wanted
            if not isinstance(value, allowed) or (isinstance(value, bool) and wanted is not bool):
                raise ValueError(f"{name} must be of type {wanted.__name__}")
        fault = Fault(**data)
        if fault.status and not 200 <= fault.status <= 599:
            raise ValueError("status must be between 200 and 599")
        if fault.kind == "status" and not fault.status:
            raise ValueError("status is required")
        if fault.kind == "redirect" and not fault.location:
            raise ValueError("location is required")
        return fault

    def is_carried_out(self) -> bool:
        return self.kind in CARRIED_OUT if self.carry_out is None else self.carry_out

    def spoil(self, answer: Response | None) -> Response:
        """The answer to send instead. answer is the usual one, when the request
        was executed."""
        if self.kind == "missing" and answer is not None:
            return self._without_parameters(answer)
        if self.kind == "status":
            return self._made(self.status, self.body, self.content_type)
        if self.kind == "problem":
            return self._problem()
        if self.kind == "garbage":
            return self._made(200, bytes(range(255, 0, -1)), "application/octet-stream")
        if self.kind == "html":
            return self._made(200, self.body or HTML, "text/html; charset=utf-8")
        if self.kind == "redirect":
            response = self._made(self.status or 302, "", self.content_type)
            response.headers["Location"] = self.location
            response.autocorrect_location_header = False
            return response
        return answer if answer is not None else self._made(503, "", self.content_type)

    def _made(self, status: int, body: str | bytes, content_type: str) -> Response:
        return Response(body, status, {k: str(v) for k, v in self.headers.items()},
                        content_type=content_type)

    def _problem(self) -> Response:
        response = self._made(self.status or 401, self.body, self.content_type)
        named = {"xoauth_problem": self.problem, "x-vqs-reason-phrase": self.reason_phrase,
                 "xoauth_additional_error_info": self.additional_error_info,
                 "xoauth_parameters_absent": self.parameters_absent}
        response.headers.extend({name: value for name, value in named.items() if value})
        return response

    def _without_parameters(self, answer: Response) -> Response:
        text = answer.get_data(as_text=True)
        if answer.mimetype == "application/json":
            kept = {k: v for k, v in json.loads(text).items() if k not in self.parameters}
            answer.set_data(json.dumps(kept))
        else:
            pairs = parse_qsl(text, keep_blank_values=True)
            answer.set_data(urlencode([p for p in pairs if p[0] not in self.parameters]))
        return answer


class FaultList:
    """The faults in the order in which they were set. The first matching one is used."""

    def __init__(self) -> None:
        self._faults: list[Fault] = []
        self._lock = threading.Lock()

    def add(self, fault: Fault) -> None:
        with self._lock:
            self._faults.append(fault)

    def clear(self) -> None:
        with self._lock:
            self._faults.clear()

    def as_json(self) -> list[dict]:
        with self._lock:
            return [asdict(fault) for fault in self._faults]

    def take(self, endpoint: str) -> Fault | None:
        with self._lock:
            for fault in self._faults:
                if fault.endpoint not in ("*", endpoint) or fault.count == 0:
                    continue
                if fault.skip > 0:
                    fault.skip -= 1
                    return None
                if fault.count > 0:
                    fault.count -= 1
                    if fault.count == 0:
                        self._faults.remove(fault)
                return fault
            return None
