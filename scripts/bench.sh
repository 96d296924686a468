#!/usr/bin/env bash
# Builds the release benchmarks and runs the cases that have speed goals,
# each in turns with its reference tool (A B A B, medians of at least 5
# runs), then writes every ratio against its goal into build/bench/:
#   results.tsv  case, ours, reference, ratio (reference / ours), goal
#   results.md   the same as a table with a verdict per case
#   ratios.svg   a bar chart of the ratios against their goals (gnuplot)
# plus each benchmark's full output (bench_*.txt).
#
#   scripts/bench.sh                 the goal cases (about 5 minutes)
#   scripts/bench.sh bench_x ...     only the benchmarks named
#   BENCH_SIZE=256m BENCH_RUNS=7 scripts/bench.sh    smaller or longer runs
# The soak (bench_soak: memory and descriptors over 100,000 keepAlive calls
# and 1,000 transfers) runs only when named; smaller counts directly:
#   build/release/bench/bench_soak 10000 200
# Servers (nginx, the reference server) listen on 127.0.0.1 only and are
# started and stopped by the benchmarks themselves.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
size="${BENCH_SIZE:-1g}"
runs="${BENCH_RUNS:-5}"
names=("$@")
if [ ${#names[@]} -eq 0 ]; then names=(bench_http bench_keepalive bench_xmlclean); fi
scripts/build.sh release "${names[@]}" >/dev/null

out=build/bench
mkdir -p "$out"
printf 'case\tours\treference\tratio\tgoal\n' >"$out/results.tsv"
: >"$out/info.txt"
for b in "${names[@]}"; do
  echo "#### $b"
  args=()
  case "$b" in
    bench_http) args=("$size" "$runs") ;;
  esac
  "build/release/bench/$b" "${args[@]}" | tee "$out/$b.txt"
  grep '^RESULT' "$out/$b.txt" | cut -f2- >>"$out/results.tsv" || true
  grep '^INFO' "$out/$b.txt" | cut -f2- >>"$out/info.txt" || true
done

# The table: ratio = reference time / our time; a case meets its goal when
# the ratio is at least the goal.
awk -F'\t' 'NR == 1 { print "| case | ours | reference | ratio | goal | verdict |";
                      print "|---|---:|---:|---:|---:|---|"; next }
            { printf "| %s | %.4g | %.4g | %.3f | %.3f | %s |\n", $1, $2, $3, $4, $5, ($4 >= $5 ? "met" : "MISSED") }' \
  "$out/results.tsv" >"$out/results.md"
if [ -s "$out/info.txt" ]; then
  { echo; awk -F'\t' '{ printf "- %s: %s\n", $1, $2 }' "$out/info.txt"; } >>"$out/results.md"
fi
echo
cat "$out/results.md"

# The chart: one bar per case (its ratio) beside its goal.
if command -v gnuplot >/dev/null 2>&1; then
  rows=$(($(wc -l <"$out/results.tsv") - 1))
  gnuplot <<GNUPLOT
set terminal svg size $((700 + 70 * rows)),600 dynamic font "sans,11"
set output "$out/ratios.svg"
set datafile separator "\t"
set title "reference time / our time (higher is better; cut at 2), beside each goal"
set style data histograms
set style histogram clustered gap 1
set style fill solid 0.8 border -1
set boxwidth 0.9
set yrange [0:2.1]
set ylabel "ratio"
set xtics rotate by -35 left font "sans,9"
set key top right
set grid ytics
set bmargin 18
set rmargin 28
plot "$out/results.tsv" every ::1 using (\$4 > 2 ? 2 : \$4):xtic(1) title "ratio" linecolor rgb "#3b7dd8", \
     "" every ::1 using 5 title "goal" linecolor rgb "#d8853b"
GNUPLOT
  echo "chart: $out/ratios.svg"
else
  echo "gnuplot is missing (scripts/setup.sh installs gnuplot-nox): no chart" >&2
fi
echo "table: $out/results.md"
