"""A Kivo client written from docs/message-ports.md and docs/protocol.md alone.

It shares no code with the driver, so what it agrees on with the driver is what the documents say.
"""
