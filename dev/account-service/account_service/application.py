"""The web application: all endpoints, and the answers for refusals."""

from flask import Flask, Response, request
from werkzeug.exceptions import HTTPException

from . import data_endpoints, oauth2_endpoint, oauth_endpoints, pages
from .exchange import Exchange
from .refusal import Refusal
from .service import Service


def make_application(service: Service) -> Flask:
    app = Flask(__name__)
    for module in (oauth_endpoints, oauth2_endpoint, data_endpoints, pages):
        module.register(app, service)

    @app.errorhandler(Refusal)
    def refuse(refusal: Refusal) -> Response:
        Exchange.of(request.environ).verdict = refusal.problem
        return refusal.to_response()

    @app.errorhandler(HTTPException)
    def refuse_http(error: HTTPException) -> Response:
        Exchange.of(request.environ).verdict = f"http_{error.code}"
        response = error.get_response()
        if error.code is not None and error.code >= 400:
            response.headers["x-vqs-reason-phrase"] = error.name
        return response

    return app
