#!/usr/bin/env python3
"""Asks the monitor of a printer something over HTTP: ask_printer.py [--host HOST] [--port PORT] [--share] PRINTER REQUEST.

The reply's bytes go to standard output. With --share PRINTER is the name under which the printer is shared.
"""

import argparse
import http.client
import sys
import urllib.parse


def ask(host, port, names, request):
    """The reply's bytes; ValueError when the service knows no such printer or its port is not open."""
    connection = http.client.HTTPConnection(host, port, timeout=10)
    form = urllib.parse.urlencode({**names, "xpml": request})
    try:
        connection.request("POST", "/xpml", form, {"Content-Type": "application/x-www-form-urlencoded"})
        response = connection.getresponse()
        reply = response.read()
    finally:
        connection.close()
    if response.status == 400:
        raise ValueError("the service does not know the printer, or its port is not open")
    if response.status != 200:
        raise ValueError(f"the service answers {response.status} {response.reason}")
    # Text has one NUL more, so that it is a C string; other replies are exactly their bytes.
    if response.getheader("Content-Type") == "text/plain":
        reply = reply.removesuffix(b"\0")
    return reply


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--host", default="localhost")
    parser.add_argument("--port", type=int, default=6160)
    parser.add_argument("--share", action="store_true")
    parser.add_argument("printer")
    parser.add_argument("request")
    arguments = parser.parse_args()
    names = {"share" if arguments.share else "printer": arguments.printer}
    try:
        reply = ask(arguments.host, arguments.port, names, arguments.request)
    except (OSError, http.client.HTTPException, ValueError) as failure:
        sys.exit(f"ask_printer: {failure}")
    sys.stdout.buffer.write(reply)


if __name__ == "__main__":
    main()
