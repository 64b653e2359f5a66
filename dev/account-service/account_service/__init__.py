"""The account service for development, tests and the demo.

It is the server side of every exchange of the client library: OAuth 1.0
sign-in in the browser, access tokens, OAuth2 tokens, account documents and
server time. oauthlib checks all signatures. The service listens on loopback
only and keeps everything in memory.
"""
