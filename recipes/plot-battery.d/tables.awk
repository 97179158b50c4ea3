# Makes the tables of the drawing from the events in the order of time, which are read twice: first
# to find the silences between the logs, then to place everything. Called with "events events" and
# gap, the minutes of silence that end a stretch.
#
# A truck sleeps most of the time. The time axis leaves the silences out: x counts the seconds of
# the stretches, with a narrow strip between two of them. All tables are separated by tabs:
#   stretches     x-from x-to from to
#   ticks         x label (hours; the date at midnight)
#   dates         x label (above the stretches; the year where it changes)
#   modules       module samples from to state-of-health charged-Ah discharged-Ah
#   module-N      x time pack-voltage current soc dsoc cell-1 ... cell-7 imbalance-mV temperature alone
#                 an empty line where the module was silent; alone is 1 for a sample between two
#                 silences, which a line can't show
#   bands-N       row x-from x-to from to kind label

function civil(time, day, era, dayOfEra, yearOfEra, dayOfYear, shifted) {
    day = int(time / 86400) + 719468
    era = int(day / 146097)
    dayOfEra = day - era * 146097
    yearOfEra = int((dayOfEra - int(dayOfEra / 1460) + int(dayOfEra / 36524) \
        - int(dayOfEra / 146096)) / 365)
    dayOfYear = dayOfEra - (365 * yearOfEra + int(yearOfEra / 4) - int(yearOfEra / 100))
    shifted = int((5 * dayOfYear + 2) / 153)
    dayOfMonth = dayOfYear - int((153 * shifted + 2) / 5) + 1
    month = shifted < 10 ? shifted + 3 : shifted - 9
    year = yearOfEra + era * 400 + (month <= 2)
}

function clock(time, second) {
    second = int(time) % 86400
    return sprintf("%02d:%02d", int(second / 3600), int(second / 60) % 60)
}

function stamp(time) {
    civil(time)
    return sprintf("%04d-%02d-%02d %s:%02d", year, month, dayOfMonth, clock(time), int(time) % 60)
}

function date(time) {
    civil(time)
    return dayOfMonth " " monthName[month]
}

function place(time) {
    while (stretch < stretches && time >= from[stretch + 1]) stretch++
    return xFrom[stretch] + time - from[stretch]
}

function endStretch() { if (stretches) to[stretches] = lastTime }

# Between the two passes: a strip between stretches takes 1.2 %, all of them together at most 25 %.
function layOut(s, total, strip, x, step, t, steps, n, lastX, lastLabel) {
    endStretch()
    for (s = 1; s <= stretches; s++) total += to[s] - from[s]
    if (total < 60) total = 60
    strip = int(total * (stretches > 21 ? 0.25 / stretches : 0.012)) + 1
    for (s = 1; s <= stretches; s++) {
        xFrom[s] = x
        print x + 0, x + to[s] - from[s], stamp(from[s]), stamp(to[s]) > "stretches"
        x += to[s] - from[s] + strip
    }
    width = x - strip

    # As many ticks as there is room for.
    n = split("300 600 1800 3600 7200 10800 21600 43200 86400 172800 604800 2592000", steps, " ")
    for (s = 1; s <= n; s++) if (total / (step = steps[s]) <= 20) break
    none = lastX = lastLabel = -2 * width - 1 # far enough to the left
    for (s = 1; s <= stretches; s++) {
        for (t = step * int((from[s] + step - 0.001) / step); t <= to[s]; t += step) {
            x = xFrom[s] + t - from[s]
            if (x - lastX < width * 0.042) continue
            print x, (t % 86400 ? clock(t) : date(t)) > "ticks"
            lastX = x
        }
        if (xFrom[s] - lastLabel < width * room) continue
        label = date(from[s])
        room = year == labelled ? 0.065 : 0.105
        print xFrom[s] + 0, label (year == labelled ? "" : " " year) > "dates"
        labelled = year
        lastLabel = xFrom[s]
    }
    # Too short for a tick: the beginning tells the time.
    if (lastX == none) for (s = 1; s <= stretches; s++) {
        if (xFrom[s] - lastX < width * 0.042) continue
        print xFrom[s] + 0, clock(from[s]) > "ticks"
        lastX = xFrom[s]
    }
}

# A band ends where the next one of its row begins, or with the stretch: nobody knows what was while
# the controller slept, and it tells anew when it wakes up.
function begin(key, kind, label, time) {
    end(key, time)
    bandKind[key] = kind
    bandLabel[key] = label
    bandFrom[key] = time
}

function end(key, time, part, x) {
    if (!(key in bandKind)) return
    split(key, part, SUBSEP)
    # A band lies in one stretch.
    x = xFrom[stretch] + bandFrom[key] - from[stretch]
    bands[part[1]] = bands[part[1]] part[2] "\t" x "\t" place(time) "\t" stamp(bandFrom[key]) \
        "\t" stamp(time) "\t" bandKind[key] "\t" bandLabel[key] "\n"
    delete bandKind[key]
}

