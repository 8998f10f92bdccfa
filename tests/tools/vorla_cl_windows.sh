#!/usr/bin/env bash
# vorla-cl.exe under Wine against the Linux simulator: the simulator's pseudo-terminal is the Wine
# prefix's COM5, which clsercom.dll offers as port "COM#COM5".
# Usage: vorla_cl_windows.sh <Linux bin folder> <Windows bin folder>   (WINEPREFIX set)
set -euo pipefail
linux_bin=$1
windows_bin=$2
bin=$linux_bin
source "$(dirname "$0")/tool_test_support.sh"
start_simulator --serial SN42 --model HX2000
ln -sfn "$pty" "$WINEPREFIX/dosdevices/com5"
port="COM#COM5"
echo "<Bindings><Port><ID>$port</ID><Enabled>yes</Enabled></Port></Bindings>" \
  >"$work/PortConfiguration_x64.xml"
# Wine's drive Z: is the Linux root.
windows_path() { local path=$1; echo "Z:${path//\//\\}"; }
export CLSERCOM_PORTS=COM5 VORLA_CL_BINDINGS=$(windows_path "$work")
run() {
  local want=$1 status=0
  shift
  out=$(wine "$windows_bin/vorla-cl.exe" "$@" 2>&1 | tr -d '\r') || status=$?
  [ "$status" -eq "$want" ] || fail "vorla-cl.exe $* exited $status, not $want: $out"
}

run 0 list
expect "$port"
run 0 info
expect_line "^DeviceSerialNumber\s+SN42$"
expect_line "^Port\s+\Q$port\E$"
run 0 set Width=64 PixelFormat=Mono16
expect "Width = 64"
run 0 get Width PixelFormat
expect $'Width = 64\nPixelFormat = Mono16'
run 0 xml -o "$(windows_path "$work/camera.xml")"
expect "Saved the description of"
grep -q "<RegisterDescription" "$work/camera.xml" || fail "no description saved"

# The camera goes away during a watch: reported once, as on Linux; then nothing answers there,
# and a COM port the system lacks is no camera either.
(sleep 4 && kill "$camsim") &
run 1 watch DeviceTemperature --interval 100
expect "vorla-cl: Camera 'Hexmar HX2000 on $port' was removed."
run 1 list
expect "vorla-cl: No camera answered on the enabled ports: $port."
echo "<Bindings><Port><ID>COM#COM7</ID><Enabled>yes</Enabled></Port></Bindings>" \
  >"$work/PortConfiguration_x64.xml"
CLSERCOM_PORTS=COM7 run 1 list
expect "vorla-cl: No camera answered on the enabled ports: COM#COM7."
echo "vorla-cl.exe over COM5: $passed passed, 0 failed"
