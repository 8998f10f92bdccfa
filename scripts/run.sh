#!/usr/bin/env bash
# Sets up, builds and runs the main job: a simulated Camera Link camera on a pseudo-terminal,
# a port configuration that enables that port, `vorla-cl list` finding the camera, then the
# camera opened: its info, again with its description from the cache, a feature set and read
# back, its description saved, and three pictures grabbed through the frame-grabber plug-in into
# PNG files; last, the same camera from Python (examples/python/grab.py: ten frames into NumPy
# arrays, one saved).
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/setup.sh
./scripts/build.sh default
bin=$PWD/build/default/bin

work=$(mktemp -d)
# A video cable of this run's own (board = this script's process id), so that another simulator
# on the default channel (another run, a test) is never grabbed from by mistake.
board=$$
coproc CAMSIM { exec "$bin/vorla-camsim" --serial HX0001 --model HX1300 --board "$board"; }
camsim=$CAMSIM_PID # bash forgets CAMSIM_PID once the process has ended
trap 'kill "$camsim" 2>/dev/null || true; wait "$camsim" 2>/dev/null || true; rm -rf "$work"' EXIT
read -r -t 10 pty <&"${CAMSIM[0]}"
echo "== camera simulator on $pty"

# The tty serial library names the port "TTY#<device without /dev/>".
port="TTY#${pty#/dev/}"
sed -e "s|TTY#ttyS0|$port|" -e "s|Board=0 Channel=0|Board=$board Channel=0|" \
  examples/PortConfiguration_x64.xml >"$work/PortConfiguration_x64.xml"
echo "== port configuration enabling $port (video on Board=$board) in $work"

# The description cache of this run lives and dies with it.
export VORLA_CL_BINDINGS=$work CLSERTTY_PORTS=$pty VORLA_DESCRIPTION_CACHE=$work/descriptions
echo "== transport layers"
"$bin/vorla-cl" tls
echo "== cameras"
"$bin/vorla-cl" list -v
echo "== the camera, opened"
"$bin/vorla-cl" -c HX0001 info
echo "== the camera again: its description now comes from the cache, not the serial line"
"$bin/vorla-cl" -c HX0001 info
echo "== a feature set and read back"
"$bin/vorla-cl" -c HX0001 set Width=640
"$bin/vorla-cl" -c HX0001 get Width
echo "== the camera's description"
"$bin/vorla-cl" -c HX0001 xml -o "$PWD/build/default/HX0001.xml"
echo "== three pictures through the frame-grabber plug-in"
"$bin/vorla-cl" -c HX0001 set Height=480
"$bin/vorla-cl" -c HX0001 grab -n 3 -o "$PWD/build/default/frame-#.png"
ls -l build/default/frame-*.png
echo "== the camera from Python (examples/python/grab.py)"
PYTHONPATH=$PWD/build/default/python /usr/bin/python3 examples/python/grab.py HX0001 \
  "$PWD/build/default/frame-python.pgm"
