"""The cures for the keys of the product and its tokens."""
import unittest

from cures import CureTest, Row


def give(**values: str | None):
    def act(t: CureTest):
        t.extra = values
    return act


def product(name: str, text: str, sentence: str, signed_in: bool = False, **values: str | None) -> Row:
    return Row(name, give(**values), "product", text, sentence=sentence, person=lambda t: t.extra.clear(), signed_in=signed_in)


def forget_tokens(t: CureTest) -> None:
    t.service.control("reset", {"keep_sessions": False})


def end_sessions(t: CureTest) -> None:
    t.service.control("expire", {"what": "sessions"})


ROWS = [
    product("key missing", "has a secret, but no key", "VQWS_CONSUMER_KEY", VQWS_CONSUMER_KEY=None),
    product("secret missing", "has a key, but no secret", "VQWS_CONSUMER_SECRET", VQWS_CONSUMER_SECRET=None),
    product("key unknown", "refuses its key or secret (status 401)", "whoever made the product", VQWS_CONSUMER_KEY="other"),
    product("secret wrong", "refuses its key or secret (status 401)", "whoever made the product", VQWS_CONSUMER_SECRET="wrong"),
    product("secret wrong, signed in", "refuses its secret", "whoever made the product", signed_in=True, VQWS_CONSUMER_SECRET="wrong"),
    Row("server has forgotten the tokens", forget_tokens, "product", "refuses its token"),
    Row("server has ended the sign-in", end_sessions, "product", "refuses its token"),
]


class ProductCureTest(CureTest):
    def test_each_fault_of_the_product_is_named_and_cured(self):
        self.check_rows(ROWS)


if __name__ == "__main__":
    unittest.main()
