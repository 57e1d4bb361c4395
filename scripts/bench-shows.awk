# Rows of the peers' table (scenario, variant, format, frames, fps, CPU ms, ...), where ours are called "project", and
# before them lines "new SCENARIO FPS CPU" of our shows with pictures that are all new, as the table of
# docs/performance.md. A peer counts as packed when 4:2:2 goes in and comes out so, whatever it has inside. The picture
# over a picture counts twice: as a still one, and converted for each frame.
function better(key, who, fps, cpu) {
    if (!(key in fastest) || fps > fastest[key]) {
        fastest[key] = fps
        text[key] = sprintf("%.0f (%.2f)%s", fps, cpu, who ? " " who : "")
    }
}
function cell(key) { return key in text ? text[key] : "" }
function ratio(ours, theirs) {
    return (ours in fastest) && (theirs in fastest) ? sprintf("%.1f", fastest[ours] / fastest[theirs]) : ""
}
$1 == "new" {
    if ($2 == "S4_warm") {
        better("S4 new" SUBSEP "ours", "", $3, $4)
    } else {
        better(($2 == "S4" ? "S4 new" : $2) SUBSEP "new", "", $3, $4)
    }
    next
}
split($0, field, / *\| */) > 6 && field[2] ~ /^S[1-8]$/ {
    show = field[2]
    who = field[3]
    if (who ~ /reference|decode_only/) {
        floor[show] = sprintf("%s %s: %d (%.2f)", show, who, field[6], field[7])
        next
    }
    if (show == "S4" && who !~ /static|melt|project/) show = "S4 new"
    if (who == "project") {
        better(show SUBSEP "ours", "", field[6] + 0, field[7])
        next
    }
    better(show SUBSEP "any", who, field[6] + 0, field[7])
    if (field[4] ~ /UYVY|YUYV/) better(show SUBSEP "packed", who, field[6] + 0, field[7])
}
END {
    print "| show | ours | new pictures, cold | best peer, packed | ours / it | best peer of any format | ours / it |"
    print "|---|--:|--:|---|--:|---|--:|"
    rows = split("S1,S2,S3,S4,S4 new,S5,S6,S7,S8", order, ",")
    for (i = 1; i <= rows; ++i) {
        show = order[i]
        ours = show SUBSEP "ours"
        printf "| %s | %s | %s | %s | %s | %s | %s |\n", show, cell(ours), cell(show SUBSEP "new"), cell(show SUBSEP "packed"),
            ratio(ours, show SUBSEP "packed"), cell(show SUBSEP "any"), ratio(ours, show SUBSEP "any")
    }
    print ""
    for (show in floor) print "Of the peers, " floor[show] "."
}
