#!/usr/bin/env python3
"""Runs the tool and the reference converter on the same logs and compares all that is left behind.

Usage: compareWithReference.py <tool> samples <samples directory>
       compareWithReference.py <tool> random <number of directories>

Both see the same directory, so both get its entries in the same order. A difference ends the
comparison, and the directory in which it showed is kept.
"""

import itertools
import os
import random
import shutil
import subprocess
import sys
import tempfile

import recordTypes
import referenceConverter


def fail(what, directory, arguments, expected, actual):
    print(f"{what} is not as expected in {os.getcwd()}: {' '.join(map(repr, arguments))}")
    expected_lines = expected.split(b"\n")
    actual_lines = actual.split(b"\n")
    for number, (left, right) in enumerate(
        itertools.zip_longest(expected_lines, actual_lines), start=1
    ):
        if left != right:
            print(f"line {number}\n  expected {left!r}\n  actual   {right!r}")
            break
    sys.exit(1)


def files_below(directory):
    result = {}
    for parent, _, names in os.walk(directory):
        for name in names:
            path = os.path.join(parent, name)
            if not name.endswith(b".LOG"):
                with open(path, "rb") as file:
                    result[os.path.normpath(path)] = file.read()
    return result


def compare(tool, arguments):
    """In the working directory, which must hold no files but logs."""
    expected = referenceConverter.convert(arguments)
    actual = subprocess.run([tool, *arguments], capture_output=True, check=False)
    here = os.getcwd()
    if actual.returncode != expected.status:
        fail("The exit status", here, arguments, b"%d" % expected.status, b"%d" % actual.returncode)
    if actual.stdout != expected.out:
        fail("Standard output", here, arguments, expected.out, actual.stdout)
    if actual.stderr != expected.err:
        fail("Standard error", here, arguments, expected.err, actual.stderr)
    actual_files = files_below(b".")
    expected_files = {os.path.normpath(name): text for name, text in expected.files.items()}
    if actual_files.keys() != expected_files.keys():
        names = [b"\n".join(sorted(each)) for each in (expected_files, actual_files)]
        fail("The list of files", here, arguments, *names)
    for name, text in expected_files.items():
        if actual_files[name] != text:
            fail(name.decode(), here, arguments, text, actual_files[name])
        os.remove(name)


# Every choice of outputs, in one spelling each.
OUTPUTS = [
    [word for word, chosen in zip(("--detail", "-d", "--soc", "--wide"), choice) if chosen]
    for choice in itertools.product((False, True), repeat=4)
]
OTHER_SPELLINGS = [["--all"], ["-a"], ["--dynamicInfo"], ["-s"], ["-w"], ["-x", "--ALL"]]
RANGES = [
    ["--startdate", "2022-03-01", "--enddate", "2022-04-01"],
    ["--startdate", "2022-03-14", "--starttime", "06:00:00", "--endtime", "x"],
    ["--startdate", "", "--enddate", ""],
]


def compare_samples(tool, samples):
    for name in ("two-module-truck", "single-module-truck", "damaged"):
        shutil.copytree(
            os.path.join(samples, name), name, ignore=lambda _, names: all_but_logs(names)
        )
        for outputs in OUTPUTS + OTHER_SPELLINGS:
            compare(tool, [name, *outputs])
        for date_range in RANGES + [range_between_records(name)]:
            compare(tool, [name, "--all", *date_range])
        for log in os.listdir(name):
            compare(tool, [f"{name}/{log}", "--all"])
        compare(tool, ["--all", f"{name}/"])


def range_between_records(directory):
    """A range whose bounds are datestamps of records."""
    with open(f"{directory}/{min(os.listdir(directory))}", "rb") as file:
        records = referenceConverter.split_into_records(file.read())
    stamps = [referenceConverter.Record(record).datestamp.decode() for record in records]
    options = ("--startdate", "--starttime", "--enddate", "--endtime")
    return list(itertools.chain(*zip(options, f"{stamps[2]} {stamps[-4]}".split())))


def all_but_logs(names):
    return [name for name in names if not name.endswith(".LOG")]


# --- Random logs --------------------------------------------------------------------------------

CODES = [0, *recordTypes.BY_CODE, 255]
DAYS = [0, 365, 366, 11688, 11689, 12845, 13939, 13940, 13941, 14000, 42367, 42368, 65535]
PREFIXES = [
    b"systemState=+",
    b"chargeSchedule.state = ",
    b"sbx_sense=+",
    b"hud_multifunc=+",
    b"ac_no_sense=+",
    b"interlock=+",
]
TAILS = [
    *(b"", b"0", b"1", b"7", b"00", b"-5", b"+7", b"++7", b"-0", b"4294967296", b" \n7", b"x", b"0x1"),
    *(b"1\0", b"IDLE", b"ST_RUN", b"ST_CHARGE", b"ST_RESTART", b"a,b\nc", b"99999999999999999999"),
]


