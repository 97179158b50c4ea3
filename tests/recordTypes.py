"""The catalogue of record types, recordTypes.tsv: whatever outside of src/ goes through the types
takes them from there."""

import csv
from pathlib import Path


class RecordType:
    """A row of the table."""

    def __init__(self, row):
        self.code = int(row["code"])
        # Of its columns in docs/columns.tsv; a type with module address has that of the plain one.
        self.name = row["name"]
        self.class_name = row["class"]
        self.columns = row["header"].split(",")  # those after the datestamp
        # The bytes of an example, as many as the controller writes.
        self.payload = bytes.fromhex(row["payload"])

    def __str__(self):
        return f"type {self.code} ({self.name})"


def load():
    with open(Path(__file__).with_name("recordTypes.tsv"), encoding="ascii", newline="") as table:
        return [RecordType(row) for row in csv.DictReader(table, delimiter="\t")]


*KNOWN, UNKNOWN = load()  # those that have a class of their own, and what stands for the others
BY_CODE = {each.code: each for each in (*KNOWN, UNKNOWN)}
CELLS = sum(name.startswith("cellRow[") for name in BY_CODE[2].columns)  # of a module
SENSORS = sum(name.startswith("cellTemperature[") for name in BY_CODE[2].columns)
