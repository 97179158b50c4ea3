# Draws the tables that tables.awk makes, in the working directory, to the directory above it.
# format is svg, png or pdf, name the battery's, recipe this directory. Colours are those of Okabe and Ito, which colour-blind
# people can tell apart.

black = 0x000000; orange = 0xE69F00; sky = 0x56B4E9; green = 0x009E73
yellow = 0xF0E442; blue = 0x0072B2; vermilion = 0xD55E00; purple = 0xCC79A7
grey = 0xBBBBBB
array cellColour[7] = [black, orange, sky, green, purple, blue, vermilion]

kinds = "starting run charge charged interlock protection firmware sleep unknown heater balancing fault"
array kindColour[12] = [grey, sky, green, yellow, orange, vermilion, purple, black, grey, orange, blue, vermilion]
array kindText[9] = ["starting", "run", "charge", "charge ended", "interlock open", \
    "protection", "firmware update", "going to sleep", "other state"]
colourOf(kind) = kindColour[int(sum [i = 1:12] (word(kinds, i) eq kind ? i : 0))]

rows = "'system state' heater balancing 'general faults' 'current faults' 'voltage faults' " \
    . "'temperature faults' 'communication faults' 'feature faults' 'other faults'"
rowOf(row) = sum [i = 1:10] (word(rows, i) eq row ? i : 0)

# Points of a screen of 1200 x 1100; PDF has 72 points to an inch.
small = ",".(format eq "svg" ? "10" : format eq "png" ? "8" : "7.3")
line = format eq "pdf" ? 0.8 : 1.3
if (format eq "svg") set terminal svg size 1200,1100 font "DejaVu Sans,12" background "white" noenhanced
if (format eq "png") set terminal pngcairo size 1200,1100 font "DejaVu Sans,9.5" background "white" noenhanced
if (format eq "pdf") {
    set terminal pdfcairo size 11.0,10.083 font "DejaVu Sans,8.7" background "white" noenhanced
    set output "../battery.pdf"
}

set datafile separator "\t"
set encoding utf8
modules = system("cut -f 1 modules")
width = real(system("tail -n 1 stretches | cut -f 2"))
margin = width > 0 ? width * 0.008 : 1800
left = 0.13; right = 0.865
set lmargin at screen left
set rmargin at screen right
set xrange [-margin : width + margin]
set border 3 linecolor rgb "#666666"
set tics nomirror out scale 0.4 textcolor rgb black
# The marks of a table, as "set xtics" takes them.
marks(table) = system("awk -F '\t' '{ printf \"%s\\\"%s\\\" %s\", NR == 1 ? \"\" : \", \", $2, $1 }' ".table)
hours = marks("ticks")
unlabelled = system("awk '{ printf \"%s\\\"\\\" %s\", NR == 1 ? \"\" : \", \", $1 }' ticks")
set grid xtics ytics back linetype 1 linecolor rgb "#E4E4E4" linewidth 0.6

# The silences between the stretches, behind all that is drawn.
silences = int(system("wc -l <stretches")) - 1
array silenceFrom[silences > 0 ? silences : 1]
array silenceTo[silences > 0 ? silences : 1]
do for [i = 1:silences] {
    silenceFrom[i] = real(system(sprintf("sed -n %dp stretches | cut -f 2", i)))
    silenceTo[i] = real(system(sprintf("sed -n %dp stretches | cut -f 1", i + 1)))
    set object i rectangle from first silenceFrom[i], graph 0 to first silenceTo[i], graph 1 \
        behind fillcolor rgb "#EDEDED" fillstyle solid noborder
}

# A range with some air above and below, and never narrower than is sensible.
spread(low, high, least) = high - low > least ? high - low : least
lowEnd(low, high, least) = (low + high) / 2 - 0.56 * spread(low, high, least)
highEnd(low, high, least) = (low + high) / 2 + 0.56 * spread(low, high, least)

# Panels from top to bottom: the height that each takes of the page.
place(top, height) = sprintf("set tmargin at screen %.4f; set bmargin at screen %.4f", top, top - height)
legend(top) = sprintf("set key at screen %.4f, %.4f left top Left reverse samplen 1.6 spacing 1.05 width -1", right + 0.008, top + 0.002)

