#!/usr/bin/env python3
"""recipes/calc opens wide.csv in LibreOffice Calc: as many rows and columns as the logs make, numbers
as numbers and texts as texts, with decimal points as with decimal commas.

Usage: calc.py TOOL SOURCE
"""

import os
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
import zipfile
from pathlib import Path

import logContents

TOOL, SOURCE = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
SAMPLES = SOURCE / "samples/two-module-truck"
COLUMNS = logContents.reference.Wide.header_line().count(b",") + 1
TABLE = "{urn:oasis:names:tc:opendocument:xmlns:table:1.0}"
OFFICE = "{urn:oasis:names:tc:opendocument:xmlns:office:1.0}"


def import_csv(path, locale):
    """The cells of the document that Calc makes of the file: numbers, texts or None."""
    out = path.parent / locale
    subprocess.run(
        [SOURCE / "recipes/calc", path, out],
        env={**os.environ, "LC_ALL": locale, "HOME": str(path.parent)},
        check=True,
        stdout=subprocess.DEVNULL,
        stderr=subprocess.DEVNULL,
    )
    with zipfile.ZipFile(out / f"{path.stem}.ods") as document:
        root = ElementTree.fromstring(document.read("content.xml"))
    rows = []
    for row in root.iter(f"{TABLE}table-row"):
        cells = []
        for cell in row:
            value = None
            if cell.get(f"{TABLE}formula"):
                value = "a formula"
            elif cell.get(f"{OFFICE}value-type") == "float":
                value = float(cell.get(f"{OFFICE}value"))
            elif cell.get(f"{OFFICE}value-type"):
                value = "".join(cell.itertext())
            cells += [value] * int(cell.get(f"{TABLE}number-columns-repeated", 1))
        rows += [cells] * int(row.get(f"{TABLE}number-rows-repeated", 1))
    return rows


with tempfile.TemporaryDirectory() as temporary:
    work = Path(temporary)
    logContents.convert(TOOL, SAMPLES, work / "logs")
    records = logContents.records(SAMPLES)
    # Every log begins with a system state, so every measurement and every message gives a row.
    rows = sum(record.type in (5, 14) for record in records)
    measurements = logContents.measurements(SAMPLES)
    for locale in "C", "de_DE.UTF-8":
        header, *cells = import_csv(work / "logs/wide.csv", locale)
        assert len(header) == COLUMNS, len(header)
        assert len(cells) == rows, (len(cells), rows)
        first = {}
        for row in cells:
            assert isinstance(row[0], str) and isinstance(row[50], str), row
            assert row[56] in (None, "2.4.1", "2.5.0"), row
            for value in row[1:43] + row[44:50]:
                assert value is None or isinstance(value, float), value
            first.setdefault(row[0], row)
        for sample in measurements:
            row, module = first[sample["Datestamp"]], int(sample["module"])
            for position, name in (2, "packVoltage (V)"), (3, "current (A)"):
                assert row[position + 16 * (module - 1)] == sample[name], (row, sample)
        print(f"{locale}: {len(cells)} rows, {len(header)} columns")

    # What a log can put into a cell is not evaluated.
    header, *lines = (work / "logs/wide.csv").read_text().splitlines()
    fields = lines[0].split(",")
    fields[50] = "=1+1"
    (work / "formula.csv").write_text(f"{header}\n{','.join(fields)}\n")
    assert import_csv(work / "formula.csv", "C")[1][50] == "=1+1"
