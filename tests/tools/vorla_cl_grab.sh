#!/usr/bin/env bash
# vorla-cl grab through the whole product: a simulated camera on a pseudo-terminal with its video
# on a cable of its own, both frame-grabber plug-ins, PNG files with the frame's metadata, JSON,
# interruption by a signal, and the explanations on failure.
# Usage: vorla_cl_grab.sh <bin folder>
set -euo pipefail
bin=$1
source "$(dirname "$0")/tool_test_support.sh"
board=$$
start_simulator --serial SN7 --board "$board" --channel 3 --sensor-width 320 --sensor-height 240 \
  2>/dev/null
bind() {
  echo "<Bindings><Port><ID>$port</ID><Enabled>yes</Enabled><Manufacturer>Hexmar</Manufacturer>
        <DeviceSpecificString>$1</DeviceSpecificString></Port></Bindings>" \
    >"$work/PortConfiguration_x64.xml"
  touch -d "+$2 seconds" "$work/PortConfiguration_x64.xml"
}
export VORLA_CL_BINDINGS=$work

# Dravik: five pictures, whole and under their names only.
bind "Sapera Board=$board Channel=3" 1
mkdir "$work/png"
run 0 grab -n 5 -o "$work/png/f-###.png" --buffers 3
expect "5 frames grabbed"
[ "$(ls "$work/png")" = "$(printf 'f-%03d.png\n' 0 1 2 3 4)" ] || fail "files: $(ls "$work/png")"
for f in "$work"/png/*.png; do
  [ "$(head -c 8 "$f" | od -An -tx1 | tr -d ' ')" = 89504e470d0a1a0a ] || fail "$f is no PNG"
  for text in FrameNumber TimeStamp PixelFormat.Mono8 SerialNumber.SN7; do
    grep -qa "tEXt$text" "$f" || fail "$f has no $text"
  done
done
passed=$((passed + 1))

# A new geometry between grabs, then Melsor, measuring only.
run 0 set Width=64 PixelFormat=RGB8
run 0 grab -n 2 -o "$work/png/rgb.png"
[ -s "$work/png/rgb-0.png" ] && [ -s "$work/png/rgb-1.png" ] || fail "no RGB pictures"
passed=$((passed + 1))
bind "NI-IMAQ Board=$board Channel=3" 2
run 0 grab -n 3 -v
expect_line "^frame \d+  time stamp \d+  grabbed$"
expect "3 frames grabbed"
json grab -n 2
[ "$(jq .grabbed <<<"$out")" = 2 ] || fail "grab --json: $out"

# A signal ends grab, watch and xml (this one while it downloads) cleanly: the camera is unlocked
# and idle for the next command.
interrupt INT 130 grab -n 100000 -v
interrupt TERM 143 grab -n 100000 -v
interrupt INT 130 watch Width --interval 5000
VORLA_DESCRIPTION_CACHE=off interrupt INT 130 --log 16 xml

# Failures say why and leave nothing behind.
refuse 1 "cannot write '$work/missing/f-0.png': No such file or directory" grab -n 1 -o "$work/missing/f.png"
bind "Sapera Board=$board Channel=4" 3
# A grab waiting in vain names its cable and whether its camera lives: another, silent simulator's.
cable=/dev/shm/vorla-cable-$board-4
"$bin/vorla-camsim" --ignore-stdin --serial SN8 --board "$board" --channel 4 >/dev/null 2>&1 &
other=$!
trap 'kill "$camsim" "$other" 2>/dev/null || true; wait 2>/dev/null || true; rm -rf "$work" "$cable"' EXIT
until [ -e "$cable" ]; do sleep 0.1; done
refuse 1 "video? (frame grabber: no frame for 1 s on cable '${cable#/dev/shm/}' of camera process $other (alive), 0 frames sent)" grab -n 1 --timeout 3000
{ kill -KILL "$other" && wait "$other"; } 2>/dev/null || true
refuse 1 "no camera video on channel Board=$board Channel=4 (no camera serves '${cable#/dev/shm/}': its camera process $other has ended)" grab -n 1
# Texts from outside are never formats: printf conversions in the configuration, placeholders of
# the option parser on the command line.
bind "NI-IMAQ Board=%s%s%s%s%n Channel=3" 4
refuse 1 "bad parameter 'Board=%s%s%s%s%n': Board takes a number from 0 to 4294967295" grab -n 1
refuse 2 "vorla-cl: grab: the argument ('%value%') for option '--count' is invalid" grab -n %value%
echo "<Bindings><Port><ID>$port</ID><Enabled>yes</Enabled></Port></Bindings>" \
  >"$work/PortConfiguration_x64.xml"
touch -d "+4 seconds" "$work/PortConfiguration_x64.xml"
refuse 1 "names no frame grabber; give that <Port> a <Manufacturer>Hexmar</Manufacturer> and a <DeviceSpecificString>" grab -n 1
echo "vorla-cl grab: $passed passed, 0 failed"