function endAll(time, key) { for (key in bandKind) end(key, time) }

function endFaults(time, key, part) {
    for (key in bandKind) {
        split(key, part, SUBSEP)
        if (part[2] ~ /fault/) end(key, time)
    }
}

function flag(row, on, kind) {
    if (on && !((module SUBSEP row) in bandKind)) begin(module SUBSEP row, kind, "", $1)
    if (!on) end(module SUBSEP row, $1)
}

# A sample waits for the next one, which tells whether it stands alone.
function writeSample(m, alone) {
    if (m in waiting) print waiting[m], alone + 0 > ("module-" m)
    delete waiting[m]
}

BEGIN {
    FS = OFS = "\t"
    CONVFMT = OFMT = "%.3f"
    gap *= 60
    split("Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec", monthName, " ")
    split("1 general 2 current 4 voltage 8 temperature 16 communication 128 feature", word, " ")
    for (i = 1; i in word; i += 2) category[word[i]] = word[i + 1]
    split("starting INIT RESTART WAIT_FOR_GPIO_ON_STARTUP WAIT_FOR_BMU_COMM " \
        "WAIT_FOR_SAFE_BATTERY RESET_BMU run RUN charge CHARGE charged CHARGE_DONE STOP_CHARGE " \
        "interlock INTERLOCK protection UNDERVOLTAGE OVERVOLTAGE BMU_COMM_LOST TRUCK_COMM_LOST " \
        "OVERCURRENT sleep WAIT_FOR_CONTACTOR_OPEN_BEFORE_SLEEP ABOUT_TO_SLEEP SLEEP " \
        "firmware FIRMWAREUPDATE FIRMWAREUPDATE_WAIT_FOR_BMU", word, " ")
    for (i = 1; i in word; i++) if (word[i] ~ /[a-z]/) kind = word[i]; else kindOf[word[i]] = kind
    printf "" > "modules"
}

NR > 1 && FNR == 1 { second = 1; layOut(); lastTime = "" }

!second {
    if (!stretches || $1 - lastTime > gap) {
        endStretch()
        from[++stretches] = $1
    }
    lastTime = $1
    if ($2 == "sample") seen[$3]++
    next
}

lastTime != "" && $1 - lastTime > gap { endAll(lastTime) }
{ place($1); lastTime = $1 }

$2 == "sample" {
    module = $3
    silent = (module in lastSample) && $1 - lastSample[module] > gap
    if (!(module in lastSample)) first[module] = $1
    if (silent) {
        for (i = 1; i <= 2; i++) end(module SUBSEP (i == 1 ? "heater" : "balancing"), lastSample[module])
        writeSample(module, wasSilent[module])
        print "" > ("module-" module)
    } else writeSample(module, 0)
    wasSilent[module] = silent || !(module in lastSample)
    lastSample[module] = $1
    low = high = $8
    for (i = 9; i <= 14; i++) { if ($i < low) low = $i; if ($i > high) high = $i }
    row = place($1) OFS stamp($1)
    for (i = 4; i <= 14; i++) row = row OFS $i
    waiting[module] = row OFS sprintf("%.0f", (high - low) * 1000) OFS $15
    flag("heater", $16, "heater")
    flag("balancing", $17, "balancing")
}

$2 == "counters" {
    if (!($3 in firstCharged)) { firstCharged[$3] = $4; firstDischarged[$3] = $5 }
    charged[$3] = $4; discharged[$3] = $5; health[$3] = $6
}

# Faults and states are the whole battery's: under the name "all", shown on every page.
$2 == "fault" {
    key = "all" SUBSEP (($3 in category) ? category[$3] : "other") " faults"
    if ($4) begin(key, "fault", $5, $1); else end(key, $1)
}

$2 == "state" {
    if ($3 == "RESTART") endFaults($1) # the controller forgets them
    begin("all" SUBSEP "system state", ($3 in kindOf) ? kindOf[$3] : "unknown", $3, $1)
}

END {
    if (!second) exit
    endAll(lastTime)
    for (m = 0; m <= 255; m++) {
        if (!(m in seen)) continue
        writeSample(m, wasSilent[m])
        printf "%s%s", bands["all"], bands[m] > ("bands-" m)
        print m, seen[m], stamp(first[m]), stamp(lastSample[m]), \
            (m in health) ? health[m] : "-", \
            (m in health) ? sprintf("%.0f", (charged[m] - firstCharged[m]) / 1000) : "-", \
            (m in health) ? sprintf("%.0f", (discharged[m] - firstDischarged[m]) / 1000) : "-" > "modules"
    }
}
