#!/usr/bin/env bash
# Installs the Debian 12 packages the project builds with. Safe to run again.
# Optional extras, by name: "clang" (the second compiler of the clang preset), "fuzz" (clang and
# libFuzzer for the harnesses under fuzz/), "mingw" (the Windows cross-compiler of the Windows
# compile check). The Python module vorla and its tests use Debian's python3 (/usr/bin/python3).
set -euo pipefail
packages=(g++ cmake ninja-build pkg-config libxerces-c-dev libboost-dev libboost-thread-dev
          libboost-program-options-dev zlib1g-dev libminizip-dev libpng-dev nettle-dev libgtest-dev
          libgmock-dev libbenchmark-dev nlohmann-json3-dev python3-dev pybind11-dev python3-pybind11
          python3-numpy python3-pytest)
for extra in "$@"; do
  case "$extra" in
    clang) packages+=(clang) ;;
    fuzz) packages+=(clang libclang-rt-14-dev) ;;
    mingw) packages+=(g++-mingw-w64-x86-64-posix) ;;
    *) echo "setup.sh: unknown extra '$extra' (clang, fuzz, mingw)" >&2; exit 2 ;;
  esac
done
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
fi
