#!/usr/bin/env python3
"""Packs language modules into the archive that the library takes them from: pack_languages.py ARCHIVE CODE.dll...

CODE.dll becomes the member portwise[CODE].dll. The library reads the plainest form of a ZIP archive: deflated members,
no extra fields, no comments, sizes in the local headers. A changed member must not leave the archive in that form
unnoticed, so what was written is looked over before it takes its place.
"""

import os
import pathlib
import struct
import sys
import time
import zipfile

# The same archive from each build. A packager who wants the members dated sets the variable, as for other tools.
EPOCH = 315532800  # 1980-01-01, the first day that the format knows
date = time.gmtime(max(int(os.environ.get("SOURCE_DATE_EPOCH", EPOCH)), EPOCH))[:6]

target = pathlib.Path(sys.argv[1])
fresh = target.with_name(target.name + ".new")
with zipfile.ZipFile(fresh, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
    for module in map(pathlib.Path, sys.argv[2:]):
        member = zipfile.ZipInfo(f"portwise[{module.stem}].dll", date)
        member.compress_type = zipfile.ZIP_DEFLATED
        archive.writestr(member, module.read_bytes())

data = fresh.read_bytes()
with zipfile.ZipFile(fresh) as archive:
    assert archive.testzip() is None and not archive.comment
    for member in archive.infolist():
        assert not member.extra and not member.comment and not member.flag_bits & 0x9, member.filename
        extra, = struct.unpack_from("<H", data, member.header_offset + 28)
        assert extra == 0 and member.compress_type == zipfile.ZIP_DEFLATED, member.filename
assert data[-22:-18] == b"PK\5\6"
fresh.replace(target)
