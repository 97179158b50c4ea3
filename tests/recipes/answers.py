#!/usr/bin/env python3
"""The recipes for Miller, pandas and SQLite answer questions about the two-module truck. The logs,
read by the reference converter, give the same answers, and so does the story of samples/README.md:
the fifth cell of module 2 sags first, the cold morning is that of 14 March.

Usage: answers.py RECIPE TOOL SOURCE
"""

import json
import subprocess
import sys
import tempfile
from pathlib import Path

import logContents
import recordTypes

RECIPE, TOOL, SOURCE = sys.argv[1], *(Path(path).resolve() for path in sys.argv[2:4])
RECIPES, PACKAGE = SOURCE / "recipes", SOURCE / "docs/datapackage.json"
SAMPLES = SOURCE / "samples/two-module-truck"
CELLS = [f"cellRow[{cell}] (V)" for cell in range(1, recordTypes.CELLS + 1)]


def output(*command, **options):
    run = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **options)
    return run.stdout


def weakest_cell(directory):
    printed = output(RECIPES / "weakest-cell", directory / "dynamicInfo.csv").splitlines()
    answers = [line.split() for line in printed[1:]]
    assert [answer[1] for answer in answers[1:]] == ["cellRow[5]"], printed
    measurements = logContents.measurements(SAMPLES)
    for module, (name, cell, unit, mean, count) in zip((1, 2), answers, strict=True):
        loaded = [
            sample
            for sample in measurements
            if sample["module"] == module and sample["current (A)"] < -50
        ]
        means = {cell: sum(sample[cell] for sample in loaded) / len(loaded) for cell in CELLS}
        assert int(name) == module and int(count) == len(loaded), printed
        assert f"{cell} {unit}" == min(means, key=means.get), (printed, means)
        assert abs(float(mean) - min(means.values())) < 1e-6, (printed, means)

    # The names of wide.csv are those of the data package.
    with open(PACKAGE, encoding="utf-8") as file:
        resources = {resource["name"]: resource for resource in json.load(file)["resources"]}
    names = output("mlr", "--icsv", "--ojson", "head", "-n", "1", directory / "wide.csv")
    assert list(json.loads(names)[0]) == [field["name"] for field in resources["wide"]["schema"]["fields"]]


def coldest_charge(directory):
    printed = output(RECIPES / "coldest-charge", directory / "wide.csv", PACKAGE).splitlines()
    coldest = {}
    charging = False
    for record in logContents.records(SAMPLES):
        if record.type == 5 and record.message.startswith(b"systemState=+"):
            charging = record.message == b"systemState=+6"
        elif record.type == 14 and charging:
            fields = [float(field) for field in record.fields]
            if fields[2] > 0:
                answer = (fields[13], record.datestamp.decode())
                coldest[record.module] = min(answer, coldest.get(record.module, answer))
    for line, (module, (degrees, datestamp)) in zip(printed, sorted(coldest.items()), strict=True):
        seconds, _, milliseconds = datestamp.partition(".")
        assert datestamp.startswith("2022-03-14"), datestamp
        time = f"{seconds}.{int(milliseconds):03}000"
        assert line == f"module {module}: {degrees:g} degrees at {time}", (line, datestamp)

    # 1 January 2020, 25 hours and 5 milliseconds after midnight.
    header, *rows = (directory / "wide.csv").read_text().splitlines()
    rows = [row.split(",") for row in rows]
    charged = next(row for row in rows if row[50] == "6" and float(row[3] or 0) > 0)
    charged[0] = "2019-13-01 25:00:00.5"
    (directory / "january.csv").write_text(f"{header}\n{','.join(charged)}\n")
    printed = output(RECIPES / "coldest-charge", directory / "january.csv", PACKAGE)
    assert "at 2020-01-02 01:00:00.005000" in printed, printed


def to_sqlite(directory):
    database = directory / "battery.sqlite"
    subprocess.run(
        [RECIPES / "to-sqlite", directory / "detail.csv", database, PACKAGE], check=True
    )
    printed = output("sqlite3", "-csv", database, stdin=open(RECIPES / "faults.sql"))
    reports = {}
    for record in logContents.records(SAMPLES):
        if record.type == 3 and record.bits and record.datestamp[:7] == b"2022-03":
            names = "; ".join(name.decode() for name in record.fields[2:])
            reports.setdefault(names, []).append(record.datestamp.decode())
    expected = [f'"{name}",{len(all)},"{min(all)}"' for name, all in reports.items()]
    assert printed.splitlines() == expected, (printed, expected)

    def ask(query):
        return output("sqlite3", database, query).split()

    measurements = logContents.measurements(SAMPLES)
    coldest = min(sample["cellTemperature[0] (C)"] for sample in measurements)
    answer = ask('SELECT count(*), min("cellTemperature[0] (C)") FROM "dynamic-info"')
    assert answer == [f"{len(measurements)}|{coldest:g}"], answer
    types = ask('SELECT DISTINCT typeof("current (A)"), typeof(module) FROM "dynamic-info"')
    assert types == ["real|integer"], types
    assert ask("SELECT DISTINCT typeof(state) FROM message") == ["text"]


with tempfile.TemporaryDirectory() as work:
    logContents.convert(TOOL, SAMPLES, Path(work) / "logs")
    {
        "weakest-cell": weakest_cell,
        "coldest-charge": coldest_charge,
        "to-sqlite": to_sqlite,
    }[RECIPE](Path(work) / "logs")
