#!/usr/bin/env python3
"""A second converter, plain and slow: what convertquorvlogs has to write, said once more.

It shares no code with the tool, so that a mistake has to be made twice to go unnoticed. The tests
compare the two on the samples and on random and damaged logs, and the golden files that the tool's
output is compared with are written by this converter. What the columns are called stands in the
catalogue of record types; how payloads are laid out stands here.

Usage: referenceConverter.py [<log file> | <directory>] [<options>], as the tool's.
"""

import os
import struct
import sys

import recordTypes

DLE = 0x10
ETX = 0x03


class Run:
    """What a run leaves behind: its files (bytes by path), the lines it printed, its status."""

    def __init__(self):
        self.files = {}
        self.out = b""
        self.err = b""
        self.status = 0


# --- Records ------------------------------------------------------------------------------------


def split_into_records(data):
    """The unstuffed bytes of every record, the one that the end of the file makes included."""
    records = []
    position = 0
    at_end = False

    def next_byte():
        nonlocal position, at_end
        if position == len(data):
            at_end = True
            return 0xFF
        position += 1
        return data[position - 1]

    while not at_end:
        record = bytearray()
        while not at_end:
            byte = next_byte()
            if byte != DLE:
                record.append(byte)
                continue
            byte = next_byte()
            if byte == DLE:
                record.append(DLE)
            elif byte == ETX:
                break
        records.append(bytes(record))
    return records


class Record:
    """The bytes of a record with a read cursor. Bytes after the end read as 0."""

    def __init__(self, data):
        self.data = data
        self.type = data[0] if data else 0
        self.seek(5)
        days = self.unsigned(2)
        self.seek(1)
        milliseconds = self.unsigned(4)
        self.seek(7)
        self.datestamp = date_text(days) + b" " + time_text(milliseconds)

    def seek(self, offset):
        self.position = min(offset, len(self.data))

    def skip(self, count):
        self.seek(self.position + count)

    def unsigned(self, width):
        value = 0
        for _ in range(width):
            value = value << 8
            if self.position < len(self.data):
                value |= self.data[self.position]
                self.position += 1
        return value

    def signed(self, width):
        value = self.unsigned(width)
        return value - (1 << 8 * width) if value >> (8 * width - 1) else value

    def float_text(self):
        bits = self.unsigned(4)
        (value,) = struct.unpack(">f", struct.pack(">I", bits))
        if value != value:
            return b"-nan" if bits >> 31 else b"nan"
        return float_text(value)

    def text(self, width):
        """The bytes up to a zero byte, even beyond the field."""
        result = self.rest().split(b"\0")[0]
        self.skip(width)
        return result

    def rest(self):
        return self.data[self.position :]


def date_text(days):
    year = 1984
    while days > (366 if year % 4 == 0 else 365):  # not >=: 1 January is month 13
        days -= 366 if year % 4 == 0 else 365
        year += 1
    month = 1
    while True:
        length = {2: 29 if year % 4 == 0 else 28, 4: 30, 6: 30, 9: 30, 11: 30}.get(month, 31)
        if days < length:
            return b"%d-%02d-%02d" % (year, month, days + 1)
        days -= length
        month += 1


def time_text(milliseconds):
    seconds, milliseconds = divmod(milliseconds, 1000)
    minutes, seconds = divmod(seconds, 60)
    hours, minutes = divmod(minutes, 60)
    return b"%02d:%02d:%02d.%d" % (hours, minutes, seconds, milliseconds)


def single(value):
    """The number rounded to single precision."""
    return struct.unpack(">f", struct.pack(">f", value))[0]


def float_text(value):
    return b"%.6g" % value


def number(value):
    return b"%d" % value


# Each of these decodes the payload of a record and returns the fields of its row.


