# Chooses which bands of faults have their names beside them: those that the next band of their row
# leaves room for. Adds the side as an eighth column: "left" for text that begins after the band,
# "right" for text that ends in front of it, where the page would cut it off. width is that of the panel.
BEGIN { FS = OFS = "\t" }
$6 == "fault" {
    line[++count] = $0
    row[count] = $1
    from[count] = $2
    to[count] = $3
    size[count] = (length($7) + 1) * width * 0.0078
}
END {
    # gnuplot complains of a side without a label.
    print "general faults", 0, 0, "", "", "fault", "", "left"
    print "general faults", 0, 0, "", "", "fault", "", "right"
    for (i = count; i > 0; i--) {
        if (!(row[i] in following) || to[i] + size[i] < following[row[i]])
            print line[i], (to[i] + size[i] > width * 1.15 ? "right" : "left")
        following[row[i]] = from[i]
    }
}
