#!/usr/bin/env bash
# Compiles the Windows side of the product with Debian's mingw-w64 cross-compiler: the platform
# layer's Windows sources, the host libraries, the transport-layer plug-in and the GenCP driver,
# each with its library's export macro, warnings as errors. Compile only: Debian has Windows
# builds of none of the libraries, so their (portable) headers are taken from the build machine.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/setup.sh mingw
cxx=x86_64-w64-mingw32-g++-posix

# Only the library headers, not the rest of /usr/include (that is the build machine's C library).
headers=$(mktemp -d)
trap 'rm -rf "$headers"' EXIT
ln -s /usr/include/boost /usr/include/xercesc "$headers/"
ln -s /usr/include/minizip /usr/include/zlib.h /usr/include/zconf.h "$headers/"
ln -s /usr/include/nettle "$headers/nettle"

includes=(-Iinclude -Ihost/platform/include -Ihost/GCBase/include -Ihost/GenApi/include
          -Ihost/GenApi/src -Ihost/GenApi/src/formula -Ihost/CLProtocol/include
          -Ihost/CLProtocol/src -Ihost/VorlaBase/include -IVorlaCLSer
          -Idrivers/clprotocol-gencp/include -Idrivers/clprotocol-gencp/src
          -Itools/camsim/include -Idrivers/videocable/include -isystem "$headers")
flags=(-std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Werror -Wno-unused-parameter
       -DBOOST_ALL_NO_LIB -DZLIB_CONST)

# <export macro or -> <sources>
units=(
  "VORLA_PLATFORM_EXPORTS host/platform/src/windows/*.cpp"
  "GCBASE_EXPORTS host/GCBase/src/*.cpp"
  "GENAPI_EXPORTS host/GenApi/src/*.cpp host/GenApi/src/formula/*.cpp"
  "CLPROTOCOL_EXPORTS host/CLProtocol/src/*.cpp"
  "VORLABASE_EXPORTS host/VorlaBase/src/*.cpp"
  "VORLACLSER_EXPORTS VorlaCLSer/*.cpp"
  "- drivers/clprotocol-gencp/src/*.cpp drivers/clprotocol-gencp/wire/*.cpp drivers/clserloop/*.cpp"
  "- drivers/clsercom/src/*.cpp drivers/videocable/src/windows/*.cpp tests/platform/windows/LoadProbe.cpp"
)
failed=0
count=0
for unit in "${units[@]}"; do
  read -r macro sources <<<"$unit"
  define=()
  [ "$macro" = - ] || define=(-D"$macro")
  for source in $sources; do
    count=$((count + 1))
    if ! "$cxx" "${flags[@]}" "${define[@]}" "${includes[@]}" "$source"; then
      echo "windows-check: $source does not compile" >&2
      failed=$((failed + 1))
    fi
  done
done
echo "windows-check: $((count - failed)) of $count sources compile for Windows"
[ "$failed" -eq 0 ]