def static_info(record, module):
    record.skip(4)
    cycle_count = record.unsigned(2)
    record.skip(6)
    manufacture_date = record.unsigned(2)
    serial_number = record.unsigned(2)
    series_cells = record.unsigned(1)
    record.skip(32)
    device_name = record.text(32)
    record.skip(32)
    firmware_version = record.text(32)
    temperature_sensors = record.unsigned(1)
    record.skip(25)
    charge = record.float_text()
    discharge = record.float_text()
    record.firmware_version = firmware_version
    return [
        number(module),
        number(cycle_count),
        number(manufacture_date),
        number(serial_number),
        number(series_cells),
        device_name,
        firmware_version,
        number(temperature_sensors),
        charge,
        discharge,
    ]


SHORT_DYNAMIC_INFO = 21 + 2 * recordTypes.CELLS  # its current has 16 bits


def dynamic_info(record, module):
    record.skip(2)
    pack_voltage = single(record.unsigned(2) / 1000)
    current = single(record.signed(2 if len(record.data) == SHORT_DYNAMIC_INFO else 4) / 10)
    soc = record.unsigned(2)
    dsoc = record.unsigned(2)
    status = record.unsigned(2)
    cells = [single(record.unsigned(2) / 1000) for _ in range(recordTypes.CELLS)]
    temperature = single(record.unsigned(2) / 10 - 273.15)
    return (
        [number(module), float_text(pack_voltage), float_text(current), number(soc), number(dsoc)]
        + [float_text(cell) for cell in cells]
        + [
            float_text(single(max(cells) - min(cells))),
            float_text(temperature),
            number(status >> 10 & 1),
            number(status >> 13 & 1),
        ]
    )


def advanced_soc(record, module):
    charge = record.unsigned(4)
    discharge = record.unsigned(4)
    soh = record.float_text()
    soc = record.float_text()
    return [number(module), number(charge), number(discharge), soh, soc]


FAULTS = {
    1: [
        b"Low SOC",
        b"Self-test",
        b"AC Present while truck on",
        b"Loss of wake",
        b"Contactor stuck open",
        b"Contactor stuck closed",
        b"Contactor coil bad",
        b"Fuse blown",
        b"EEPROM memory error",
        b"Flash memory error",
        b"Sleep warning",
        b"Contactor opening imminent",
        b"Dormant Mode",
    ],
    2: [
        b"Charge current warning",
        b"Discharge current warning",
        b"Charge current error",
        b"Discharge current error",
        b"Current measurement error",
        b"Hardware over current",
    ],
    4: [
        b"Voltage sense wire",
        b"Voltage measurement error",
        b"High cell voltage",
        b"Low cell voltage",
        b"Hardware over voltage",
    ],
    8: [
        b"Cell temperature measurement error",
        b"High cell temperature",
        b"Low cell temperature",
        b"Too hot to charge",
        b"Too cold to charge",
    ],
    16: [b"Loss of CAN Rx", b"Loss of internal communication"],
    128: [
        b"Heater error",
        b"Fan error",
        b"Cell balancing error",
        b"RTC error",
        b"Shock / Vibration error",
        b"Humidity error",
        b"FRU error - LIBUI",
        b"FRU error - BMC",
        b"FRU error - BMU",
        b"FRU error - Charger",
    ],
}


def fault(record):
    record.skip(2)
    record.category = record.unsigned(1)
    record.skip(3)
    record.bits = record.unsigned(2)
    names = FAULTS.get(record.category, [])
    active = [name for bit, name in enumerate(names) if record.bits >> bit & 1]
    return [number(record.category), number(record.bits)] + active


def shock(record):
    return [number(record.signed(1)) for _ in range(3)]


SYSTEM_STATE = b"systemState=+"
CHARGE_SCHEDULE_STATE = b"chargeSchedule.state = "


def message(record):
    record.message = record.rest()
    return [record.message, after(SYSTEM_STATE, record.message)]


def after(prefix, text):
    return text[len(prefix) :] if text.startswith(prefix) else b""


def firmware_version(record):
    record.firmware_version = record.rest().split(b"\0")[0]
    return [record.firmware_version]


def measured_current(record):
    return [number(record.signed(4))]


