"""A product in Python that a test instructs, as the ones in C and C#."""
import sys

import vqws


def say(*words: object) -> None:
    # In one piece, since events come on another thread.
    print(" ".join(map(str, words)) + "\n", end="", flush=True)


with vqws.Library(support_paths=[sys.argv[1]]) as library:
    client = vqws.Client()
    client.configure(vqws.Config(*(sys.argv[2:4] or ("demo-product-0001", "demo-secret-0001"))))
    library.observe(lambda event: say("event", int(event.kind)))
    client.restore_login()
    say("start")
    for line in sys.stdin:
        order, _, rest = line.strip().partition(" ")
        answer = {"login": client.initiate_login, "complete": client.complete_login, "user": lambda: client.user_name,
                  "sign": lambda: client.sign(rest), "logout": client.logout}[order]()
        say(order, answer or "")
