# Reads dynamicInfo.csv, soc.csv and detail.csv and prints what the page shows, one event per line,
# separated by tabs, the time in seconds since 1970 in front:
#   time sample module pack-voltage current soc dsoc cell-1 ... cell-7 temperature heat balance
#   time counters module charged discharged state-of-health
#   time fault category bits names
#   time state name
# Rows that are cut off, and measurements that no battery gives, are left out.

# Counts years from March to February, with the leap day at their end, so that month 13, as the
# controller's calendar calls the first of January of the following year, is that day by itself. Hours
# above 23 are those of the following days.
function seconds(stamp, part, year, month) {
    split(stamp, part, /[- :.]/)
    year = part[1]
    month = part[2] - 3
    if (month < 0) { month += 12; year-- }
    return 86400 * (365 * year + int(year / 4) - int(year / 100) + int(year / 400) \
        + int((153 * month + 2) / 5) + part[3] - 719469) \
        + 3600 * part[4] + 60 * part[5] + part[6] + part[7] / 1000
}

function event(kind) { printf "%.3f\t%s", seconds($1), kind }

function plausible(i) {
    if ($5 > 100 || $6 > 100 || $15 < -40 || $15 > 200) return 0
    for (i = 7; i <= 13; i++) if ($i <= 2 || $i > 5) return 0
    return 1
}

BEGIN {
    FS = ","
    split("INIT RESTART WAIT_FOR_GPIO_ON_STARTUP WAIT_FOR_BMU_COMM WAIT_FOR_SAFE_BATTERY RUN " \
        "CHARGE CHARGE_DONE STOP_CHARGE INTERLOCK UNDERVOLTAGE OVERVOLTAGE BMU_COMM_LOST " \
        "TRUCK_COMM_LOST OVERCURRENT RESET_BMU WAIT_FOR_CONTACTOR_OPEN_BEFORE_SLEEP " \
        "ABOUT_TO_SLEEP SLEEP FIRMWAREUPDATE FIRMWAREUPDATE_WAIT_FOR_BMU UNDEFINED", stateName, " ")
}

FNR == 1 { file = FILENAME; sub(/.*\//, "", file) }
/^Datestamp,/ { block = $2 " " $3; next }
!/^[0-9]+-[0-9][0-9]-[0-9][0-9] [0-9]+:[0-9][0-9]:[0-9][0-9]\.[0-9]+,/ { next }

file == "dynamicInfo.csv" {
    if (NF != 17 || /,,|nan|inf/ || !plausible()) { leftOut++; next }
    event("sample")
    for (i = 2; i <= 13; i++) printf "\t%s", $i
    printf "\t%s\t%s\t%s\n", $15, $16, $17
}

# The fifth field, headed dsoc, is the state of health.
file == "soc.csv" && NF == 6 && !/,,/ {
    event("counters")
    printf "\t%s\t%s\t%s\t%s\n", $2, $3, $4, $5
}

file == "detail.csv" && block == "error_register additional_information" && NF >= 3 {
    names = $4
    for (i = 5; i <= NF; i++) names = names ", " $i
    if (names == "" && $3 != 0) names = "category " $2 ", bits " $3
    event("fault")
    printf "\t%d\t%d\t%s\n", $2, $3, names
}

# Old firmware tells the state's name, newer firmware its number.
file == "detail.csv" && block ~ /^message/ && index($2, "systemState=+") == 1 {
    state = substr($2, 14)
    if (state ~ /^[0-9]+$/ && (state + 1) in stateName) state = stateName[state + 1]
    sub(/^ST_/, "", state)
    gsub(/[^A-Za-z0-9_]/, "?", state)
    if (state == "") next
    event("state")
    printf "\t%s\n", state
}

END {
    if (leftOut) print "plot-battery: left out " leftOut " implausible samples" > "/dev/stderr"
}