def power_mode(record):
    names = {34: b"manual-travel", 51: b"dormant", 17: b"reserve"}
    return [names.get(record.unsigned(1), b"normal")]


WARRANTY_EVENTS = [
    b"UNCOMMISSIONED",
    b"COMMISSIONED",
    b"DECOMMISSIONED_VOLT_LOW",
    b"DECOMMISSIONED_VOLT_HIGH",
    b"DECOMMISSIONED_HIGH_TEMPERATURE",
    b"DECOMMISSIONED_DISCHARGE_OVERCURRENT",
    b"DECOMMISSIONED_CHARGE_OVERCURRENT",
    b"DECOMMISSIONED_EXCESSIVE_SHOCK",
    b"DECOMMISSIONED_SOC",
    b"DECOMMISSIONED_RESERVE_MODE",
    b"DECOMMISSIONED_DORMANT_TOO_LONG",
    b"DECOMMISSIONED_WARRANTY_EXPIRED",
    b"DECOMMISSIONED_UNKNOWN",
]


def warranty_event(record):
    event = record.unsigned(1)
    return WARRANTY_EVENTS[event] if event < len(WARRANTY_EVENTS) else b"UNKNOWN EVENT"


def humidity(record):
    return [float_text(single(record.unsigned(2) / 100)) for _ in range(4)]


COLUMNS = {
    kind: [name.encode() for name in each.columns] for kind, each in recordTypes.BY_CODE.items()
}
WITHOUT_ADDRESS = {1: static_info, 2: dynamic_info, 7: advanced_soc}
WITH_ADDRESS = {13: static_info, 14: dynamic_info, 15: advanced_soc}
OTHERS = {
    3: fault,
    4: shock,
    5: message,
    6: firmware_version,
    8: measured_current,
    9: power_mode,
    12: humidity,
}


def interpret(record):
    """Decodes the payload once, when the record is read."""
    record.module = 1
    if record.type in WITHOUT_ADDRESS:
        record.fields = WITHOUT_ADDRESS[record.type](record, 1)
    elif record.type in WITH_ADDRESS:
        record.module = record.unsigned(1)
        record.fields = WITH_ADDRESS[record.type](record, record.module)
    elif record.type in OTHERS:
        record.fields = OTHERS[record.type](record)
    elif record.type == 10:
        record.event = warranty_event(record)


def header_line(columns):
    return b",".join([b"Datestamp"] + columns) + b"\n"


def type_header_line(record):
    return header_line(COLUMNS.get(record.type, COLUMNS[recordTypes.UNKNOWN.code]))


def fields_text(fields):
    return b"".join(b"," + field for field in fields)


def row(record):
    """The record's line. Writing is what reads an ambient temperature: every line reads on."""
    if record.type == 10:
        text = record.event  # no comma
    elif record.type == 11:
        text = fields_text([number(record.unsigned(2)) for _ in range(3)])
    elif hasattr(record, "fields"):
        text = fields_text(record.fields)
    else:
        text = b"".join(b"%02x " % byte for byte in record.data)
    return record.datestamp + text + b"\n"


# --- The combined state -------------------------------------------------------------------------


def signal(prefix, text):
    """None if the message is not about the signal."""
    if not text.startswith(prefix):
        return None
    rest = text[len(prefix) :].lstrip(b" \t\n\v\f\r")
    if rest[:1] in (b"+", b"-"):
        rest = rest[1:]
    digits = rest[: len(rest) - len(rest.lstrip(b"0123456789"))]
    return any(digit in b"123456789" for digit in digits)


