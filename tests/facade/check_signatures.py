"""Checks signed requests, one JSON object a line, with oauthlib. Exit status 1 when a signature differs."""

import json
import sys
from urllib.parse import urlsplit

from oauthlib.common import urldecode
from oauthlib.oauth1.rfc5849 import signature


def sent_parameters(request: dict) -> list[tuple[str, str]]:
    """All parameters as the server sees them.

    Query and body are decoded here: collect_parameters would decode the values of their OAuth parameters twice.
    """
    headers = {"Authorization": request["authorization"]} if request["authorization"] else {}
    return (urldecode(urlsplit(request["url"]).query) + urldecode(request["body"])
            + signature.collect_parameters(headers=headers, exclude_oauth_signature=False))


def differences(request: dict) -> list[str]:
    if not request["signed"]:
        return ["it was not signed"]
    parameters = sent_parameters(request)
    given = [value for name, value in parameters if name == "oauth_signature"]
    signed = [(name, value) for name, value in parameters if name != "oauth_signature"]
    base = signature.signature_base_string(request["method"], signature.base_string_uri(request["url"]),
                                           signature.normalize_parameters(signed))
    expected = signature.sign_hmac_sha1(base, request["consumer_secret"], request["token_secret"])
    return [] if given == [expected] else [f"base string {base}", f"expected {expected}, given {given}"]


def main(path: str) -> int:
    count = 0
    different = 0
    with open(path, encoding="utf-8") as lines:
        for line in lines:
            count += 1
            found = differences(json.loads(line))
            if found:
                different += 1
                if different <= 5:
                    print(line.strip(), *found, sep="\n")
    print(f"{count} requests, {different} differences")
    return 1 if different else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
