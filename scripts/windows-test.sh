#!/usr/bin/env bash
# Builds the Windows side (preset "windows": mingw-w64, the dependencies of
# scripts/windows-deps.sh) and runs its test suites under Wine, in a Wine prefix of its own
# (build/wine), then drives vorla-cl.exe against the Linux simulator over a Wine COM port.
# Usage: scripts/windows-test.sh [ctest arguments...]
set -euo pipefail
cd "$(dirname "$0")/.."
export CCACHE_DIR=${CCACHE_DIR:-/work/.ccache} CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD} CCACHE_NOHASHDIR=1
if command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache CMAKE_C_COMPILER_LAUNCHER=ccache
fi
export GENAPI_SAMPLES=${GENAPI_SAMPLES:-$PWD/../shared/genapi-samples}

./scripts/windows-deps.sh
deps=$PWD/build/windows-deps

# Wine: a prefix of its own, quiet, and the DLLs the executables need on its search path (the
# mingw runtime, the dependency prefix, the host libraries).
export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
gcc_dlls=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name=libstdc++-6.dll)")
winpath=""
for dir in "$PWD/build/windows/bin" "$deps/bin" "$deps/lib" "$gcc_dlls" /usr/x86_64-w64-mingw32/lib; do
  winpath+="${winpath:+;}$(winepath -w "$dir" 2>/dev/null || echo "Z:${dir//\//\\}")"
done
export WINEPATH=$winpath
if [ ! -d "$WINEPREFIX/drive_c" ]; then
  wineboot --init >/dev/null 2>&1
  wineserver -w
fi

cmake --preset windows >/dev/null
nice -n 10 cmake --build --preset windows -j2
ctest --preset windows "$@"

# End to end: vorla-cl.exe reaches the Linux simulator through a Wine COM port.
cmake --preset default >/dev/null
nice -n 10 cmake --build --preset default -j2 --target vorla-camsim
tests/tools/vorla_cl_windows.sh "$PWD/build/default/bin" "$PWD/build/windows/bin"
wineserver -k || true
