#!/bin/sh
# SPDX-License-Identifier: MIT
# Draws waveform and spectrum of a dry and a fuzzed sound (the first channel of each) into one picture.
# Usage: scripts/picture.sh DRY FUZZED OUT.png
set -eu
[ $# -eq 3 ] || { echo "usage: scripts/picture.sh DRY FUZZED OUT.png" >&2; exit 2; }
data=$(mktemp -d)
trap 'rm -rf "$data"' EXIT

# Time, lowest and highest sample of each of 1200 stretches.
waveform() {
  samples=$(soxi -s "$1")
  sox "$1" -t dat - remix 1 | awk -v n="$samples" '
    /^;/ { next }
    { column = int(i++ * 1200 / n)
      if (column != last) { print time, low, high; low = high = $2; last = column }
      time = $1; if ($2 < low) low = $2; if ($2 > high) high = $2 }'
}

# Mean level in dB, of no particular zero, between each two of 24 frequencies to the octave, from blocks of 4096 samples.
spectrum() {
  sox "$1" -n remix 1 stat -freq 2>&1 | awk '
    NF == 2 && $1 + 0 >= 20 && $2 ~ /^[0-9]/ {
      band = int(log($1 / 20) / log(2) * 24); power[band] += $2 * $2; if ($1 < below) blocks++; below = $1 }
    END { for (band = 0; band < 240; band++) if (power[band] > 0)
      print 20 * 2 ^ ((band + 0.5) / 24), 10 * log(power[band] / (blocks + 1)) / log(10), ++points
      if (!points) print "20 -100\n20000 -100" }'
}

for sound in dry fuzzed; do
  [ "$sound" = dry ] && file=$1 || file=$2
  waveform "$file" >"$data/$sound.wave"
  spectrum "$file" >"$data/$sound.spectrum"
done
# One scale for both: time to the longer one's end, level to the higher one's peak.
seconds=$(tail -qn 1 "$data"/*.wave | awk '$1 > most { most = $1 } END { print most }')
peak=$(awk '{ for (i = 2; i <= 3; i++) if ($i < 0 ? -$i > most : $i > most) most = $i < 0 ? -$i : $i }
  END { print (most > 0 ? 1.05 * most : 1) }' "$data"/*.wave)

gnuplot <<END
set terminal pngcairo size 1200,900 font "sans,11"
set output "$3"
set multiplot
set grid lc rgb "#dddddd"
set style fill solid noborder
set key top right
set lmargin 10
set rmargin 3
set size 1, 0.28
set xrange [0:$seconds]
set yrange [-$peak:$peak]
set xlabel ""
set ylabel "of full scale"
set origin 0, 0.72
plot "$data/dry.wave" using 1:2:3 with filledcurves lc rgb "#4477aa" title "dry"
set origin 0, 0.45
set xlabel "seconds"
plot "$data/fuzzed.wave" using 1:2:3 with filledcurves lc rgb "#cc6633" title "fuzzed"
set origin 0, 0
set size 1, 0.45
set logscale x
set xrange [20:20000]
set yrange [*:*]
set xtics (20, 50, 100, 200, 500, "1k" 1000, "2k" 2000, "5k" 5000, "10k" 10000, "20k" 20000)
set xlabel "Hz"
set ylabel "dB (relative)"
plot "$data/dry.spectrum" with lines lw 2 lc rgb "#4477aa" title "dry", \\
     "$data/fuzzed.spectrum" with lines lw 2 lc rgb "#cc6633" title "fuzzed"
END
