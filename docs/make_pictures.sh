#!/usr/bin/env bash
# Makes the pictures of dithering.md, masks-and-layers.md, drawing.md, text.md and window.md anew from the program's own
# test pictures, and that of the example paint_scene:
# docs/make_pictures.sh
#
# Every tile is the work of `qel` or `qelview`; ImageMagick sets the tiles side by side and packs them as PNG.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

root=$PWD
scripts/build.sh release
qel=$PWD/build/release/apps/qel/qel
images=$PWD/docs/images
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

families=(bayer mesh spiral fatting hmesh vmesh)

# Sets tiles side by side, so many a row, and packs them by the filter that packs better: sheet NAME COLUMNS TILE...
sheet() {
  montage "${@:3}" -tile "$2x" -geometry +4+4 -background "${background:-white}" sheet.miff
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

# A print on a table: a photo with a white rim, turned, on the key colour; the table is a part of a scene's floor.
"$qel" scene floor.bmp --size 640x480
"$qel" convert floor.bmp floor.bmp --crop 40,410,192,70
"$qel" resize floor.bmp floor.bmp 192x144
"$qel" convert scene.bmp black.bmp --threshold 255
"$qel" convert black.bmp white.bmp --threshold 255 --invert
"$qel" convert white.bmp print.bmp --crop 0,0,108,84 --type rgb
"$qel" resize scene.bmp photo.bmp 96x72
"$qel" compose print.bmp photo.bmp black.bmp print.bmp --at 6,6
"$qel" rotate print.bmp print.bmp 12 --samples 1 --background 00ff00
"$qel" mask print.bmp cut.bmp cut-mask.bmp --key 00ff00
"$qel" compose floor.bmp cut.bmp cut-mask.bmp pasted.bmp --at 34,20
background='#d0d0d0' sheet mask 4 print.bmp cut.bmp cut-mask.bmp pasted.bmp

"$qel" mask print.bmp deep.bmp deep-mask.bmp --key 00ff00 --blur 4
"$qel" compose floor.bmp deep.bmp deep-mask.bmp deep-pasted.bmp --at 34,20
"$qel" shadow cut.bmp cut-mask.bmp cast.bmp cast-mask.bmp --blur 4
"$qel" compose floor.bmp cast.bmp cast-mask.bmp cast-pasted.bmp --at 34,20
background='#d0d0d0' sheet shadows 4 deep-mask.bmp deep-pasted.bmp cast-mask.bmp cast-pasted.bmp

# A soft mask: a black window in white, blurred; the scene is sharp inside it and blurred outside.
"$qel" convert white.bmp window.bmp --type gray256
"$qel" convert black.bmp pane.bmp --crop 0,0,80,80
"$qel" compose window.bmp pane.bmp black.bmp window.bmp --at 84,36
"$qel" blur window.bmp window.bmp 10
"$qel" blur scene.bmp hazy.bmp 3
"$qel" compose hazy.bmp scene.bmp window.bmp focus.bmp
background='#d0d0d0' sheet soft-mask 4 hazy.bmp scene.bmp window.bmp focus.bmp

"$qel" convert scene.bmp shapes.bmp --threshold 61
"$qel" border scene.bmp --threshold 60 --draw outlined.bmp
background='#d0d0d0' sheet borders 3 scene.bmp shapes.bmp outlined.bmp

# Text: smoothed, with hard edges, in italics; on a palette of seven colours.
"$qel" scene lake.bmp --size 320x200
"$qel" text lake.bmp named.bmp "R&D: four balls at dusk" --rect 10,158,300,36 --height 26 --color ffffff --bold
"$qel" text named.bmp named.bmp "in italics" --rect 10,8,300,28 --font serif --height 22 --color ffe040 --italic --align left
"$qel" text named.bmp named.bmp "hard edges" --rect 10,8,300,28 --font mono --height 22 --color 80ff80 --scale 1 --align right
"$qel" convert lake.bmp seven.bmp --palette epaper7
"$qel" text seven.bmp seven.bmp "Only seven colours" --rect 0,0,320,40 --height 30 --color f01010 --bold
sheet text 2 named.bmp seven.bmp

# Drawings: the scripts name the scene, a small photo, a weave and a mask.
cp "$root"/docs/drawing/*.txt .
"$qel" resize scene.bmp photo.bmp 48x36
printf 'brush hatch 4 #ffffff #404040\nrect all\n' >weave.txt
"$qel" draw new:8x8:gray256 weave.bmp weave.txt
echo 'copy window.bmp 400,0' >mask.txt
"$qel" draw new:592x144:gray256 mask.bmp mask.txt
"$qel" draw new:320x144 pens.bmp pens.txt
"$qel" draw new:320x144 fills.bmp fills.txt
"$qel" draw new:592x144 guards.bmp guards.txt
for drawing in pens fills guards; do sheet "drawing-$drawing" 1 "$drawing.bmp"; done

# The window, photographed on a screen that nobody sees: as it opens, on screens of few colours, enlarged, and endless.
Xvfb -displayfd 3 3>screen -screen 0 800x600x24 -nolisten tcp 2>/dev/null &
server=$!
trap 'kill $server; rm -rf "$work"' EXIT
until [ -s screen ]; do sleep 0.1; done
export DISPLAY=:$(cat screen) SDL_RENDER_DRIVER=software
"$qel" show --size 320x200 lake.bmp 2>/dev/null &
window=$(xdotool search --sync --onlyvisible --name qelview)
shots=()
for keys in 0 8 4 1 '0 i i' 'z o r'; do
  xdotool key $keys
  sleep 1
  shots+=("shot${#shots[@]}.png")
  import -silent -window "$window" "${shots[-1]}"
done
sheet window 3 "${shots[@]}"

# The example, built as a stranger would.
cmake --install "$root/build/release" --prefix "$work/prefix" >/dev/null
cmake -G Ninja -S "$root/examples/paint_scene" -B example "-DCMAKE_PREFIX_PATH=$work/prefix" >/dev/null
cmake --build example >/dev/null
example/paint_scene painted.bmp
sheet painted 1 painted.bmp

cd "$images"
ls -l methods.png ramps.png families-*.png displays.png colours-256.png mask.png shadows.png soft-mask.png borders.png \
  drawing-*.png painted.png text.png window.png
