#!/usr/bin/env bash
# Installs the Debian 12 packages the project builds with. Safe to run again.
set -euo pipefail
packages=(g++ cmake ninja-build pkg-config libxerces-c-dev libboost-thread-dev zlib1g-dev
          libminizip-dev nettle-dev libgtest-dev libgmock-dev libbenchmark-dev)
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
