#!/usr/bin/env python3
"""The sample logs tell the stories of samples/README.md. They are read by the reference converter.

Usage: sampleStories.py SOURCE
"""

import sys
from pathlib import Path

SOURCE = Path(sys.argv[1]).resolve()
sys.path.insert(0, str(SOURCE / "tests/recipes"))
import logContents

SAMPLES = SOURCE / "samples"


class Log:
    def __init__(self, path):
        self.records = logContents.records_of(path)

    def of(self, *types):
        return [record for record in self.records if record.type in types]

    def times(self, type_code, chosen):
        """Hours and minutes at which the log has such records."""
        return [record.datestamp[11:16].decode() for record in self.of(type_code) if chosen(record)]

    def faults(self, name):
        return self.times(3, lambda record: name in record.fields)

    def messages(self, text):
        return self.times(5, lambda record: record.message == text)

    def samples(self, module=None):
        """The numbers of the measurements."""
        return [
            [float(field) for field in record.fields]
            for record in self.of(2, 14)
            if module in (None, record.module)
        ]


def mean_of_cells(samples):
    loaded = [sample[5:-4] for sample in samples if sample[2] < -50]
    return [sum(cell) / len(loaded) for cell in zip(*loaded)]


logs = {path.stem: Log(path) for path in SAMPLES.glob("*/*.LOG")}
truck = [logs[path.stem] for path in sorted(SAMPLES.glob("two-module-truck/*.LOG"))]

# The battery is commissioned.
assert [len(log.of(10)) for log in truck] == [1, 0, 0, 0, 0, 0, 0]
assert logs["20220228"].of(10)[0].event == b"COMMISSIONED"

# The bump: a shock, the interlock opens, and the fault stands until 9:10.
bump = logs["20220304"]
assert bump.times(4, lambda _: True) == ["08:40"], bump.of(4)
assert bump.messages(b"interlock=+0") == ["08:40"]
assert bump.faults(b"Shock / Vibration error") == ["08:40"]
assert bump.times(3, lambda record: (record.category, record.bits) == (128, 0)) == ["09:10"]

# The hard day: to the last tenth of the charge, in this order, and half a charge.
hard = logs["20220309"]
assert min(sample[3] for sample in hard.samples()) <= 10
first = [
    hard.faults(b"Discharge current warning")[0],
    hard.faults(b"Low cell voltage")[0],
    hard.faults(b"Low SOC")[0],
    hard.times(9, lambda record: record.fields == [b"reserve"])[0],
]
assert first == sorted(first), first
assert 45 <= hard.samples()[-1][3] <= 75, hard.samples()[-1]

# The cold morning: -6 degrees at 5:30, the heater first, then the charge.
cold = logs["20220314"]
assert round(cold.samples()[0][-3]) == -6
assert cold.faults(b"Too cold to charge")[0] == "05:30"
charge = cold.messages(b"systemState=+6")[0]
heated = cold.times(14, lambda record: record.fields[-2] == b"1")
assert heated[0] == "05:30" < charge, (heated, charge)

# The lost connection: at 7:50, a restart, and once more.
lost = logs["20220322"]
assert lost.faults(b"Loss of CAN Rx")[0] == "07:50" and len(lost.faults(b"Loss of CAN Rx")) == 2
assert len(lost.messages(b"systemState=+1")) == 1

# The new firmware, and a charge past midnight.
new = logs["20220330"]
assert [record.fields[0].split()[2] for record in new.of(6)] == [b"2.4.1", b"2.5.0"]
assert {record.datestamp[:10] for record in new.of(14)} == {b"2022-03-30", b"2022-03-31"}

assert len(logs["20220401"].faults(b"FRU error - Charger")) == 1

# The weak cells: the fifth of module 2, the second of the older truck.
for samples, weak in (
    ([sample for log in truck for sample in log.samples(2)], 5),
    (logs["20190311"].samples() + logs["20190312"].samples(), 2),
):
    means = mean_of_cells(samples)
    lowest, others = means[weak - 1], [*means[: weak - 1], *means[weak:]]
    assert min(others) - lowest > 0.05 > max(others) - min(others), means

# The older firmware: no module addresses, currents of 16 bits, states by name, a shock on day two.
for name, shocks in ("20190311", 0), ("20190312", 1):
    old = logs[name]
    assert not old.of(13, 14, 15) and {len(record.data) for record in old.of(2)} == {35}
    assert old.messages(b"systemState=+ST_RUN") and len(old.of(4)) == shocks

# What came to harm.
assert not (SAMPLES / "damaged/cutOff.LOG").read_bytes().endswith(b"\x10\x03")
assert logs["unknownTypes"].of(0) and logs["unknownTypes"].of(200)
print(f"{len(logs)} logs")