class Wide:
    def __init__(self):
        self.datestamp = b""
        self.dynamic_info = {module: [b""] * len(COLUMNS[2]) for module in (1, 2)}
        self.advanced_soc = {module: [b""] * len(COLUMNS[7]) for module in (1, 2)}
        self.power_mode = [b"normal"]
        self.faults = {}
        self.system_state = b""
        self.charge_schedule_state = b""
        self.signals = {}
        self.bmc_version = b""
        self.bmu_version = b""

    def update(self, record):
        """Returns whether the record is one that is followed by a row."""
        if record.type in (1, 13):
            self.bmu_version = (record.firmware_version.split() or [self.bmu_version])[0]
        elif record.type in (2, 14):
            self.dynamic_info[record.module] = record.fields
            self.datestamp = record.datestamp
        elif record.type == 3:
            self.faults[record.category] = record.bits
            self.datestamp = record.datestamp
        elif record.type == 5:
            self.update_message(record)
        elif record.type == 6:
            self.bmc_version = (record.firmware_version.split()[2:] or [self.bmc_version])[0]
        elif record.type in (7, 15):
            self.advanced_soc[record.module] = record.fields
            self.datestamp = record.datestamp
        elif record.type == 9:
            self.power_mode = record.fields
            self.datestamp = record.datestamp
        return record.type in (2, 14, 5)

    def update_message(self, record):
        state = after(SYSTEM_STATE, record.message)
        schedule_state = after(CHARGE_SCHEDULE_STATE, record.message)
        if state:
            self.system_state = state
            self.datestamp = record.datestamp
            if state == b"1":
                self.faults = {}
                self.signals = {}
                self.charge_schedule_state = b""
        elif schedule_state:
            self.charge_schedule_state = schedule_state
            self.datestamp = record.datestamp
        else:
            for prefix in (b"sbx_sense=+", b"hud_multifunc=+", b"ac_no_sense=+", b"interlock=+"):
                value = signal(prefix, record.message)
                if value is not None:
                    self.signals[prefix] = b"1" if value else b"0"

    @staticmethod
    def header_line():
        return header_line(
            COLUMNS[2] * 2
            + COLUMNS[7] * 2
            + COLUMNS[9]
            + [
                b"General Faults",
                b"Current Faults",
                b"Voltage Faults",
                b"Temperature Faults",
                b"Communication Faults",
                b"FeatureFaults",
                b"System State",
                b"Charge Schedule State",
                b"SBX Sense",
                b"AC Present",
                b"Button",
                b"Interlock",
                b"BMC FW",
                b"BMU FW",
            ]
        )

    def row(self):
        fields = []
        for module in sorted(self.dynamic_info):
            fields += self.dynamic_info[module]
        for module in sorted(self.advanced_soc):
            fields += self.advanced_soc[module]
        fields += self.power_mode
        fields += [number(self.faults.get(category, 0)) for category in (1, 2, 4, 8, 16, 128)]
        fields += [self.system_state, self.charge_schedule_state]
        for prefix in (b"sbx_sense=+", b"ac_no_sense=+", b"hud_multifunc=+", b"interlock=+"):
            fields.append(self.signals.get(prefix, b""))
        fields += [self.bmc_version, self.bmu_version]
        return self.datestamp + fields_text(fields) + b"\n"


# --- Files and the run --------------------------------------------------------------------------


class Options:
    def __init__(self, arguments):
        self.path = b"."
        self.detail = self.soc = self.dynamic_info = self.wide = False
        self.start = b"2016-01-01"
        self.end = b"2099-12-31"
        rest = iter([os.fsencode(argument) for argument in arguments])
        for argument in rest:
            if not argument.startswith(b"-"):
                self.path = argument
            elif argument == b"--startdate":
                self.start = next(rest)
            elif argument == b"--starttime":
                self.start += b" " + next(rest)
            elif argument == b"--enddate":
                self.end = next(rest)
            elif argument == b"--endtime":
                self.end += b" " + next(rest)
            every = argument in (b"--all", b"-a")
            self.detail |= every or argument == b"--detail"
            self.soc |= every or argument in (b"--soc", b"-s")
            self.dynamic_info |= every or argument in (b"--dynamicInfo", b"-d")
            self.wide |= every or argument in (b"--wide", b"-w")
        if not (self.detail or self.soc or self.dynamic_info or self.wide):
            self.wide = True

    def wants(self, datestamp):
        return datestamp >= self.start and (self.end == b"" or datestamp <= self.end)


