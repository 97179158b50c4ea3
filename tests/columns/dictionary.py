#!/usr/bin/env python3
"""Holds docs/columns.tsv against what the tool writes, and against the golden files: the headers of
every file and every record type, and every value against its type and range.

Usage: dictionary.py TOOL SOURCE
"""

import re
import runpy
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

TOOL = Path(sys.argv[1]).resolve()
SOURCE = Path(sys.argv[2]).resolve()
TABLES = runpy.run_path(str(SOURCE / "script/columns"))["load"]()
DATESTAMP = r"\d{4}-(0[1-9]|1[0-3])-\d\d \d{2,}:[0-5]\d:[0-5]\d\.(0|[1-9]\d{0,2})"
NUMBER = r"-?\d+(\.\d+)?(e[-+]\d+)?"

problems = []
headers_seen = set()
values_seen = {}


def header_of(table):
    return ",".join(column["name"] for column in TABLES[table] if column["headed"])


BLOCKS = {header_of(table): table for table in TABLES if table.startswith("detail/")}


def fits(column, value):
    if value == "" and column["empty"] != "never":
        return True
    kind, limits = column["type"], column["range"]
    if kind == "text":
        return True
    if kind == "datestamp":
        first, last = limits.split(" .. ")
        return bool(re.fullmatch(DATESTAMP, value)) and first <= value[:10] <= last
    if kind == "hex":
        return bool(re.fullmatch("([0-9a-f]{2} )+", value))
    if kind in ("flag", "choice"):
        return value in limits.split(", ")
    if kind == "number" and limits == "any" and re.fullmatch("-?(nan|inf)", value):
        return True
    if not re.fullmatch(r"-?\d+" if kind == "integer" else NUMBER, value):
        return False
    if limits == "any":
        return True
    low, high = map(float, limits.split(".."))
    return low <= float(value) <= high


def check_row(table, fields, where):
    columns = TABLES[table]
    open_end = columns[-1]["position"].endswith("+")
    if len(fields) != len(columns) and not open_end:
        problems.append(f"{where}: {len(fields)} fields, {len(columns)} columns in {table}")
        return
    for column, value in zip(columns, fields):
        values_seen[table, column["position"]] = values_seen.get((table, column["position"]), 0) + 1
        if not fits(column, value):
            problems.append(f"{where}: {table} {column['name']}: {value!r} is no {column['type']}")


def check_header(table, line, where):
    headers_seen.add(table)
    if line != header_of(table):
        problems.append(f"{where}: the header is not the dictionary's {table}: {line}")


def check_table(path):
    lines = path.read_text("latin-1").split("\n")[:-1]
    check_header(path.name, lines[0], path)
    for number, line in enumerate(lines[1:], 2):
        check_row(path.name, line.split(","), f"{path}:{number}")


def check_detail(path):
    """A line that begins neither a row nor a block belongs to the text before it."""
    table = None
    rows = []
    for number, line in enumerate(path.read_text("latin-1").split("\n")[:-1], 1):
        where = f"{path}:{number}"
        if line.startswith("Datestamp,"):
            table = BLOCKS.get(line)
            if table is None:
                problems.append(f"{where}: a header that the dictionary does not know: {line}")
                return
            headers_seen.add(table)
        elif re.match(DATESTAMP, line):
            rows.append([table, line, where])
        else:
            rows[-1][1] += "\n" + line
    for table, row, where in rows:
        if table == "detail/unknown":
            fields = [row[: row.index(" ", 11) - 2], row[row.index(" ", 11) - 2 :]]
        elif table == "detail/warranty":
            fields = list(re.fullmatch(r"([-0-9:. ]+)(.*)", row).groups())
        elif table == "detail/message":
            stamp, _, rest = row.partition(",")
            fields = [stamp, *rest.rsplit(",", 1)]
        else:
            fields = row.split(",")
        check_row(table, fields, where)


def check_directory(directory):
    for path in sorted(directory.rglob("*.csv")):
        if path.name.endswith("detail.csv"):
            check_detail(path)
        else:
            check_table(path)


check_directory(SOURCE / "tests/golden")
golden_values = dict(values_seen)
with tempfile.TemporaryDirectory() as work:
    for samples in sorted((SOURCE / "samples").iterdir()):
        if samples.is_dir():
            logs = Path(work) / samples.name
            shutil.copytree(samples, logs)
            subprocess.run([TOOL, logs, "--all"], cwd=logs, check=True, stdout=subprocess.DEVNULL)
    check_directory(Path(work))

problems += [f"no file has the columns of {table}" for table in set(TABLES) - headers_seen]
for table, columns in TABLES.items():
    for column in columns:
        if table != "synopsis.csv" and not golden_values.get((table, column["position"])):
            problems.append(f"no golden file has a value of {table} {column['name']}")
print(f"{sum(values_seen.values())} values in {len(headers_seen)} tables")
for problem in problems[:20]:
    print(problem)
sys.exit(1 if problems else 0)
