#!/usr/bin/env bash
# vorla-cl usage, tls and list against simulated cameras on pseudo-terminals, and the
# explanations when nothing is found. Usage: vorla_cl_list.sh <bin folder>
set -euo pipefail
bin=$1
source "$(dirname "$0")/tool_test_support.sh"
start_simulator --serial SN42 --model HX2000
unset VORLA_CL_BINDINGS

refuse 2 "vorla-cl: unknown command 'lsit'; did you mean list?" lsit
refuse 2 "list: unrecognised option '--all'" list --all
run 2
run 0 --help
expect "exit status: 0 success, 1 failure"
run 0 tls
expect $'HexmarCameraLink\tCamera Link/HexmarCameraLink'

refuse 1 "vorla-cl: No port configuration file at '$work/none/Hexmar/CLBindings/PortConfiguration_x64.xml'" list
expect "ports found: $port."

cfg=$work/PortConfiguration_x64.xml
echo "<Bindings><Port><ID>$port</ID><Enabled>no</Enabled></Port></Bindings>" >"$cfg"
export VORLA_CL_BINDINGS=$work
refuse 1 "vorla-cl: None of the ports found ($port) is enabled in '$cfg'." list

echo "<Bindings><Port><ID>$port" >"$cfg"
touch -d '+2 seconds' "$cfg"
refuse 1 "vorla-cl: The port configuration '$cfg' could not be read: Failed to parse XML file" list

echo "<Bindings><Port><ID>$port</ID><Enabled>yes</Enabled></Port></Bindings>" >"$cfg"
touch -d '+4 seconds' "$cfg"
run 0 list -v
expect_line "^0\tHexmar HX2000 on \Q$port\E\tport \Q$port\E\tmodel HX2000\tserial SN42$"
expect_line "^\s+DeviceClass\s+HexmarCameraLink$"

# A port another process holds.
flock "$pty" sleep 60 &
holder=$!
until grep -q "FLOCK.* $holder " /proc/locks; do sleep 0.1; done
refuse 1 "vorla-cl: No camera answered: port $port is in use by another process (pid $holder)." list
pkill -P "$holder" && wait "$holder" || true # its sleep, then flock itself ends

# A camera that never answers.
mkfifo "$work/mute"
exec 4<>"$work/mute"
"$bin/vorla-camsim" --drop-every 1 --ignore-stdin --board "$$" --channel 1 >&4 &
mute_pid=$!
trap 'kill "$camsim" "$mute_pid" 2>/dev/null || true; wait 2>/dev/null || true; rm -rf "$work"' EXIT
read -r -t 10 mute <&4
echo "<Bindings><Port><ID>TTY#${mute#/dev/}</ID><Enabled>yes</Enabled></Port></Bindings>" >"$cfg"
touch -d '+6 seconds' "$cfg"
CLSERTTY_PORTS=$mute run 1 list
expect "vorla-cl: No camera answered on the enabled ports: TTY#${mute#/dev/}."
echo "vorla-cl list: $passed passed, 0 failed"
