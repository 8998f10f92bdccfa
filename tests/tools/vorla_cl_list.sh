#!/usr/bin/env bash
# vorla-cl list against a simulated camera on a pseudo-terminal, and its explanations when
# nothing is found. Usage: vorla_cl_list.sh <bin folder>
set -euo pipefail
bin=$1
work=$(mktemp -d)
coproc CAMSIM { exec "$bin/vorla-camsim" --serial SN42 --model HX2000 --ignore-stdin; }
trap 'kill "$CAMSIM_PID" 2>/dev/null || true; wait "$CAMSIM_PID" 2>/dev/null || true; rm -rf "$work"' EXIT
read -r -t 10 pty <&"${CAMSIM[0]}"
port="TTY#${pty#/dev/}"
export CLSERTTY_PORTS=$pty XDG_CONFIG_DIRS=$work/none
unset VORLA_CL_BINDINGS

fail() { echo "FAILED: $*"; exit 1; }

out=$("$bin/vorla-cl" list || true)
grep -qF "No port configuration file at '$work/none/Hexmar/CLBindings/PortConfiguration_x64.xml'" <<<"$out" ||
  fail "missing configuration not explained: $out"
grep -qF "port found: $port" <<<"$out" || fail "found ports not listed: $out"

cat >"$work/PortConfiguration_x64.xml" <<XML
<Bindings><Port><ID>$port</ID><Enabled>no</Enabled></Port></Bindings>
XML
export VORLA_CL_BINDINGS=$work
out=$("$bin/vorla-cl" list || true)
grep -qF "None of the ports found is enabled in '$work/PortConfiguration_x64.xml'." <<<"$out" ||
  fail "disabled port not explained: $out"

sed -i 's|<Enabled>no|<Enabled>yes|' "$work/PortConfiguration_x64.xml"
touch -d '+2 seconds' "$work/PortConfiguration_x64.xml"
out=$("$bin/vorla-cl" list -v)
grep -qP "^Hexmar HX2000 on \Q$port\E\tport \Q$port\E\tmodel HX2000\tserial SN42$" <<<"$out" ||
  fail "camera not listed: $out"
grep -qP "^\s+DeviceClass\s+HexmarCameraLink$" <<<"$out" || fail "no record with -v: $out"
echo "vorla-cl list: 4 passed, 0 failed"
