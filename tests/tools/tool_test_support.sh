# Shared by the vorla-cl script tests (sourced): a simulated camera on a pseudo-terminal and the
# checks. Expects $bin (the build's bin folder); sets $work, $pty and $port.
work=$(mktemp -d)

# start_simulator ARGS...: a vorla-camsim process, ended with the script.
start_simulator() {
  coproc CAMSIM { exec "$bin/vorla-camsim" --ignore-stdin "$@"; }
  camsim=$CAMSIM_PID # bash forgets CAMSIM_PID when the simulator ends
  trap 'kill "$camsim" 2>/dev/null || true; wait 2>/dev/null || true; rm -rf "$work"' EXIT
  read -r -t 10 pty <&"${CAMSIM[0]}"
  port="TTY#${pty#/dev/}"
  export CLSERTTY_PORTS=$pty XDG_CONFIG_DIRS=$work/none
}

passed=0
fail() { echo "FAILED: $*"; exit 1; }
# run STATUS ARGS...: runs vorla-cl, expects the exit status, keeps stdout and stderr in $out.
run() {
  local want=$1 status=0
  shift
  out=$("$bin/vorla-cl" "$@" 2>&1) || status=$?
  [ "$status" -eq "$want" ] || fail "vorla-cl $* exited $status, not $want: $out"
}
expect() { grep -qF -- "$1" <<<"$out" || fail "no '$1' in: $out"; passed=$((passed + 1)); }
expect_line() { grep -qP -- "$1" <<<"$out" || fail "no line like '$1' in: $out"; passed=$((passed + 1)); }
