#!/usr/bin/env bash
# Shows what the command-line host does, on the pictures beside this file. Usage: demo.sh TOOL OUTDIR
set -euo pipefail
[ $# -eq 2 ] || { echo "usage: demo.sh TOOL OUTDIR" >&2; exit 2; }
samples=$(cd "$(dirname "$0")" && pwd)
tool=$(realpath "$1")
mkdir -p "$2"
out=$(cd "$2" && pwd)
rm -rf "${out:?}"/{converted,operations,presets,stereo,composite,sheet.png,presets.png,stereo.png,composite.png,info.json}
mkdir -p "$out"/{converted,operations,presets,stereo,composite}
cd "$samples"

title() { printf '\n== %s\n' "$*"; }
# Shows a command as a person would type it, and runs it.
run() {
  echo "\$ rimage$(printf ' %q' "${@//$out\//}")"
  "$tool" "$@"
}

title "What can be read and written"
run formats
readers=" $("$tool" formats | sed -n '/^Readers/,/^Writers/s/^  \([a-z]*\).*/\1/p' | tr '\n' ' ')"
pictures=()
for file in *.*; do
  [[ "$readers" == *" ${file##*.} "* ]] && pictures+=("$file")
done

title "What the pictures hold"
run info "${pictures[@]}"
"$tool" info --json "${pictures[@]}" >"$out/info.json"

title "From every format to another"
targets=(png tif tga jpg bmp)
for i in "${!pictures[@]}"; do
  file=${pictures[$i]}
  run convert "$file" "$out/converted/${file//./-}.${targets[$((i % ${#targets[@]}))]}"
done

title "Each operation once"
operation() { # NAME INPUT OPTIONS...
  local name=$1 input=$2
  shift 2
  run convert "$input" "$@" "$out/operations/$name.png"
}
operation 00-original hopper.tga
operation 01-format hopper.tga --format RGB
operation 02-resize hopper.tga --resize 32x32
operation 03-resize-vector lighthouse.svg --resize 960x640
operation 04-square rainbow.tga --square '#2060C0'
operation 05-flip hopper.tga --flip
operation 06-translate hopper.tga --translate 40,20
operation 07-translate-wrap hopper.tga --translate 40,20,wrap
operation 08-premultiply hopper.tga --premultiply
operation 09-unpremultiply hopper.tga --premultiply --unpremultiply
operation 10-apply-alpha hopper.jpg --apply-alpha 0.5
operation 11-alpha hopper.tga --alpha
operation 12-alpha-invert hopper.tga --alpha=invert
operation 13-merge-alpha hopper.jpg --merge-alpha "$out/operations/12-alpha-invert.png"
operation 14-field-one hopper.jpg --field one
operation 15-field-frame hopper.jpg --field one --frame
operation 16-field-average hopper.jpg --field average

title "Where two pictures differ"
run compare hopper.jpg hopper.sgi --diff "$out/operations/17-difference.png" || [ $? -eq 1 ]

title "One picture with another, in sixteen ways"
a=$out/presets/first.png b=$out/presets/second.png
run convert lighthouse.svg --resize 192x128 --square transparent "$a"
run convert hopper.tga --resize 192x192 "$b"
presets=("$a" "$b")
for preset in blend dissolve clear A B "A over B" "B over A" "A in B" "B in A" "A out B" "B out A" "A atop B" "B atop A" \
  "A xor B" "A + B" "A * B"; do
  # Without OpenGL there are none.
  run blend "$a" "$b" "$out/presets/$preset.png" --set Preset="$preset" --set Alpha=50 || { [ $? -eq 5 ] && break; }
  presets+=("$out/presets/$preset.png")
done
run sheet "${presets[@]}" "$out/presets.png" --columns 6

title "Two views in one picture"
frames=()
for mode in color-anaglyph gray-anaglyph row-interleaved checkerboard side-by-side side-by-side-swapped; do
  # Without OpenGL there are no frames.
  run stereo stereo-left.png stereo-right.png "$out/stereo/$mode.png" --mode "$mode" || { [ $? -eq 5 ] && break; }
  frames+=("$out/stereo/$mode.png")
done
run sheet stereo-left.png stereo-right.png "${frames[@]}" "$out/stereo.png" --columns 4 --size 320

title "Everything on one page"
run sheet "${pictures[@]}" "$out"/operations/*.png "$out/sheet.png" --columns 7

title "A green screen, in one graph"
shot=$out/composite
key=(--set Key=0.13,0.61,0.21 --set Threshold=35 --set Softness=75 --set Suppression=10 --set LeftMask=7)
run key green-screen.png "$shot/matte.jpg" "${key[@]}" --set Output=Matte
run key green-screen.png "$shot/keyed.tif" "${key[@]}"
run key green-screen.png green-screen-clean.jpg "$shot/difference.jpg" --set Mode="Difference Keying" --set Threshold=98 \
  --set Softness=8 --set Output=Matte
run correct "$shot/keyed.tif" "$shot/corrected.tif" --set Transparency=true --set Gamma=1.1 --set Gain=1.08,1.02,1
steps=(green-screen.png green-screen-clean.jpg "$shot"/{difference,matte}.jpg "$shot"/{keyed,corrected}.tif meadow.jpg)
code=0
run graph green-screen.json "$shot/composite.png" --explain || code=$?
if [ $code -eq 0 ]; then
  run blend "$shot/corrected.tif" meadow.jpg "$shot/step-by-step.png" --set Preset="A over B"
  run compare "$shot/composite.png" "$shot/step-by-step.png" --tolerance 1
  steps+=("$shot/composite.png")
elif [ $code -ne 5 ]; then # Without OpenGL nothing is blended.
  exit $code
fi
run sheet "${steps[@]}" "$out/composite.png" --columns 4 --size 240

title "Done"
cat <<TEXT
$out/sheet.png      every picture and every operation, with names
$out/presets.png    two pictures, and what the blend effect makes of them
$out/stereo.png     two views, and the frames that they make
$out/converted/     each picture in another format
$out/operations/    one picture for each operation
$out/info.json      what the pictures hold, as JSON
$out/composite.png  a green-screen picture on its way into a landscape
TEXT
