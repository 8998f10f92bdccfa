#!/usr/bin/env bash
# Builds the Windows side (preset "windows": mingw-w64, the dependencies of
# scripts/windows-deps.sh) and runs its test suites under Wine, in a Wine prefix of its own
# (build/wine), then drives vorla-cl.exe against the Linux simulator over a Wine COM port.
# Each suite runs as one Wine process (a process per test case would cost seconds each).
# Usage: scripts/windows-test.sh [gtest arguments for every suite...]
set -euo pipefail
cd "$(dirname "$0")/.."
# A compiler launcher (ccache) comes from the caller's CMAKE_CXX_COMPILER_LAUNCHER, as for every
# preset.
if [ -z "${GENAPI_SAMPLES:-}" ] && [ -d ../shared/genapi-samples ]; then
  export GENAPI_SAMPLES=$(cd ../shared/genapi-samples && pwd)
fi
jobs=${VORLA_WINDOWS_JOBS:-2}
start=$SECONDS

./scripts/windows-deps.sh
deps=$PWD/build/windows-deps

cmake --preset windows >/dev/null
nice -n 15 cmake --build --preset windows -j"$jobs"
echo "windows-test: built in $((SECONDS - start)) s"

# Wine: a prefix of its own, quiet, and the DLLs the executables need on its search path (the
# mingw runtime; the dependency prefix, Xerces in bin/ and Boost in lib/). The host's DLLs sit
# beside the executables.
export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
if [ ! -d "$WINEPREFIX/drive_c" ]; then
  wineboot --init >/dev/null 2>&1
fi
# One Wine server for the whole run, started quietly and ended at the end: a server that Wine
# starts on its own inherits the standard error of the first Wine command, prints its object
# table there when it ends, and one that is ending refuses the next command.
wineserver -k >/dev/null 2>&1 || true
wineserver -w >/dev/null 2>&1 || true
wineserver -p </dev/null >/dev/null 2>&1 || true
trap 'wineserver -k >/dev/null 2>&1 || true' EXIT
# Wine's drive Z: is the Linux root.
windows_path() { local path=$1; echo "Z:${path//\//\\}"; }
gcc_dlls=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name=libstdc++-6.dll)")
winpath=""
for dir in "$deps/bin" "$deps/lib" "$gcc_dlls" /usr/x86_64-w64-mingw32/lib; do
  winpath+="${winpath:+;}$(windows_path "$dir")"
done
export WINEPATH=$winpath VORLA_TEST_BUILD_DIR=$PWD/build/windows

# Cases left out by name (the README lists them): the machine folder of POSIX systems
# (XDG_CONFIG_DIRS; Windows' is SHGetFolderPathA's, checked by windows_platform_tests); a status
# failure other than "missing", which the C runtime's stat never reports for a path below a plain
# file; and a stress case whose every cancel restarts the real plug-ins' delivery threads, which
# under Wine costs a thread and a cable attach each: it passes, in 45 to 75 s instead of 10.
declare -A pending=()
pending[config_tests]+=":PortConfiguration.WithoutTheVariableTheFirstXdgConfigFolderHoldsIt"
pending[config_tests]+=":PortConfiguration.StatusFailureOtherThanMissingIsTreatedAsAChange"
pending[stream_tests]+=":StreamGrabberStress.RealPluginsBringEveryBufferBackAcrossSessions"

# Every unit suite of the preset (those that need a pseudo-terminal are not built for Windows).
failed=()
for suite in build/windows/bin/*_tests.exe; do
  name=$(basename "$suite" .exe)
  filter=()
  [ -z "${pending[$name]:-}" ] || filter=(--gtest_filter="-${pending[$name]#:}")
  if wine "$suite" --gtest_brief=1 "${filter[@]}" "$@" >"build/windows/$name.log" 2>&1; then
    echo "windows-test: $name: $(grep -o '[0-9]* tests\? from [0-9]* test suites\? ran' \
      "build/windows/$name.log" | head -n1), passed${filter:+ (left out: ${pending[$name]#:})}"
  else
    failed+=("$name")
    tr -d '\r' <"build/windows/$name.log" | grep -v '^\[       OK \]' | tail -n 40
  fi
done

# End to end: vorla-cl.exe reaches the Linux simulator through a Wine COM port.
cmake --preset default >/dev/null
nice -n 15 cmake --build --preset default -j"$jobs" --target vorla-camsim
tests/tools/vorla_cl_windows.sh "$PWD/build/default/bin" "$PWD/build/windows/bin" ||
  failed+=(vorla_cl_windows)
echo "windows-test: $((SECONDS - start)) s in all"
if [ ${#failed[@]} -gt 0 ]; then
  echo "windows-test: FAILED: ${failed[*]}"
  exit 1
fi
echo "windows-test: every suite passed under Wine"
