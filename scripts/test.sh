#!/usr/bin/env bash
# Sets up, builds and runs the whole test suite (preset "default", or the one given).
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-default}
case "$preset" in
asan | clang) ./scripts/setup.sh clang ;; # both build with clang
*) ./scripts/setup.sh ;;
esac
./scripts/build.sh "$preset"
if [ -z "${GENAPI_SAMPLES:-}" ] && [ -d ../shared/genapi-samples ]; then
  export GENAPI_SAMPLES=$(cd ../shared/genapi-samples && pwd)
fi
ctest --preset "$preset" -j "$(nproc)"
