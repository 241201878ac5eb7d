# Called by bench.sh with the tables of the runs: works out minima and ratios and writes
#
#   the table for people on the standard output
#   out/table.md and out/chart.svg
#   the same into the page, between its two marks, and to the chart, where these are given
#
# Ratios are the peer's figure by libku's: above 1 libku is better. Means are geometric, over the problems with the same
# tree in which both programs take `least` seconds.

BEGIN { least = 0.01; SUBSEP = " "; wrong = 0 }

FNR == 1 { program = FILENAME; sub(/.*\//, "", program); sub(/\..*/, "", program); sub(/-again/, "", program) }

/^#/ || $1 == "start-0" { next }

{
  name = $1
  if (!(name in tree)) { names[++nbNames] = name; tree[name] = $3; points[name] = $5; fails[name] = $6 }
  if ($9 != "ok") { wrong = 1; print name " (" program "): " substr($0, index($0, $9)); bad[name] = 1 }
  else if (tree[name] == "equal" && ($5 != points[name] || $6 != fails[name])) {
    wrong = 1
    print name ": the trees differ: " points[name] " choice points and " fails[name] " fails, and " $5 " and " $6
    bad[name] = 1
  }
  key = program SUBSEP name
  if (!(key in seconds) || $7 < seconds[key]) { seconds[key] = $7; memory[key] = $8; nodes[key] = $5 }
}

function ratio(a, b) { return b > 0 ? a / b : 0 }

function row(format, name) {
  return sprintf(format, name, nodes["ku", name], ours, theirs, time, 1e6 * ratio(ours, nodes["ku", name]),
    1e6 * ratio(theirs, nodes[best, name]), pace, memory["ku", name], memory[best, name], room, tree[name])
}

# One bar for each problem, on a logarithmic scale of the ratio of times.
function bar(name, time,    y, x, width, colour) {
  y = 60 + 20 * nbBars++
  x = position(1); width = position(time) - x
  colour = time >= 1 ? "#2a78b8" : "#c8602a"
  bars = bars sprintf("<text x=\"190\" y=\"%d\" text-anchor=\"end\">%s</text>\n", y + 11, name) \
    sprintf("<rect x=\"%.1f\" y=\"%d\" width=\"%.1f\" height=\"14\" fill=\"%s\"/>\n", width < 0 ? x + width : x, y,
      width < 0 ? -width : width, colour) \
    sprintf("<text x=\"%.1f\" y=\"%d\" text-anchor=\"%s\">%.2f</text>\n", x + width + (width < 0 ? -4 : 4), y + 11,
      width < 0 ? "end" : "start", time)
}

function position(r) {
  if (r < 0.125) r = 0.125
  if (r > 8) r = 8
  return 200 + 480 * (log(r) / log(2) + 3) / 6
}

# The variables posted and searched once, of which the peer has no row: time for each, by their number.
function growthText(    text, i, name, n, each, x, y, line) {
  text = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 640 300\" font-family=\"sans-serif\" font-size=\"12\">\n" \
    "<rect width=\"640\" height=\"300\" fill=\"white\"/>\n" \
    "<text x=\"20\" y=\"22\" font-size=\"15\">Microseconds for a variable, posted and searched once, and bytes of memory</text>\n"
  for (i = 1; i <= nbNames; i++) {
    name = names[i]
    if (name !~ /^growth-/) continue
    n = substr(name, 8)
    each = 1e6 * seconds["ku", name] / n
    x = 80 + 160 * (log(n) / log(10) - 3)
    y = 250 - 80 * each
    line = line sprintf("%.1f,%.1f ", x, y)
    text = text sprintf("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"4\" fill=\"#2a78b8\"/>\n", x, y) \
      sprintf("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\">%.2f µs, %.0f bytes</text>\n", x, y - 10, each, memory["ku", name] * 1048576 / n) \
      sprintf("<text x=\"%.1f\" y=\"275\" text-anchor=\"middle\">%d</text>\n", x, n)
  }
  if (line == "") return ""
  return text "<line x1=\"40\" x2=\"600\" y1=\"250\" y2=\"250\" stroke=\"#444\"/>\n" \
    "<polyline fill=\"none\" stroke=\"#2a78b8\" points=\"" line "\"/>\n</svg>\n"
}

function chartText(    height, text, k, x) {
  height = 80 + 20 * nbBars
  text = sprintf("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 740 %d\" font-family=\"sans-serif\" font-size=\"12\">\n", height)
  text = text sprintf("<rect width=\"740\" height=\"%d\" fill=\"white\"/>\n", height)
  text = text "<text x=\"20\" y=\"22\" font-size=\"15\">CPU time of the peer, in times of libku's</text>\n"
  for (k = -3; k <= 3; k++) {
    x = position(2 ^ k)
    text = text sprintf("<line x1=\"%.1f\" x2=\"%.1f\" y1=\"52\" y2=\"%d\" stroke=\"%s\"/>\n", x, x, height - 16, k == 0 ? "#444" : "#ddd")
    text = text sprintf("<text x=\"%.1f\" y=\"46\" text-anchor=\"middle\" fill=\"#444\">%s</text>\n", x, k < 0 ? "1/" 2 ^ -k : 2 ^ k)
  }
  return text bars "</svg>\n"
}

END {
  text = "%-21s %9d %9.4f %9.4f %6.2f %9.3f %9.3f %6.2f %7.1f %7.1f %6.2f  %s\n"
  mark = "| %s | %d | %.4f | %.4f | %.2f | %.3f | %.3f | %.2f | %.1f | %.1f | %.2f | %s |\n"
  head = "%-21s %9s %9s %9s %6s %9s %9s %6s %7s %7s %6s  %s\n"
  printf head, "problem", "points", "ku s", "peer s", "ratio", "ku us/pt", "peer", "ratio", "ku MiB", "peer", "ratio", "tree"
  table = "| Problem | Choice points | libku, s | peer, s | ratio | libku, µs per choice point | peer | ratio | libku, MiB | peer | ratio | tree |\n" \
    "|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|---|\n"
  for (i = 1; i <= nbNames; i++) {
    name = names[i]
    if (bad[name] || !(("ku", name) in seconds) || !(("far", name) in seconds)) continue
    best = seconds["near", name] < seconds["far", name] ? "near" : "far"
    nearer += best == "near"
    ours = seconds["ku", name]; theirs = seconds[best, name]
    time = ratio(theirs, ours); room = ratio(memory[best, name], memory["ku", name])
    pace = ratio(time * nodes["ku", name], nodes[best, name])
    printf "%s", row(text, name)
    if (room < leastRoom || !leastRoom) { leastRoom = room; roomiest = name }
    if (ours < least || theirs < least) continue
    table = table row(mark, name)
    bar(name, time)
    if (tree[name] != "equal") continue
    n++; logs += log(time); logRooms += log(room)
    slower = slower (time < 1 ? (slower ? ", " : "") name : "")
  }
  if (n) {
    summary = sprintf("Over the %d problems with the same tree in which both take %d ms or more the peer takes %.2f times as long in the geometric mean, and %.2f times the memory. ", n, least * 1000, exp(logs / n), exp(logRooms / n)) \
      (slower ? "libku is slower in " slower ". " : "libku is slower in none. ") \
      sprintf("The least ratio of memory of all problems is %.2f, in %s.", leastRoom, roomiest)
    print "\n" summary
    printf "The peer was faster with a copy at each node in %d of %d problems.\n", nearer, nbNames
  }
  "date +%Y-%m-%d" | getline today
  table = "Measured by `scripts/bench.sh --docs` on " today ", " cpu ", the shortest of " 2 * rounds " runs of libku and " rounds " of either way of the peer.\n\n" \
    summary "\n\n" table
  if (n) {
    printf "%s", table > (out "/table.md")
    printf "%s", chartText() > (out "/chart.svg")
    close(out "/table.md")
  }
  if (page != "" && n && !wrong) {
    while ((getline line < page) > 0) {
      if (line == "<!-- end of the peer's table -->") skipping = 0
      if (!skipping) kept = kept line "\n"
      if (line == "<!-- the peer's table: written by scripts/bench.sh -->") { kept = kept "\n" table "\n"; skipping = 1 }
    }
    close(page)
    printf "%s", kept > page
    printf "%s", chartText() > chart
    if (growthText() != "") printf "%s", growthText() > growth
    print "Written: " page ", " chart
  }
  exit wrong
}
