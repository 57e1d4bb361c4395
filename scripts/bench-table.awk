# The list of the benchmarks of bench_peers, then their CSV, as the table of docs/performance.md: the best repetition of
# each, ours beside its peer's, in the order of the list. Columns: 1 name, 3 clock, 4 processor time, in microseconds.
$1 ~ /BM_Peers_/ && $1 !~ /_(mean|median|stddev|cv)"?$/ {
    gsub(/"/, "", $1)
    split($1, part, "/")
    operation = substr(part[1], 10)
    who = part[2]
    time = who ~ /_threads?$/ ? $3 : $4
    if (!(operation in seen)) {
        seen[operation] = 1
        order[++count] = operation
    }
    if (NF < 4) next  # of the list
    if (!((operation, who) in best) || time < best[operation, who]) best[operation, who] = time
    gsub(/"/, "", $label)
    if (label && $label > 0) psnr[operation] = $label
}
$1 == "name" {
    for (i = 1; i <= NF; ++i)
        if ($i == "label") label = i  # the scaling rows have decibels there
}
END {
    print "| operation | ours, ms | peer, ms | peer | ours / peer | luma beside zimg |"
    print "|---|---|---|---|---|---|"
    for (i = 1; i <= count; ++i) {
        operation = order[i]
        if (!((operation, "ours") in best)) continue
        peer = (operation, "libyuv") in best ? "libyuv" : (operation, "zimg") in best ? "zimg" : "memcpy"
        ours = best[operation, "ours"]
        theirs = best[operation, peer]
        printf "| %s | %.3f | %.3f | %s | %.2f | %s |\n", operation, ours / 1000, theirs / 1000, peer, ours / theirs,
            operation in psnr ? sprintf("%.1f dB", psnr[operation]) : ""
    }
    print ""
    print "| operation | one thread, ms | two, ms | times as fast |"
    print "|---|---|---|---|"
    for (i = 1; i <= count; ++i) {
        operation = order[i]
        if (!((operation, "two_threads") in best)) continue
        one = best[operation, "one_thread"]
        two = best[operation, "two_threads"]
        printf "| %s | %.3f | %.3f | %.2f |\n", operation, one / 1000, two / 1000, one / two
    }
}
