#!/usr/bin/env bash
# Installs what is missing, builds the command line and shows what it does: run.sh [PICTURE]
#
# Without a picture the engine makes its own: a colour card in each of its ten image types, and a scene. Every picture is
# described, sent through every store and layout, and compared with what came back; then the picture (or the scene) is shown in
# every type, method and dither, for displays of few colours, smaller, turned and blurred, and as a file of every format. The results lie in out/.
set -euo pipefail

[ $# -le 1 ] || { echo "usage: $0 [PICTURE]" >&2; exit 2; }
picture=${1:+$(realpath -- "$1")}
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install_packages.sh
scripts/build.sh release qel_cli
qel=build/release/apps/qel/qel

mkdir -p out
if [ -n "$picture" ]; then
  pictures=("$picture")
else
  echo "card: making the colour card in every image type"
  cards=$("$qel" card out/cards)
  mapfile -t pictures <<<"$cards"
fi

# Reads and writes a picture by way of one store and layout; ends the run when it comes back changed.
round_trip() { # picture, store, layout, more options...
  local from=$1 name
  name=$(basename "$from" .bmp)-$2-$3
  local to=out/converted/$name${4:+$4}.bmp
  "$qel" convert "$from" "$to" --store "$2" --layout "$3" "${@:4}"
  "$qel" compare "$from" "$to" >/dev/null
  trips=$((trips + 1))
}

mkdir -p out/converted
trips=0
for from in "${pictures[@]}"; do
  echo
  "$qel" info "$from"
  before=$trips
  for store in memory reserved mapping; do
    for layout in linear block; do
      round_trip "$from" "$store" "$layout"
    done
  done
  round_trip "$from" memory linear --top-down
  echo "  came back equal from $((trips - before)) conversions through every store and layout"
done

echo
echo "${#pictures[@]} pictures, $trips conversions, all equal."

if [ -z "$picture" ]; then
  picture=out/scene.bmp
  "$qel" scene "$picture"
fi
name=$(basename "$picture")
name=${name%.*}
echo
echo "$name in every type, method and dither: out/$name-gallery.bmp, from the left"
"$qel" gallery "$picture" "out/$name-gallery.bmp" | sed 's/^/  /'
for palette in black-white black-white-red gray4 epaper7; do
  "$qel" convert "$picture" "out/$name-$palette.bmp" --palette "$palette"
done
"$qel" resize "$picture" "out/$name-half.bmp" 50% --smooth
"$qel" turn "$picture" "out/$name-left.bmp" left
"$qel" rotate "$picture" "out/$name-rotated.bmp" 15
"$qel" blur "$picture" "out/$name-blurred.bmp" 3
for extension in $("$qel" formats | awk '/write$/ { print $2 }'); do
  colours=()
  [ "$extension" != gif ] || colours=(--method custom) # 256 of them at most
  "$qel" convert "$picture" "out/$name-file.$extension" "${colours[@]}"
done

echo
echo "Results of $name: out/$name-*"
ls "out/$name"-* | sed "s|^|  $PWD/|"
[ ! -d out/cards ] || echo "The cards lie in       $PWD/out/cards"
echo "The conversions lie in $PWD/out/converted"
