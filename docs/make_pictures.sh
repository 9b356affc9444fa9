#!/usr/bin/env bash
# Makes the pictures of dithering.md anew from the program's own test pictures: docs/make_pictures.sh
#
# Every tile is the work of `qel`; ImageMagick sets the tiles side by side and packs them as PNG.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/build.sh release qel_cli
qel=$PWD/build/release/apps/qel/qel
images=$PWD/docs/images
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

families=(bayer mesh spiral fatting hmesh vmesh)

# Sets tiles side by side, so many a row, and packs them by the filter that packs better: sheet NAME COLUMNS TILE...
sheet() {
  montage "${@:3}" -tile "$2x" -geometry +4+4 -background white sheet.miff
  for filter in 0 1; do
    convert sheet.miff -strip -define png:compression-level=9 -define png:compression-filter=$filter sheet-$filter.png
  done
  cp "$(ls -S sheet-?.png | tail -1)" "$images/$1.png"
}

# The scene as a tile: tile NAME OPTIONS...
tile() {
  "$qel" convert scene.bmp "$1.bmp" "${@:2}"
}

"$qel" scene scene.bmp --size 192x144
tile threshold --threshold 128
tile diffuse --type mono
tile bayer --type mono --dither bayer
sheet methods 4 scene.bmp threshold.bmp diffuse.bmp bayer.bmp

# A gray ramp in every family, four times as large; 16 colours are enlarged without blending.
"$qel" card cards >/dev/null
"$qel" convert cards/card-gray256.bmp ramp.bmp --crop 0,180,363,20
"$qel" resize ramp.bmp ramp.bmp 60x24
ramps=()
for size in 4 8; do
  for family in "${families[@]}"; do
    "$qel" convert ramp.bmp dots.bmp --type mono --dither "$family" --size "$size"
    "$qel" convert dots.bmp dots.bmp --type 16
    "$qel" resize dots.bmp "ramp-$family-$size.bmp" 400%
    ramps+=("ramp-$family-$size.bmp")
  done
done
sheet ramps 3 "${ramps[@]}"

# The scene in every family: black and white, and the 16 standard colours.
for type in mono 16; do
  tiles=()
  for family in "${families[@]}"; do
    tile "$type-$family" --type "$type" --dither "$family" --size 4
    tiles+=("$type-$family.bmp")
  done
  sheet "families-$type" 3 "${tiles[@]}"
done

for palette in black-white black-white-red gray4 epaper7; do tile "$palette" --palette "$palette"; done
tile 16 --type 16
sheet displays 3 scene.bmp black-white.bmp black-white-red.bmp gray4.bmp epaper7.bmp 16.bmp

"$qel" palette --custom scene.bmp -o custom.txt
tile 256-map --type 256 --method map
tile 256-bayer --type 256 --dither bayer
tile 256-diffuse --type 256 --method diffuse
tile 256-custom --method custom
tile 256-custom-diffuse --palette custom.txt
sheet colours-256 3 scene.bmp 256-map.bmp 256-bayer.bmp 256-diffuse.bmp 256-custom.bmp 256-custom-diffuse.bmp

cd "$images"
ls -l methods.png ramps.png families-*.png displays.png colours-256.png
