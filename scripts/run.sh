#!/usr/bin/env bash
# Sets up, builds and runs the main job.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/setup.sh
./scripts/build.sh default
bin=build/default/bin
echo "== transport layers found by the host =="
"$bin/vorla-cl" tls
