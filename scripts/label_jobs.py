#!/usr/bin/env python3
"""Writes label jobs for the demo: label_jobs.py FOLDER COUNT

Each job is some hundred KB of print data, binary images included, with XPML sections in it. The sections lie across
the borders of the 64 KiB buffers that the spooler passes on, every time at another place: inside "<xpml>", a tag, an
attribute, an entity, the content, an end tag. Beside NAME.job stands NAME.plain: what has to reach the printer.

pages.job has 20 pages, each announced to the monitor and printed by a command of the simulated printer."""

import pathlib
import random
import sys

BUFFER = 64 * 1024
# A section that takes itself out entirely: what its commands leave is pushed away too.
SECTION = b'<xpml><push><job id="17" name=\'A & B\'>label &lt;1&gt; &#65;</job><reverse>abc</reverse></push></xpml>'


def label(number, rng):
    """One label: text commands and a bitmap of random bytes, which may hold a stray `<`."""
    bitmap = rng.randbytes(rng.randrange(2000, 9000)).replace(b"<xpml>", b"<pxml>")
    return b"\x02L\r\nD11\r\n191100401000025LABEL %06d\r\nB%05d" % (number, len(bitmap)) + bitmap + b"\r\nE\r\n"


def job(index, size, rng):
    plain, mixed, number = bytearray(), bytearray(), 0
    cut = index * 29
    while len(mixed) < size:
        number += 1
        data = label(number, rng)
        border = (len(mixed) // BUFFER + 1) * BUFFER
        inside = cut % len(SECTION)
        if len(mixed) + len(data) >= border - inside:
            head = max(border - inside - len(mixed), 0)
            # Keep a `<` that ends the plain bytes from touching the section's start.
            data = data[:max(head - 1, 0)] + b"." + data[max(head - 1, 0) + 1:]
            mixed += data[:head] + SECTION + data[head:]
            cut += 7
        else:
            mixed += data
        plain += data
    return bytes(mixed), bytes(plain)


def page_job(count, rng):
    plain, mixed = bytearray(), bytearray()
    for number in range(1, count + 1):
        data = label(number, rng).replace(b"\x1b", b".") + b"\x1b!PG0001\r\n"
        mixed += b"<xpml><page quantity='1' pitch='2in'/></xpml>" + data
        plain += data
    return bytes(mixed + b"<xpml><end/></xpml>"), bytes(plain)


def main():
    folder, count = pathlib.Path(sys.argv[1]), int(sys.argv[2])
    rng = random.Random(2026)
    for index in range(count):
        mixed, plain = job(index, rng.randrange(200_000, 700_000), rng)
        (folder / f"labels-{index + 1}.job").write_bytes(mixed)
        (folder / f"labels-{index + 1}.plain").write_bytes(plain)
    mixed, plain = page_job(20, rng)
    (folder / "pages.job").write_bytes(mixed)
    (folder / "pages.plain").write_bytes(plain)


main()
