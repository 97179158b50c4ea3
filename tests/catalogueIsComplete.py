#!/usr/bin/env python3
"""Says for each record type of recordTypes.tsv what it lacks, and which types the table lacks. What
is not looked for here is made of the table: the fuzzers' seeds, the micro benchmarks, the logs "of
all types" of the unit tests, the records of the random logs. The compiler asks for the type's case
in ConvertFile::convert.

Usage: catalogueIsComplete.py SOURCE FACTORY_CLASSES RECORD_TYPES_TEST PAYLOAD_SWEEP_TEST
"""

import re
import runpy
import subprocess
import sys
import tempfile
from pathlib import Path

import recordTypes
import referenceConverter as reference

SOURCE, *PROGRAMS = (Path(path).resolve() for path in sys.argv[1:])
FACTORY_CLASSES, RECORD_TYPES_TEST, PAYLOAD_SWEEP_TEST = PROGRAMS
UNKNOWN = recordTypes.UNKNOWN
problems = []


def output(*command):
    """Of a program that may leave files where it runs."""
    with tempfile.TemporaryDirectory() as work:
        run = subprocess.run(command, cwd=work, check=True, stdout=subprocess.PIPE, text=True)
    return run.stdout


def codes_in_test_names(program, suite):
    """The codes of the tests of a suite whose names begin with "type" and a code."""
    listed = output(program, "--gtest_list_tests", f"--gtest_filter={suite}*type*")
    return {int(code) for code in re.findall(r"^  (?:\w+/)?type(\d+)", listed, re.MULTILINE)}


def named(text):
    """The column names in a text, those between two numbered ones included."""
    names = set(re.findall("`([^`]+)`", text))
    for before, first, after, last in re.findall(
        r"`([^`\[]+\[)(\d+)(\][^`]*)` to `[^`\[]+\[(\d+)\][^`]*`", text
    ):
        names.update(f"{before}{n}{after}" for n in range(int(first), int(last) + 1))
    return names


def sections(text):
    """The sections of log-format.md that describe types: text by code."""
    result = {}
    for section in re.split("^(?=##)", text, flags=re.MULTILINE):
        heading = re.match(r"### (\d+)(?: and (\d+))?: ", section)
        if heading:
            result.update((int(code), section) for code in heading.groups() if code)
    return result


def decoded_by_reference(each):
    """Whether the reference converter makes anything but a dump of the example."""
    try:
        record = reference.Record(bytes([each.code]) + bytes(6) + each.payload)
        reference.interpret(record)
        row = reference.row(record)
    except Exception as error:  # whatever a decoder that is not finished may raise
        return f"cannot decode the example: {error!r}"
    return "" if row != record.datestamp + record.data.hex(" ").encode() + b" \n" else "no decoding"


# --- The table itself ---------------------------------------------------------------------------

codes = [each.code for each in recordTypes.KNOWN]
classes = [each.class_name for each in recordTypes.BY_CODE.values()]
if codes != sorted(set(codes)) or UNKNOWN.code != 200 or len(set(classes)) != len(classes):
    problems.append("tests/recordTypes.tsv: codes and classes are not unique, or not in order")
for each in recordTypes.BY_CODE.values():
    if not each.payload or not all(each.columns):
        problems.append(f"{each}: tests/recordTypes.tsv has no example or an empty column name")

# --- The library --------------------------------------------------------------------------------

numbers, *made = output(FACTORY_CLASSES).splitlines()
cells, sensors = map(int, numbers.split())
for code, class_name in enumerate(made):
    each = recordTypes.BY_CODE.get(code)
    if each is None and class_name != UNKNOWN.class_name:
        problems.append(f"type {code}: tests/recordTypes.tsv does not list {class_name}")
    if each is not None and class_name != each.class_name:
        problems.append(f"{each}: no {each.class_name} in the factory, which makes {class_name}")
if (cells, sensors) != (recordTypes.CELLS, recordTypes.SENSORS):
    problems.append(
        f"tests/recordTypes.tsv names {recordTypes.CELLS} cells and {recordTypes.SENSORS} sensors,"
        f" the library has {cells} and {sensors}"
    )
for each in recordTypes.KNOWN:
    length = 14 + 2 * (recordTypes.CELLS + recordTypes.SENSORS) + (each.code == 14)
    if each.name == "dynamic-info" and len(each.payload) != length:
        problems.append(f"{each}: the example in tests/recordTypes.tsv has not {length} bytes")

# --- What each type must have -------------------------------------------------------------------

rows = codes_in_test_names(RECORD_TYPES_TEST, "RowByHand")
layouts = codes_in_test_names(PAYLOAD_SWEEP_TEST, "Types/Layouts")
log_format = (SOURCE / "docs/log-format.md").read_text("utf-8")
described = sections(log_format)
table_of_types = re.search("^## Record types$(.*?)^###", log_format, re.DOTALL | re.MULTILINE)[1]
tables = runpy.run_path(str(SOURCE / "script/columns"))["load"]()
sampled = {
    record[0]
    for log in SOURCE.glob("samples/*/*.LOG")
    for record in reference.split_into_records(log.read_bytes())
    if record
}
for each in recordTypes.KNOWN:
    if each.code not in rows:
        problems.append(f"{each}: no hand-worked row in tests/RecordTypesTest.cpp")
    if each.code not in layouts:
        problems.append(f"{each}: no layout in tests/PayloadSweepTest.cpp")
    if fault := decoded_by_reference(each):
        problems.append(f"{each}: {fault} in tests/referenceConverter.py")
    if each.code not in described:
        problems.append(f"{each}: no section in docs/log-format.md")
    for name in each.columns if each.code in described else []:
        if name not in named(described[each.code]):
            problems.append(f"{each}: its section in docs/log-format.md lacks column {name}")
    if f"\n| {each.code} | " not in table_of_types:
        problems.append(f"{each}: no row in the table of types in docs/log-format.md")
    if each.code not in sampled:
        problems.append(f"{each}: in no sample log (samples/makeSamples.cpp, then script/generate)")
for each in recordTypes.BY_CODE.values():
    columns = tables.get(f"detail/{each.name}", [])
    if not columns:
        problems.append(f"{each}: no columns in docs/columns.tsv")
    elif [column["name"] for column in columns if column["headed"]] != ["Datestamp", *each.columns]:
        problems.append(f"{each}: docs/columns.tsv has other columns than tests/recordTypes.tsv")
if UNKNOWN.code not in sampled:
    problems.append(f"{UNKNOWN}: in no sample log (samples/makeSamples.cpp)")

# --- What has no class --------------------------------------------------------------------------

first = max(codes) + 1
for text in f"\n### 0 and {first} to 255: unknown\n", f"\n| 0, {first} to 255 | [unknown]":
    if text not in log_format:
        problems.append(f"docs/log-format.md: unknown are 0 and {first} to 255, but no {text.strip()!r}")
names = {each.name for each in recordTypes.BY_CODE.values()}
for table in tables:
    if table.startswith("detail/") and table.removeprefix("detail/") not in names:
        problems.append(f"docs/columns.tsv: no type of tests/recordTypes.tsv is called {table}")

for problem in problems:
    print(problem)
print(f"{len(recordTypes.KNOWN)} types, {len(problems)} problems")
sys.exit(1 if problems else 0)
