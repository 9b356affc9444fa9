#!/bin/bash
# Times `qel convert` of a 12-megapixel 24-bit DIB file against `cp` of the same file.
# Usage: convert_vs_cp.sh PATH_OF_QEL [ROUNDS]
set -euo pipefail

qel=${1:?usage: convert_vs_cp.sh PATH_OF_QEL [ROUNDS]}
rounds=${2:-11}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# little COUNT VALUE: a number in COUNT bytes, low byte first.
little() {
  local i
  for ((i = 0; i < $1; ++i)); do printf "\\x$(printf %02x $(($2 >> 8 * i & 255)))"; done
}

width=4000 height=3000
pixels=$((width * height * 3))
{
  printf BM; little 4 $((54 + pixels)); little 4 0; little 4 54
  little 4 40; little 4 $width; little 4 $height; little 2 1; little 2 24; little 4 0; little 4 $pixels
  little 4 2835; little 4 2835; little 4 0; little 4 0
  head -c $pixels /dev/urandom
} > "$folder/in.bmp"

# timed COMMAND...: microseconds that a command takes.
timed() {
  local start=${EPOCHREALTIME/./}
  "$@" > /dev/null
  echo $((${EPOCHREALTIME/./} - start))
}
median() { sort -n | sed -n "$((($rounds + 1) / 2))p"; }

timed "$qel" convert "$folder/in.bmp" "$folder/out.bmp" > /dev/null
timed cp "$folder/in.bmp" "$folder/copy.bmp" > /dev/null
for ((i = 0; i < rounds; ++i)); do
  timed "$qel" convert "$folder/in.bmp" "$folder/out.bmp" >> "$folder/convert"
  timed cp "$folder/in.bmp" "$folder/copy.bmp" >> "$folder/cp"
done
convert=$(median < "$folder/convert")
copy=$(median < "$folder/cp")
awk -v convert="$convert" -v copy="$copy" \
  'BEGIN { printf "qel convert %.1f ms, cp %.1f ms, ratio %.2f\n", convert / 1000, copy / 1000, convert / copy }'
