"""Checks what recipes/plot-battery draws: its tables, and that every picture is a whole file.

Usage: plotBattery.py SOURCE_DIRECTORY TOOL"""

import csv
import datetime
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

SOURCE, TOOL = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
sys.path.insert(0, str(SOURCE / "tests/recipes"))
import logContents
import recordTypes

MEASUREMENTS, COUNTERS, FAULTS, MESSAGES = (
    ",".join(["Datestamp", *recordTypes.BY_CODE[code].columns]) + "\n" for code in (2, 7, 3, 5))
CELLS = "3.7,3.71,3.72,3.73,3.74,3.72,3.75,0.05"


class Drawing(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.logs = pathlib.Path(scratch.name, "logs")
        self.out = pathlib.Path(scratch.name, "out")
        self.logs.mkdir()

    def write(self, measurements, counters="", detail=""):
        (self.logs / "dynamicInfo.csv").write_text(MEASUREMENTS + measurements)
        (self.logs / "soc.csv").write_text(COUNTERS + counters)
        (self.logs / "detail.csv").write_text(detail)

    def convert(self, sample):
        for log in (SOURCE / "samples" / sample).glob("*.LOG"):
            shutil.copy(log, self.logs)
        subprocess.run([TOOL, self.logs, "--all"], cwd=self.logs, check=True,
                       stdout=subprocess.DEVNULL)

    def draw(self):
        """Runs the recipe, and returns its two outputs."""
        run = subprocess.run([SOURCE / "recipes/plot-battery", self.logs, self.out], text=True,
                             capture_output=True, check=False)
        self.assertEqual(run.returncode, 0, run.stderr)
        return run.stdout, run.stderr

    def table(self, name):
        text = (self.out / "battery-tables" / name).read_text()
        return [line.split("\t") for line in text.splitlines()]

    def check_pictures(self, modules):
        names = {"battery.pdf"} | {f"battery-{m}.{kind}" for m in modules for kind in ("svg", "png")}
        self.assertEqual({path.name for path in self.out.iterdir() if path.is_file()}, names)
        pdf = (self.out / "battery.pdf").read_bytes()
        self.assertTrue(pdf.startswith(b"%PDF-") and pdf.rstrip().endswith(b"%%EOF"))
        self.assertEqual(len(re.findall(rb"/Type\s*/Page\b", pdf)), len(modules))
        for module in modules:
            check_png(self, self.out / f"battery-{module}.png")
            svg = xml.etree.ElementTree.parse(self.out / f"battery-{module}.svg").getroot()
            self.assertEqual(svg.tag, "{http://www.w3.org/2000/svg}svg")
            texts = "".join(svg.itertext())
            for text in (f"module {module}", "Temperature", "cell 7", "balancing", "feature faults"):
                self.assertIn(text, texts)

    def test_worked_out_by_hand(self):
        # Two logs, the later one first; the last day of 2021 with an hour 24; month 13, alone.
        self.write(
            f"2022-01-02 10:00:00.0,1,26,10.5,50,45,{CELLS},20,0,1\n"
            f"2022-01-02 10:10:00.0,1,26.1,-3,51,46,{CELLS},21.5,0,0\n"
            f"2021-12-31 23:50:00.0,1,25,-20,60,55,{CELLS},-5,1,0\n"
            f"2021-12-31 24:05:00.0,1,25.1,-21,59,54,{CELLS},-4,0,0\n"
            f"2021-13-01 23:59:50.5,1,25.2,0,58,53,{CELLS},3,0,0\n"
            # No battery measures these, and the last row is cut off.
            f"2022-01-02 10:01:00.0,1,26,10.5,101,45,{CELLS},20,0,1\n"
            f"2022-01-02 10:02:00.0,1,26,10.5,50,45,{CELLS},-273.15,0,1\n"
            "2022-01-02 10:03:00.0,1,26,10.5,50,45,3.7,3.7,0,3.7,3.7,3.7,3.7,3.7,20,0,1\n"
            "2022-01-02 10:04:00.0,1,26,10.5,50,45,3.7",
            "2022-01-02 10:00:00.0,1,1000000,500000,98,50\n"
            "2022-01-02 10:10:00.0,1,3000000,600000,98.5,51\n",
            MESSAGES
            + "2022-01-02 10:00:00.0,systemState=+6,6\n"
            + "2022-01-02 10:08:00.0,systemState=+1,1\n"
            + FAULTS
            + "2022-01-02 10:05:00.0,64,5\n"
            + "2022-01-02 10:05:00.0,4,9,Voltage sense wire,Low cell voltage\n"
            + "2022-01-02 10:06:00.0,4,0\n"
            + MESSAGES
            + "2021-12-31 23:50:00.0,systemState=+ST_RUN,ST_RUN\n"
            + FAULTS
            + "2021-12-31 23:55:00.0,2,2,Discharge current warning\n")
        _, errors = self.draw()
        self.assertEqual(errors, "plot-battery: left out 4 implausible samples\n")

        # 1500 seconds of records; 1.2 % of them, and a second, for each silence.
        self.assertEqual(self.table("stretches"), [
            ["0", "900", "2021-12-31 23:50:00", "2022-01-01 00:05:00"],
            ["919", "919", "2022-01-01 23:59:50", "2022-01-01 23:59:50"],
            ["938", "1538", "2022-01-02 10:00:00", "2022-01-02 10:10:00"]])
        cells = ["3.7", "3.71", "3.72", "3.73", "3.74", "3.72", "3.75", "50"]
        self.assertEqual(self.table("module-1"), [
            ["0", "2021-12-31 23:50:00", "25", "-20", "60", "55", *cells, "-5", "0"],
            ["900", "2022-01-01 00:05:00", "25.1", "-21", "59", "54", *cells, "-4", "0"],
            [""],
            ["919", "2022-01-01 23:59:50", "25.2", "0", "58", "53", *cells, "3", "1"],
            [""],
            ["938", "2022-01-02 10:00:00", "26", "10.5", "50", "45", *cells, "20", "0"],
            ["1538", "2022-01-02 10:10:00", "26.1", "-3", "51", "46", *cells, "21.5", "0"]])
        day = "2022-01-02 "
        self.assertCountEqual(self.table("bands-1"), [
            ["system state", "0", "900", "2021-12-31 23:50:00", "2022-01-01 00:05:00", "run", "RUN"],
            ["system state", "938", "1418", day + "10:00:00", day + "10:08:00", "charge", "CHARGE"],
            ["system state", "1418", "1538", day + "10:08:00", day + "10:10:00", "starting",
             "RESTART"],
            ["heater", "0", "900", "2021-12-31 23:50:00", "2022-01-01 00:05:00", "heater", ""],
            ["balancing", "938", "1538", day + "10:00:00", day + "10:10:00", "balancing", ""],
            # Nothing ends it but the silence.
            ["current faults", "300", "900", "2021-12-31 23:55:00", "2022-01-01 00:05:00", "fault",
             "Discharge current warning"],
            ["voltage faults", "1238", "1298", day + "10:05:00", day + "10:06:00", "fault",
             "Voltage sense wire, Low cell voltage"],
            # The restart ends it.
            ["other faults", "1238", "1418", day + "10:05:00", day + "10:08:00", "fault",
             "category 64, bits 5"]])
        # 10:00 would run into 00:05.
        self.assertEqual(self.table("ticks"), [
            ["0", "23:50"], ["300", "23:55"], ["600", "1 Jan"], ["900", "00:05"],
            ["1238", "10:05"], ["1538", "10:10"]])
        self.assertEqual(self.table("dates"), [["0", "31 Dec 2021"], ["919", "1 Jan 2022"]])
        self.assertEqual(self.table("modules"), [
            ["1", "5", "2021-12-31 23:50:00", day + "10:10:00", "98.5", "2000", "100"]])
        self.check_pictures([1])

    def test_two_modules(self):
        self.convert("two-module-truck")
        output, errors = self.draw()
        self.assertEqual(errors, "")
        self.assertEqual(len(output.split()), 5)
        self.check_pictures([1, 2])

        # When the truck woke up, as the story of the samples has it.
        self.assertEqual([row[2] for row in self.table("stretches")], [
            "2022-02-28 06:30:00", "2022-03-04 07:00:00", "2022-03-09 06:00:00",
            "2022-03-14 05:30:00", "2022-03-22 07:00:00", "2022-03-30 20:00:00",
            "2022-04-01 07:00:00"])
        for module in "12":
            self.check_samples(module)
        faults = [(row[0], row[3][5:16], row[4][5:16], row[6]) for row in self.table("bands-2")
                  if row[5] == "fault"]
        self.assertCountEqual(faults, faults_in("two-module-truck"))
        self.assertIn(("firmware", "03-30 20:00", "03-30 20:04"),
                      [(row[5], row[3][5:16], row[4][5:16]) for row in self.table("bands-1")])
        self.assertEqual({row[3][:10] for row in self.table("bands-1") if row[0] == "heater"},
                         {"2022-03-14"})

    def check_samples(self, module):
        """Every measurement is drawn, in order, and the line breaks exactly at the silences."""
        with open(self.logs / "dynamicInfo.csv", encoding="utf-8") as file:
            rows = [row for row in csv.reader(file) if row[1] == module]
        expected = []
        for row in rows:
            stamp, milliseconds = row[0].split(".")
            time = datetime.datetime.fromisoformat(stamp)
            time += datetime.timedelta(milliseconds=int(milliseconds))
            cells = [float(cell) for cell in row[6:13]]
            imbalance = f"{(max(cells) - min(cells)) * 1000:.0f}"
            expected.append((time, [stamp, *row[2:13], imbalance, row[14], "0"]))
        expected.sort()
        table = self.table("module-" + module)
        self.assertEqual([row[1:] for row in table if row != [""]], [row for _, row in expected])
        times = iter(time for time, _ in expected)
        before = None
        for row in table:
            if row == [""]:
                interrupted = True
                continue
            time = next(times)
            if before:
                silence = time - before[0]
                self.assertEqual(interrupted, silence > datetime.timedelta(minutes=30), row)
                if not interrupted:
                    self.assertAlmostEqual(float(row[0]) - before[1], silence.total_seconds(), 2)
                self.assertGreater(float(row[0]), before[1])
            before = time, float(row[0])
            interrupted = False

    def test_one_module_with_states_by_name(self):
        self.convert("single-module-truck")
        _, errors = self.draw()
        self.assertEqual(errors, "")
        self.check_pictures([1])
        charges = [(row[3][:16], row[4][:16]) for row in self.table("bands-1") if row[5] == "charge"]
        self.assertEqual(charges, charges_in("single-module-truck"))

    def test_a_single_sample(self):
        self.write(f"2021-13-01 12:30:00.5,3,26,-5,50,45,{CELLS},20,1,0\n")
        _, errors = self.draw()
        self.assertEqual(errors, "")
        self.assertEqual(self.table("module-3")[0][-1], "1")
        self.assertEqual(self.table("ticks"), [["0", "12:30"]])
        self.assertEqual(self.table("dates"), [["0", "1 Jan 2022"]])
        self.check_pictures([3])

    def test_nothing_to_draw(self):
        self.write("")
        output, errors = self.draw()
        self.assertIn("no measurements", output)
        self.assertEqual(errors, "")
        self.assertEqual([path.name for path in self.out.iterdir()], ["battery-tables"])
        for name in ("dynamicInfo.csv", "soc.csv"):
            (self.logs / name).write_text("")
        self.assertIn("no measurements", self.draw()[0])

    def test_picture_in_the_readme(self):
        picture = SOURCE / "docs/battery.png"
        check_png(self, picture)
        self.assertLess(picture.stat().st_size, 300_000)
        self.assertIn("(docs/battery.png)", (SOURCE / "README.md").read_text(encoding="utf-8"))


def faults_in(samples):
    """From the logs themselves: category, begin and end, and name of each fault."""
    names = {1: "general", 2: "current", 4: "voltage", 8: "temperature", 16: "communication",
             128: "feature"}
    active, faults = {}, []
    for record in logContents.records(SOURCE / "samples" / samples):
        time = record.datestamp[5:16].decode()
        if record.type == 3:
            gone = {key for key in active if key[0] == record.category} - {
                (record.category, name) for name in record.fields[2:]}
        elif record.type == 5 and record.message == b"systemState=+1":  # the controller restarts
            gone = set(active)
        else:
            continue
        for key in gone:
            faults.append((f"{names[key[0]]} faults", active.pop(key), time, key[1].decode()))
        if record.type == 3:
            for name in record.fields[2:]:
                active.setdefault((record.category, name), time)
    assert faults and not active, active
    return faults


def charges_in(samples):
    """The begin and the end of each charge that the logs report by name."""
    charges, begin = [], None
    for record in logContents.records(SOURCE / "samples" / samples):
        if record.type == 5 and record.message.startswith(b"systemState=+"):
            time = record.datestamp[:16].decode()
            if begin:
                charges.append((begin, time))
            begin = time if record.message == b"systemState=+ST_CHARGE" else None
    assert charges
    return charges


def check_png(test, path):
    data = path.read_bytes()
    test.assertEqual(data[:8], b"\x89PNG\r\n\x1a\n")
    test.assertEqual(data[-8:-4], b"IEND")
    size = int.from_bytes(data[16:20], "big"), int.from_bytes(data[20:24], "big")
    test.assertEqual(size, (1200, 1100))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