do for [module in modules] {
    data = "module-".module
    bandFile = "bands-".module
    if (format ne "pdf") { set output "../battery-".module.".".format }
    summary = system("awk -F '\t' -v m=".module." '$1 == m { printf \"%s to %s   %d sample%s\", substr($3, 1, 16), substr($4, 1, 16), $2, $2 == 1 ? \"\" : \"s\"; if ($5 != \"-\") printf \"   charged %s Ah, discharged %s Ah   state of health %s %%\", $6, $7, $5 }' modules")

    set multiplot
    set label 1 name.", module ".module at screen left, 0.976 font ",16" left
    set label 2 summary at screen left, 0.952 left textcolor rgb "#444444"
    eval "set xtics (".unlabelled.")"
    set x2range [-margin : width + margin]
    eval "set x2tics scale 0 left offset 0, -0.4 (".marks("dates").")"
    set xlabel ""

    # State of charge, and the days above it.
    eval place(0.915, 0.105)
    eval legend(0.915)
    set yrange [0:100]
    set ytics 25
    set ylabel "State of\ncharge (%)" offset screen -0.004, 0
    plot data using 1:5 with lines linewidth line linecolor rgb blue title "soc", \
        "" using 1:($16 == 1 ? $5 : NaN) with points pointtype 7 pointsize 0.7 linecolor rgb blue notitle, \
        "" using 1:6 with lines linewidth line linecolor rgb orange title "dsoc", \
        "" using 1:($16 == 1 ? $6 : NaN) with points pointtype 7 pointsize 0.7 linecolor rgb orange notitle
    unset x2tics
    unset label 1
    unset label 2

    # Current; above zero it charges.
    eval place(0.800, 0.105)
    eval legend(0.800)
    set yrange [*:*]
    stats data using 4 nooutput
    set yrange [lowEnd(STATS_min, STATS_max, 20) : highEnd(STATS_min, STATS_max, 20)]
    set ytics autofreq
    set ylabel "Current (A)\n+ charges"
    plot 0 with lines linecolor rgb "#999999" linewidth 0.8 notitle, \
        data using 1:4 with lines linewidth line linecolor rgb blue title "current", \
        "" using 1:($16 == 1 ? $4 : NaN) with points pointtype 7 pointsize 0.7 linecolor rgb blue notitle

    eval place(0.685, 0.075)
    eval legend(0.685)
    set yrange [*:*]
    stats data using 3 nooutput
    set yrange [lowEnd(STATS_min, STATS_max, 1) : highEnd(STATS_min, STATS_max, 1)]
    set ylabel "Pack\nvoltage (V)"
    plot data using 1:3 with lines linewidth line linecolor rgb blue title "pack", \
        "" using 1:($16 == 1 ? $3 : NaN) with points pointtype 7 pointsize 0.7 linecolor rgb blue notitle

    eval place(0.600, 0.145)
    eval legend(0.600)
    set yrange [*:*]
    low = 9; high = 0
    do for [i = 7:13] {
    stats data using i nooutput
        low = STATS_min < low ? STATS_min : low
        high = STATS_max > high ? STATS_max : high
    }
    set yrange [lowEnd(low, high, 0.1) : highEnd(low, high, 0.1)]
    set ylabel "Cell\nvoltages (V)"
    set format y "%.2f"
    plot for [i = 1:7] data using 1:(column(6 + i)) with lines linewidth 0.75 * line linecolor rgb cellColour[i] title "cell ".i, \
        for [i = 1:7] "" using 1:($16 == 1 ? column(6 + i) : NaN) with points pointtype 7 pointsize 0.7 linecolor rgb cellColour[i] notitle
    set format y "%g"

    eval place(0.445, 0.075)
    eval legend(0.445)
    set yrange [*:*]
    stats data using 14 nooutput
    set yrange [0 : STATS_max > 10 ? STATS_max * 1.1 : 10]
    set ylabel "Imbalance\n(mV)"
    plot data using 1:14 with lines linewidth line linecolor rgb vermilion title "imbalance", \
        "" using 1:($16 == 1 ? $14 : NaN) with points pointtype 7 pointsize 0.7 linecolor rgb vermilion notitle

    eval place(0.360, 0.075)
    eval legend(0.360)
    set yrange [*:*]
    stats data using 15 nooutput
    set yrange [lowEnd(STATS_min, STATS_max, 5) : highEnd(STATS_min, STATS_max, 5)]
    set ylabel "Temperature\n(°C)"
    plot 0 with lines linecolor rgb "#999999" linewidth 0.8 notitle, \
        data using 1:15 with lines linewidth line linecolor rgb vermilion title "cells", \
        "" using 1:($16 == 1 ? $15 : NaN) with points pointtype 7 pointsize 0.7 linecolor rgb vermilion notitle

    # Bands. A band of a moment still shows, as thin as its border.
    eval place(0.272, 0.185)
    unset key
    set yrange [10.5 : 0.5]
    set ylabel ""
    set ytics scale 0 ()
    do for [i = 1:10] { set ytics add (word(rows, i) i) }
    eval "set xtics (".hours.")"
    set xlabel "time of day" offset 0, 0.4
    set label 3 "state colours" at screen left, 0.02 right offset -1, 0
    do for [i = 1:8] {
        x = left + real(word("0 0.085 0.145 0.22 0.34 0.465 0.57 0.71", i))
        set object 1000 + i rectangle from screen x, 0.013 to screen x + 0.014, 0.027 \
            fillcolor rgb kindColour[i] fillstyle solid noborder
        set label 10 + i kindText[i] at screen x + 0.018, 0.02 left
    }
    faults = sprintf("< awk -v width=%f -f '%s/labels.awk' %s | awk -F '\t' ", width + 2 * margin, recipe, bandFile)
    # One band above the panel, which is not seen: gnuplot complains of an empty table.
    plot "< printf 'none\\t0\\t0\\t\\t\\tsleep\\t\\n' | cat - ".bandFile using 2:(rowOf(strcol(1))):2:3:(rowOf(strcol(1)) - 0.36):(rowOf(strcol(1)) + 0.36):(colourOf(strcol(6))) \
            with boxxyerror fillstyle solid 1.0 border linewidth 0.6 linecolor rgb variable, \
        faults."'$8 == \"left\"'" using 3:(rowOf(strcol(1))):7 with labels left offset 0.4, 0 font small, \
        faults."'$8 == \"right\"'" using 2:(rowOf(strcol(1))):7 with labels right offset -0.4, 0 font small
    unset multiplot
    do for [i = 1:8] { unset object 1000 + i; unset label 10 + i }
    unset label 3
    set ytics scale 0.4 autofreq
}
set output
