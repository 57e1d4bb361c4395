# Rows of the peers' table (scenario, variant, format, frames, fps, CPU ms, ...), where ours are called "project", and
# before them lines "warm SCENARIO FPS CPU" and "cold ..." of our shows with pictures that are all new, as the table of
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
$1 == "warm" || $1 == "cold" {
    better(($2 == "S4" ? "S4 new" : $2) SUBSEP $1, "", $3, $4)
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
    print "| show | ours, still | new, warm | new, cold | best peer, packed | still / it | warm / it | cold / it |" \
        " best peer of any format | still / it | warm / it |"
    print "|---|--:|--:|--:|---|--:|--:|--:|---|--:|--:|"
    rows = split("S1,S2,S3,S4,S4 new,S5,S6,S7,S8", order, ",")
    for (i = 1; i <= rows; ++i) {
        show = order[i] SUBSEP
        ours = show "ours"
        warm = show "warm"
        cold = show "cold"
        packed = show "packed"
        any = show "any"
        printf "| %s | %s | %s | %s | %s | %s | %s | %s | %s | %s | %s |\n", order[i], cell(ours), cell(warm), cell(cold),
            cell(packed), ratio(ours, packed), ratio(warm, packed), ratio(cold, packed), cell(any), ratio(ours, any), ratio(warm, any)
    }
    print ""
    for (show in floor) print "Of the peers, " floor[show] "."
}
