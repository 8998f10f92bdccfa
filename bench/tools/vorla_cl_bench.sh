#!/usr/bin/env bash
# `vorla-cl get Width` on a camera paced at 115200 baud: wall time with a warm description cache
# against the same command with the cache off, measured in this run. Limit 0.4.
# Usage: vorla_cl_bench.sh <bin folder>
set -euo pipefail
bin=$1
limit=0.4
work=$(mktemp -d)
# A camera that goes no faster than 115200 baud, bytes taking their time on the line.
coproc CAMSIM { exec "$bin/vorla-camsim" --pace --baud-rates 0x11 --ignore-stdin 2>/dev/null; }
camsim=$CAMSIM_PID
trap 'kill "$camsim" 2>/dev/null || true; wait 2>/dev/null || true; rm -rf "$work"' EXIT
read -r -t 10 pty <&"${CAMSIM[0]}"
echo "<Bindings><Port><ID>TTY#${pty#/dev/}</ID><Enabled>yes</Enabled>
      <BaudRate>Baud115200</BaudRate></Port></Bindings>" >"$work/PortConfiguration_x64.xml"
export CLSERTTY_PORTS=$pty VORLA_CL_BINDINGS=$work XDG_CONFIG_DIRS=$work/none

# seconds CACHE RUNS: the mean wall time of `get Width` with VORLA_DESCRIPTION_CACHE=CACHE.
seconds() {
  local start end
  start=$(date +%s.%N)
  for ((i = 0; i < $2; i++)); do
    VORLA_DESCRIPTION_CACHE=$1 "$bin/vorla-cl" get Width >/dev/null
  done
  end=$(date +%s.%N)
  echo "($end - $start) / $2" | bc -l
}
uncached=$(seconds off 2)
VORLA_DESCRIPTION_CACHE=$work/descriptions "$bin/vorla-cl" get Width >/dev/null # fills it
cached=$(seconds "$work/descriptions" 3)
ratio=$(echo "$cached / $uncached" | bc -l)
verdict=$(echo "$ratio <= $limit" | bc -l)
printf 'vorla-cl get Width at 115200: warm cache %.3f s / uncached %.3f s = %.3f (limit %s) %s\n' \
  "$cached" "$uncached" "$ratio" "$limit" "$([ "$verdict" = 1 ] && echo ok || echo OVER)"
[ "$verdict" = 1 ]
