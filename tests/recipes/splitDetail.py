#!/usr/bin/env python3
"""recipes/split-detail gives every record of the logs, field by field: those of the samples, and
those of logs made to be hard to take apart.

Usage: splitDetail.py TOOL SOURCE
"""

import csv
import io
import sys
import subprocess
import tempfile
from pathlib import Path

import logContents
import recordTypes
from logContents import reference

TOOL, SOURCE = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
KINDS = {each.code: each.name for each in recordTypes.KNOWN}


def fields(record):
    """What the record's row must hold, every field in its place."""
    if record.type == 3:
        category, bits, *names = record.fields
        return [category, bits, b"; ".join(names)]
    if record.type == 10:
        return [record.event]
    if record.type == 11:
        return [reference.number(record.unsigned(2)) for _ in range(3)]
    if record.type in KINDS:
        return record.fields
    return [b"".join(b"%02x " % byte for byte in record.data)]


def expected(directory):
    tables = {}
    for record in logContents.records(directory):
        kind = KINDS.get(record.type, "unknown")
        row = [record.datestamp] + fields(record)
        tables.setdefault(kind, []).append([field.decode("latin-1") for field in row])
    return {kind: sorted(rows) for kind, rows in tables.items()}


def split(directory):
    out = directory / "split"
    subprocess.run([SOURCE / "recipes/split-detail", directory / "detail.csv", out], check=True)
    tables = {}
    for path in out.iterdir():
        text = path.read_bytes().decode("latin-1")
        header, *rows = csv.reader(io.StringIO(text, newline=""))
        assert all(len(row) == len(header) for row in rows), path
        assert header[0] == "Datestamp" and len(set(header)) == len(header), header
        tables[path.stem] = sorted(rows)
    return tables


def frame(kind, payload, milliseconds):
    # 4 March 2022 is day 13942.
    data = bytes([kind]) + milliseconds.to_bytes(4, "big") + (13942).to_bytes(2, "big") + payload
    return data.replace(b"\x10", b"\x10\x10") + b"\x10\x03"


def static_info(name, version):
    return (
        bytes(49) + name.ljust(32, b"\0") + bytes(32) + version.ljust(32, b"\0") + bytes(34)
    )


HARD = [
    (0, b"\x01"),  # the first record of the log: no header stands above it
    (5, b"one, two,, three,"),
    (5, b"two\nlines, the second of which, has commas"),
    (5, b'"quoted", not'),
    (5, b""),
    (5, b","),
    (5, b"systemState=+"),
    (5, b"systemState=+5"),
    (5, b"systemState=+a,b"),
    (5, b"systemState=+a\nb"),
    (5, b" systemState=+5"),
    (5, b"carriage return\r\nand line feed\n"),
    (5, b"12 ab cd "),
    (0, b""),
    (200, b"\x10\xff"),
    (10, b"\x00"),
    (10, b"\xc8"),
    (6, b"BMC, firmware, \"2.4.1\""),
    (3, b"\0\0\x80\0\0\0\x03\xff"),
    (3, b"\0\0\x40\0\0\0\0\x05"),
    (13, b"\x02" + static_info(b"BMU, 7S, 210Ah", b"1.9.0")),
    (1, static_info(b"", b"")),
    (9, b"\x33"),
    *((each.code, each.payload) for each in recordTypes.BY_CODE.values()),
]

with tempfile.TemporaryDirectory() as temporary:
    work = Path(temporary)
    hard = work / "made" / "hard"
    hard.mkdir(parents=True)
    # Times of one to three digits of milliseconds stand before the bytes of unknown records.
    for step in (1, 37, 999):
        log = b"".join(frame(*record, 5 + step * n) for n, record in enumerate(HARD))
        (hard / f"{step}.LOG").write_bytes(log)
    for samples in (*sorted((SOURCE / "samples").glob("*/")), hard):
        logContents.convert(TOOL, samples, work / samples.name)
        found, wanted = split(work / samples.name), expected(samples)
        assert found.keys() == wanted.keys(), (found.keys(), wanted.keys())
        for kind, rows in wanted.items():
            different = [pair for pair in zip(found[kind], rows) if pair[0] != pair[1]]
            assert not different, different[:2]
            assert len(found[kind]) == len(rows), f"{samples}: {kind}"
        print(f"{samples.name}: {sum(map(len, wanted.values()))} records")
