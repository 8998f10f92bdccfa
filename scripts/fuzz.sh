#!/usr/bin/env bash
# Builds the libFuzzer harnesses (preset "fuzz") and runs each for the given number of seconds
# (default 10) on its seeds in fuzz/corpus/<name>, or only the harnesses named after the time.
#   ./scripts/fuzz.sh              every harness, 10 s each (what CI does)
#   ./scripts/fuzz.sh 600 formula  the formula harness for ten minutes
# New inputs go to build/fuzz/corpus/<name>; crashes, leaks, time-outs and out-of-memory inputs
# to build/fuzz/artifacts/. Exit status 1 when any harness found something. Extra libFuzzer
# options come from FUZZ_ARGS, e.g. FUZZ_ARGS="-fork=1 -ignore_crashes=1 -ignore_timeouts=1
# -ignore_ooms=1" to go on after a finding and collect them all.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-10}
shift || true
all=(genapi_description formula port_configuration device_id gencp_driver camsim_commands
     format_message stream_frame bindings_file zipped_description vorla_cl_command_line
     cable_reader)
harnesses=("$@")
[ ${#harnesses[@]} -gt 0 ] || harnesses=("${all[@]}")

./scripts/setup.sh fuzz
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)"

if [ -z "${GENAPI_SAMPLES:-}" ] && [ -d ../shared/genapi-samples ]; then
  GENAPI_SAMPLES=$(cd ../shared/genapi-samples && pwd)
fi
mkdir -p build/fuzz/artifacts
failed=()
summary=()
for name in "${harnesses[@]}"; do
  work=build/fuzz/corpus/$name
  log=build/fuzz/$name.log
  mkdir -p "$work"
  args=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
        -artifact_prefix="build/fuzz/artifacts/$name-")
  # shellcheck disable=SC2206
  args+=(${FUZZ_ARGS:-})
  [ -f "fuzz/dict/$name.dict" ] && args+=(-dict="fuzz/dict/$name.dict")
  seeds=("fuzz/corpus/$name")
  if [ "$name" = genapi_description ] && [ -n "${GENAPI_SAMPLES:-}" ] && [ -d "$GENAPI_SAMPLES" ]; then
    seeds+=("$GENAPI_SAMPLES")
  fi
  echo "fuzz: $name for ${seconds} s"
  if ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
       "build/fuzz/bin/fuzz_$name" "${args[@]}" "$work" "${seeds[@]}" >"$log" 2>&1; then
    result=ok
  else
    result=FOUND
    failed+=("$name")
    grep -E "^==[0-9]+==ERROR|runtime error|ALARM|out-of-memory|Test unit written" "$log" | head -5 || true
  fi
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1 || true)
  cov=$(grep -oE 'cov: [0-9]+ ft: [0-9]+' "$log" | tail -1 || true)
  summary+=("$(printf '%-20s %-6s execs %-10s %s' "$name" "$result" "${execs:-?}" "${cov:-}")")
done
printf '%s\n' "${summary[@]}"
if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzz: findings in ${failed[*]} (inputs in build/fuzz/artifacts/, logs in build/fuzz/*.log)"
  exit 1
fi
