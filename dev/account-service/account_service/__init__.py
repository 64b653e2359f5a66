"""The account service for development, tests and the demo.

It plays the server side of every exchange of the client library: OAuth 1.0
sign-in in the browser, access tokens, OAuth2 tokens, account documents and
server time. All signatures are checked by oauthlib. It listens on loopback
only and keeps everything in memory.
"""
