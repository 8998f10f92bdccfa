#!/usr/bin/env bash
# vorla-cl's camera commands against a simulated camera on a pseudo-terminal: selection, info,
# features, get, set, xml, JSON output, the description cache, and watch reporting the camera's
# removal.
# Usage: vorla_cl_camera.sh <bin folder>
set -euo pipefail
bin=$1
source "$(dirname "$0")/tool_test_support.sh"
start_simulator --serial SN42 --model HX2000
echo "<Bindings><Port><ID>$port</ID><Enabled>yes</Enabled></Port></Bindings>" \
  >"$work/PortConfiguration_x64.xml"
export VORLA_CL_BINDINGS=$work

# Every way of naming the camera reaches it; the lookup's refusals come through as it words them.
# The first open downloads the description, the others take it from the cache.
for camera in 0 SN42 "Hexmar HX2000 on $port" "PortID=$port"; do
  run 0 -c "$camera" info
  expect_line "^DeviceSerialNumber\s+SN42$"
  if [ "$camera" = 0 ]; then
    ! grep -q "description cache" <<<"$out" || fail "the first open found a cache: $out"
  else
    expect_line "^Description\s+from the description cache$"
  fi
done
[ "$(ls "$VORLA_DESCRIPTION_CACHE")" ] || fail "nothing cached"
run 0 --first info
expect_line "^Port\s+\Q$port\E$"
refuse 1 "vorla-cl: No camera is named 'SN43'" -c SN43 info
refuse 1 "vorla-cl: No device contains the provided device info properties. The number of possible devices is 1." -c ModelName=HX9 info

run 0 features
expect_line "^\s+Width\s+Integer\s+RW\s+\d+$"
expect_line "^Transport layer$"
expect_line "^\s+AutoCloseTimeout\s+Integer\s+RW\s+0$"
grep -q TLParamsLocked <<<"$out" && fail "invisible feature shown: $out"
run 0 features TransportLayerControl --all
expect_line "^\s+TLParamsLocked\s+Integer"
run 0 features PixelFormat
expect_line "^\s+entries\s+Mono8, Mono10"

run 0 set Width=64 PixelFormat=Mono16 DeviceUserID=cam1 TriggerSoftware AutoCloseTimeout=5000
expect "Width = 64"
expect "PixelFormat = Mono16"
expect "TriggerSoftware executed"
run 0 get Width PixelFormat DeviceUserID
expect $'Width = 64\nPixelFormat = Mono16\nDeviceUserID = cam1'
refuse 1 "vorla-cl: No feature 'Widht'; did you mean Width?" get Widht
refuse 1 "vorla-cl: 'PixelFormat' has no entry 'Mono9'; did you mean Mono8?" set PixelFormat=Mono9
refuse 1 "vorla-cl: 'PayloadSize' is not writable (access mode RO)" set PayloadSize=5
refuse 1 "vorla-cl: Cannot set 'Width' to 'abc'" set Width=abc

run 0 xml -o "$work/camera.xml"
expect "Saved the description of 'Hexmar HX2000 on $port' (24"
expect "bytes, from the description cache) to"
VORLA_DESCRIPTION_CACHE=off run 0 xml -o "$work/camera.xml"
expect "bytes, from the camera) to"
grep -q "<RegisterDescription" "$work/camera.xml" || fail "no description saved"
refuse 1 "vorla-cl: Cannot write '$work/no/such/folder/camera.xml': No such file or directory" xml -o "$work/no/such/folder/camera.xml"
refuse 1 "vorla-cl: Cannot write to '/dev/full': No space left on device" xml -o /dev/full
out=$("$bin/vorla-cl" xml 2>&1 >/dev/full) && fail "xml to a full standard output succeeded"
expect "vorla-cl: Cannot write to standard output: No space left on device"

# A grab's lock on the camera is explained; unlocking frees it.
run 0 set TLParamsLocked=1
refuse 1 "'Width' is not writable (access mode RO): a grab holds the camera (TLParamsLocked = 1); end the grab, or free the camera with 'vorla-cl set TLParamsLocked=0'" set Width=32
run 0 set TLParamsLocked=0 Width=32

for verb in list info features "features Width" "get Width PixelFormat"; do
  json $verb
done
[ "$(jq -r .Width <<<"$out")" = 32 ] || fail "get --json: $out"

# watch reads until the simulator goes away, then reports the removal.
mkfifo "$work/watch"
exec 5<>"$work/watch"
timeout 20 "$bin/vorla-cl" watch DeviceTemperature --interval 100 >&5 2>&5 &
watch_pid=$!
read -r -t 10 line <&5 && read -r -t 10 line <&5 || fail "watch printed nothing"
[[ $line == *"DeviceTemperature = "* ]] || fail "watch read nothing: $line"
kill "$camsim"
status=0
wait "$watch_pid" || status=$?
out=
while read -r -t 1 line <&5; do out+=$line$'\n'; done
[ "$status" -eq 1 ] || fail "watch exited $status: $out"
expect "vorla-cl: Camera 'Hexmar HX2000 on $port' was removed."
echo "vorla-cl camera commands: $passed passed, 0 failed"
