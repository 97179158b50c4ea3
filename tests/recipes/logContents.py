"""What the logs hold, read without the tool: by the reference converter, which shares no code with
it. The recipes' tests work their numbers out from this."""

import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
import referenceConverter as reference


def records(directory):
    """The records of the directory's logs that lie in the range without any option."""
    logs = sorted(Path(directory).glob("*.LOG"))
    return [record for log in logs for record in records_of(log)]


def records_of(log):
    result = []
    for data in reference.split_into_records(log.read_bytes()):
        record = reference.Record(data)
        reference.interpret(record)
        if b"2016-01-01" <= record.datestamp <= b"2099-12-31":
            result.append(record)
    return result


def measurements(directory):
    """The dynamic info records: numbers by the names of their columns."""
    result = []
    for record in records(directory):
        if record.type in (2, 14):
            names = [name.decode() for name in reference.COLUMNS[2]]
            values = dict(zip(names, map(float, record.fields)))
            result.append({**values, "Datestamp": record.datestamp.decode()})
    return result


def coldest_while_charging(directory):
    """Coldest cells at a current above 10 A, which only the charger and the brakes give."""
    charging = [sample for sample in measurements(directory) if sample["current (A)"] > 10]
    return min(charging, key=lambda sample: sample["cellTemperature[0] (C)"])


def convert(tool, samples, directory):
    """Converts links to the sample logs in a new directory."""
    directory.mkdir()
    for log in Path(samples).resolve().glob("*.LOG"):
        (directory / log.name).symlink_to(log)
    subprocess.run(
        [tool, directory, "--all"], cwd=directory, check=True, stdout=subprocess.DEVNULL
    )
