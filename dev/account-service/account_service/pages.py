"""The pages that the user sees in the browser."""

import hmac

from flask import Flask, Response, make_response, redirect, render_template, request

from .exchange import Exchange
from .model import RequestToken, User
from .refusal import Refusal
from .service import Service

COOKIE = "VqSession"
LANGUAGE_COOKIE = "VqLanguage"
YEAR_SECONDS = 365 * 86400

SAFETY_HEADERS = {
    "Cache-Control": "no-store",
    "Content-Security-Policy": "default-src 'none'; style-src 'self'; form-action 'self'; "
                               "base-uri 'none'; frame-ancestors 'none'",
    "Referrer-Policy": "same-origin",
    "X-Content-Type-Options": "nosniff",
}


def register(app: Flask, service: Service) -> None:
    store, verify = service.store, service.verifier.verify

    def authorize() -> Response:
        verified = verify(request, kinds=("request",), where="query")
        # Redirects to a separate page, which can be reloaded. This URL cannot
        # be reloaded, since its nonce has been used.
        return redirect(f"/sign-in?ticket={store.open_ticket(verified.token)}", 303)

    def open_ticket() -> RequestToken:
        token = store.find_ticket(request.values.get("ticket", ""))
        if token is None:
            raise Refusal(400, "token_rejected", "no_sign_in_in_progress",
                          phrase="There is no sign-in in progress")
        store.check_alive(token)
        Exchange.of(request.environ).consumer_key = token.consumer_key
        return token

    def form(token: RequestToken, status: int = 200, name: str = "", error: str = "") -> Response:
        return make_response(render_template(
            "sign_in.html", product=store.consumers[token.consumer_key].product,
            ticket=token.ticket, error=error, name=name), status)

    def sign_in() -> Response:
        token = open_ticket()
        if request.method != "POST":
            return form(token)
        name = request.form.get("username", "").strip()
        user = store.users.get(name)
        if user is None or not same(user.password, request.form.get("password", "")):
            Exchange.of(request.environ).verdict = "wrong_password"
            return form(token, 403, name, "The user name or the password is wrong.")
        Exchange.of(request.environ).user = user.name
        store.approve(token, user)
        return signed_in_cookies(redirect("/signed-in", 303), user)

    def signed_in_cookies(response: Response, user: User) -> Response:
        guarded = {"secure": request.is_secure, "samesite": "Lax", "path": "/"}
        response.set_cookie(COOKIE, store.open_browser(user), httponly=True, **guarded)
        response.set_cookie(LANGUAGE_COOKIE, "en", max_age=YEAR_SECONDS, **guarded)
        return response

    def signed_in() -> Response:
        user = store.browsers.get(request.cookies.get(COOKIE, ""))
        if user is None:
            raise Refusal(403, "permission_unknown")
        Exchange.of(request.environ).user = user.name
        return make_response(render_template("signed_in.html", user=user))

    def logout() -> Response:
        verified = verify(request, where="query")
        store.end_session(verified.token.session)
        store.close_browser(request.cookies.get(COOKIE, ""))
        response = make_response(render_template("signed_out.html",
                                                 user=verified.token.session.user))
        response.delete_cookie(COOKIE, path="/", secure=request.is_secure, httponly=True, samesite="Lax")
        return response

    def account_page() -> Response:
        verified = verify(request, where="query")
        return make_response(render_template("account.html", user=verified.token.session.user,
                                             product=verified.consumer.product))

    def product_page(name: str) -> Response:
        return make_response(render_template("page.html", name=name.replace("-", " ")))

    @app.after_request
    def add_safety_headers(response: Response) -> Response:
        if response.mimetype == "text/html":
            response.headers.extend(SAFETY_HEADERS)
        return response

    rule = app.add_url_rule
    rule("/oauth/authorize", "authorize", authorize)
    rule("/sign-in", "sign-in", sign_in, methods=["GET", "POST"])
    rule("/signed-in", "signed-in", signed_in)
    rule("/oauth/logout", "logout", logout)
    rule("/account", "account-page", account_page)
    rule("/pages/<name>", "product-page", product_page)
    rule("/favicon.ico", "favicon", lambda: Response(status=204))


def same(expected: str, given: str) -> bool:
    return hmac.compare_digest(expected.encode(), given.encode("utf-8", "surrogatepass"))