class LogFile:
    def __init__(self, name, run):
        self.name = name
        self.records = []
        run.out += b"Reading: " + name + b"\n"
        try:
            file = os.open(name, os.O_RDONLY)
        except OSError:
            run.err += b"Unable to open " + name + b" for reading.\n"
            return
        data = b""
        try:
            while chunk := os.read(file, 1 << 20):
                data += chunk
        except OSError:
            run.err += b"Unable to read " + name + b" to its end.\n"
        os.close(file)
        self.records = [Record(frame) for frame in split_into_records(data)]
        for record in self.records:
            interpret(record)


def in_conversion_order(files, run):
    ordered = []
    unread = []
    for file in files:
        run.out += b"Sorting " + file.name + b"\n"
        if not file.records:
            unread.append(file)
            continue
        place = len(ordered)
        for index in range(len(ordered) - 1):
            a, b = ordered[index], ordered[index + 1]
            if (
                a.records[-1].datestamp >= file.records[0].datestamp
                and file.records[-1].datestamp >= b.records[0].datestamp
            ):
                place = index + 1
                break
        ordered.insert(place, file)
    return ordered + unread


def convert_file(file, directory, options, wide, run):
    """Appends to the global files, which exist only if there is a directory."""

    def append(name, wanted, text):
        if wanted and directory is not None:
            run.files[directory + name] += text()

    run.out += b"Converting: " + file.name + b"\n"
    detail_name = file.name + b".detail.csv"
    header_type = 0
    for record in file.records:
        if not options.wants(record.datestamp):
            continue
        if record.type != header_type:
            header_type = record.type
            append(b"/detail.csv", options.detail, lambda: type_header_line(record))
            if options.detail:
                run.files[detail_name] = run.files.get(detail_name, b"") + type_header_line(record)
        append(b"/detail.csv", options.detail, lambda: row(record))
        if detail_name in run.files:  # not yet there while all records have the type 0
            run.files[detail_name] += row(record)
        if record.type in (2, 14):
            append(b"/dynamicInfo.csv", options.dynamic_info, lambda: row(record))
        if record.type in (7, 15):
            append(b"/soc.csv", options.soc, lambda: row(record))
        if wide.update(record) and wide.datestamp:
            append(b"/wide.csv", options.wide, wide.row)


def convert(arguments):
    """What the tool has to leave behind when it is run with the arguments, in this directory."""
    options = Options(arguments)
    run = Run()
    # Readings come while files are read, periods begin while they are written: none ever qualifies.
    run.files[b"synopsis.csv"] = (
        b"startDate,endDate,direction,loSoc,hiSoc,loDsoc,hiDsoc,transportedCharge\n"
    )
    wide = Wide()
    try:
        is_directory = os.stat(options.path).st_mode & 0x4000 != 0
    except OSError:
        is_directory = False
    if not is_directory:
        convert_file(LogFile(options.path, run), None, options, wide, run)
        return run
    names = [name for name in os.listdir(options.path) if name.endswith(b".LOG")]
    if not names:
        run.status = 1
        return run
    files = [LogFile(options.path + b"/" + name, run) for name in names]
    for name, wanted, header in (
        (b"/dynamicInfo.csv", options.dynamic_info, header_line(COLUMNS[2])),
        (b"/soc.csv", options.soc, header_line(COLUMNS[7])),
        (b"/wide.csv", options.wide, Wide.header_line()),
        (b"/detail.csv", options.detail, b""),
    ):
        if wanted:
            run.files[options.path + name] = header
    for file in in_conversion_order(files, run):
        convert_file(file, options.path, options, wide, run)
    return run


def main():
    run = convert(sys.argv[1:])
    sys.stdout.buffer.write(run.out)
    sys.stderr.buffer.write(run.err)
    for name, text in run.files.items():
        with open(name, "wb") as file:
            file.write(text)
    sys.exit(run.status)


if __name__ == "__main__":
    main()