def random_record(chance):
    kind = chance.choice([*CODES, 3, 3, 5, 5, 5, 5, 14, 14])
    if kind == 5:
        payload = chance.choice([*PREFIXES, b"", b"sbx_sense="]) + chance.choice(TAILS)
        if chance.random() < 0.1:
            payload = b"systemState=+1"  # a restart
    else:
        example = recordTypes.BY_CODE.get(kind, recordTypes.UNKNOWN)
        payload = chance.randbytes(len(example.payload))
        if chance.random() < 0.5:
            payload = bytes(byte if chance.random() < 0.5 else 0 for byte in payload)
        if kind == 2 and chance.random() < 0.5:
            payload = payload[2:]  # a 16-bit current
        if kind in (13, 14, 15):
            payload = bytes([chance.choice([0, 1, 1, 2, 2, 3, 255])]) + payload[1:]
        if kind == 3:
            payload = payload[:2] + bytes([chance.choice([1, 2, 4, 8, 16, 128, 64])]) + payload[3:]
        if kind in (1, 13):
            payload = payload[:-66] + b" 1.2 \t3".ljust(chance.choice([7, 32]), b"\0") + payload[-34:]
        if kind == 6:
            payload = chance.choice([b"BMC fw 1.2 x", b"a b", b" a\tb\nc\0d", b"", payload])
    if chance.random() < 0.1:
        payload = payload[: chance.randrange(len(payload) + 1)]
    if chance.random() < 0.1:
        payload += chance.randbytes(chance.randrange(12))
    day = chance.choice(DAYS) if chance.random() < 0.2 else 13940 + chance.randrange(4)
    time = chance.randrange(1 << 32) if chance.random() < 0.1 else chance.randrange(86400000)
    return bytes([kind]) + time.to_bytes(4, "big") + day.to_bytes(2, "big") + payload


def random_log(chance):
    style = chance.random()
    if style < 0.1:
        return chance.randbytes(chance.randrange(400))
    if style < 0.2:
        return bytes(chance.choice([0x10, 0x03, 0x10, 0x02, 0x05, 0x0B, 0x41]) for _ in range(200))
    log = b"".join(
        random_record(chance).replace(b"\x10", b"\x10\x10") + b"\x10\x03"
        for _ in range(chance.randrange(40))
    )
    for _ in range(chance.choice([0, 0, 1, 5])):
        place = chance.randrange(len(log) + 1)
        harm = chance.choice(["cut", "change", "insert", "remove"])
        if harm == "cut":
            log = log[:place]
        elif harm == "change":
            log = log[:place] + chance.randbytes(1) + log[place + 1 :]
        elif harm == "insert":
            log = log[:place] + chance.choice([b"\x10", b"\x10\x03", b"\x10A", b"\0"]) + log[place:]
        else:
            log = log[:place] + log[place + 1 + chance.randrange(8) :]
    return log


def random_range(chance):
    result = []
    for option in ("--startdate", "--starttime", "--enddate", "--endtime"):
        if chance.random() < 0.25:
            dates = ["2022", "2022-03-03", "1984-13-01", "2099-12-31", "", ""]
            result += [option, chance.choice(["12:00", "06:3"] if "time" in option else dates)]
            if result[-1] == "":
                break  # a time after an empty date is a refusal
    return result


def compare_random(tool, count):
    for number in range(count):
        chance = random.Random(number)
        directory = f"d{number}"
        os.mkdir(directory)
        for log in range(chance.choice([1, 1, 2, 3, 6])):
            with open(f"{directory}/{log}.LOG", "wb") as file:
                file.write(random_log(chance))
        if chance.random() < 0.1:
            os.mkdir(f"{directory}/directory.LOG")
        if chance.random() < 0.1:
            os.symlink("nowhere", f"{directory}/dangling.LOG")
        date_range = random_range(chance)
        compare(tool, [directory, "--all", *date_range])
        compare(tool, [directory, *chance.choice(OUTPUTS), *date_range])
        compare(tool, [f"{directory}/0.LOG", *chance.choice(OUTPUTS), *date_range])
        shutil.rmtree(directory)
    os.mkdir("empty")
    compare(tool, ["empty", "--all"])
    compare(tool, ["missing.LOG", "--all"])


def main():
    tool, what, argument = os.path.abspath(sys.argv[1]), sys.argv[2], sys.argv[3]
    argument = int(argument) if what == "random" else os.path.abspath(argument)
    directory = tempfile.mkdtemp(prefix="compareWithReference-")
    os.chdir(directory)
    {"samples": compare_samples, "random": compare_random}[what](tool, argument)
    os.chdir("/")
    shutil.rmtree(directory)


if __name__ == "__main__":
    main()
