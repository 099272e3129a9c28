#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Tries the bundle in hosts and validators that others wrote.
#   hosts.sh BUNDLE COMMAND
# BUNDLE is the folder brumbler.lv2, COMMAND the `brumbler` of the same build. Ends with status 77, skipped, when one
# of the programs that it needs is not there, with 1 when a check fails. In jalv it is played by live/jack_test.cpp.
set -euo pipefail

bundle=$1 command=$2
window=${bundle%/*}/brumbler-ui.lv2
plugin=urn:brumbler:fuzz
declare -A audio=([$plugin]='in out' [$plugin:stereo]='in_left in_right out_left out_right')

missing=()
for tool in lv2_validate sord_validate lv2ls lv2info lv2apply lv2bench valgrind sox nm objdump; do
  command -v "$tool" >/dev/null || missing+=("$tool")
done
[[ -x $command ]] || missing+=("$command")
if ((${#missing[@]})); then
  echo "SKIPPED: the bundle was tried in no other host; not installed or not built: ${missing[*]}" >&2
  exit 77
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
fail() { echo "FAILED: $*" >&2; exit 1; }
mkdir lv2 && ln -s "$bundle" lv2/brumbler.lv2
export LV2_PATH=$work/lv2:/usr/lib/lv2

echo '- each object exports its one entry'
exports() { nm -D --defined-only "$1"/*.so | awk '{print $3}'; }
[[ $(exports "$bundle") == lv2_descriptor ]] || fail "other exports"
if [[ -d $window ]]; then
  [[ $(exports "$window") == lv2ui_descriptor ]] || fail "the window: other exports"
  needs=$(objdump -p "$window"/*.so | awk '/NEEDED/ {print $2}' | grep -Ev '^(libxcb|libcairo|libm|libc|ld-linux.*)\.so\.' || true)
  [[ -z $needs ]] || fail "the window needs $needs"
fi

echo '- lv2_validate, sord_validate'
# Without modgui.ttl, whose vocabulary has no schema.
mapfile -t turtle < <(find "$bundle/" "$window/" -name '*.ttl' -not -name modgui.ttl 2>/dev/null)
schemas=(/usr/lib/lv2/{schemas,core,units,port-props,presets,buf-size,options,port-groups,ui,urid}.lv2/*.ttl)
for validate in lv2_validate "sord_validate ${schemas[*]}"; do
  $validate "${turtle[@]}" >validated 2>&1 || fail "$(<validated)"
  grep -q '^Found 0 errors' validated || fail "$(<validated)"
  ! grep '^error' validated || fail "a file cannot be read"
done

echo '- lv2ls, lv2info'
for each in "${!audio[@]}"; do
  lv2ls 2>ls.log | grep -qx "$each" || fail "$each: not found"
  lv2info "$each" >info 2>>ls.log
  ports=$(grep -Po '^\s+Symbol:\s+\K\S+' info | xargs)
  [[ $ports == "${audio[$each]} on volume fuzz trim in_level out_level" ]] || fail "$each: ports: $ports"
  grep -q '^\s*Designation: http://lv2plug.in/ns/lv2core#enabled$' info || fail "On is not the host's bypass switch"
  [[ $(grep -c '^\s*Wall of fuzz$' info) == 1 ]] || fail "$each: presets: $(<info)"
  wall="<$each> ;rdfs:label \"Wall of fuzz\" ;lv2:port [ lv2:symbol \"volume\" ; pset:value 6.0 ] ,[ lv2:symbol \"fuzz\" ; pset:value 10.0 ]"
  tr -d '\n\t' <"$bundle/presets.ttl" | grep -qF "$wall" || fail "$each: a preset's values: $(<"$bundle/presets.ttl")"
  grep -q '^\s*Author: *Brumbler project$' info || fail "$each: no maintainer: $(<info)"
  # Hosts take a port with scale points for a list, so none that can be turned evenly may have any.
  awk 'BEGIN {RS = "\n\tPort "} /Scale Points/ && !/#toggled/ {exit 1}' info || fail "$each: scale points: $(<info)"
done
[[ ! -s ls.log ]] || fail "lilv complains: $(<ls.log)"

echo '- the page for MOD finds its files, ports and knobs'
for file in $(grep -o 'modgui/[a-z.-]*' "$bundle/modgui.ttl" | sort -u) modgui/{box,knob}.png; do
  [[ -s $bundle/$file ]] || fail "no $file"
done
for file in icon-brumbler.html stylesheet-brumbler.css; do
  ! grep -n '@[A-Z_]*@' "$bundle/modgui/$file" || fail "$file was not filled in"
  [[ $(tr -cd '{' <"$bundle/modgui/$file" | wc -c) == $(tr -cd '}' <"$bundle/modgui/$file" | wc -c) ]] || fail "$file: braces"
done
while read -r picture; do
  grep -q "/resources/$picture{{{ns}}}" "$bundle/modgui/stylesheet-brumbler.css" || fail "$picture is not used"
done <<<$'box.png\nknob.png'
for name in brumbler-pedal mod-brumbler-knobs mod-knob-image mod-light mod-footswitch; do
  for file in icon-brumbler.html stylesheet-brumbler.css; do
    grep -q "$name" "$bundle/modgui/$file" || fail "$file does not know $name"
  done
done
for role in drag-handle input-control-port bypass bypass-light input-audio-port output-audio-port; do
  grep -q "mod-role=\"$role\"" "$bundle/modgui/icon-brumbler.html" || fail "icon-brumbler.html: no $role"
done
while read -r symbol; do
  grep -q "lv2:symbol \"$symbol\"" "$bundle/brumbler.ttl" || fail "modgui.ttl: no port $symbol"
done < <(grep -o 'lv2:symbol "[a-z]*"' "$bundle/modgui.ttl" | cut -d'"' -f2 | sort -u)
# A strip of 65 frames, each as wide as it is high.
read -r width height < <(od -An -j16 -N8 --endian=big -tu4 "$bundle/modgui/knob.png")
((width == 65 * height)) || fail "knob.png: $width x $height"

echo '- lv2apply gives what the command gives'
sox -n -r 48000 -e float -b 32 in.wav synth 2 pluck E2 synth 2 pluck mix B2 fade 0 2 0.1 gain -n -20
sox in.wav stereo.wav remix 1 1v-0.4
while read -r each in volume fuzz trim; do
  lv2apply -i "$in" -o applied.wav -c volume "$volume" -c fuzz "$fuzz" -c trim "$trim" "$each" >/dev/null
  "$command" render "$in" rendered.wav --force --no-tail --volume "$volume" --fuzz "$fuzz" --trim "$trim" >/dev/null
  sox -m -v 1 applied.wav -v -1 rendered.wav -n stats 2>difference
  for what in s c; do
    [[ $(soxi -V1 -$what applied.wav) == "$(soxi -V1 -$what rendered.wav)" ]] || fail "$each: lengths or channels differ"
  done
  awk '/^Pk lev dB/ {exit !($4 == "-inf" || $4 < -150)}' difference ||
    fail "$each, volume $volume, fuzz $fuzz, trim $trim: $(<difference)"
done <<END
$plugin in.wav 5 5 0
$plugin in.wav 10 0 0
$plugin in.wav 3 10 -12.5
$plugin:stereo stereo.wav 4 9 12
END

echo '- lv2bench plays it faster than it sounds'
lv2bench -n 480000 "$plugin" >bench 2>&1 || fail "lv2bench: $(<bench)"
awk -v plugin="$plugin" '$2 == plugin && $1 > 0 && $1 < 10 {found = 1} END {exit !found}' bench || fail "lv2bench: $(<bench)"

echo '- valgrind finds nothing under lv2apply'
sox stereo.wav short.wav trim 0 0.2
valgrind -q --leak-check=full --errors-for-leak-kinds=definite --error-exitcode=9 \
  lv2apply -i short.wav -o applied.wav -c trim 12 "$plugin:stereo" >/dev/null || fail "valgrind"

echo 'The bundle holds in every host tried.'
