# Shared by the vorla-cl script tests (sourced): a simulated camera on a pseudo-terminal and the
# checks. Expects $bin (the build's bin folder); sets $work, $pty and $port.
work=$(mktemp -d)

# start_simulator ARGS...: a vorla-camsim process, ended with the script. Its video goes to a
# board of the script's own (its process id) unless ARGS name one: two simulators on one channel
# refuse each other, and the scripts run side by side.
start_simulator() {
  local board=(--board "$$")
  [[ " $* " == *" --board "* ]] && board=()
  coproc CAMSIM { exec "$bin/vorla-camsim" --ignore-stdin "${board[@]}" "$@"; }
  camsim=$CAMSIM_PID # bash forgets CAMSIM_PID when the simulator ends
  trap 'kill "$camsim" 2>/dev/null || true; wait 2>/dev/null || true; rm -rf "$work"' EXIT
  read -r -t 10 pty <&"${CAMSIM[0]}"
  port="TTY#${pty#/dev/}"
  # The description cache of the test, never the user's.
  export CLSERTTY_PORTS=$pty XDG_CONFIG_DIRS=$work/none VORLA_DESCRIPTION_CACHE=$work/descriptions
}

passed=0
fail() { echo "FAILED: $*"; exit 1; }
# run STATUS ARGS...: runs vorla-cl, expects the exit status, keeps stdout and stderr in $out.
# A failure says why in exactly one line on standard error (bad usage adds the help hint) and
# prints nothing else.
run() {
  local want=$1 status=0 lines
  shift
  out=$("$bin/vorla-cl" "$@" 2>&1) || status=$?
  [ "$status" -eq "$want" ] || fail "vorla-cl $* exited $status, not $want: $out"
  lines=$(wc -l <<<"$out")
  case $want in
    1) [ "$lines" -eq 1 ] || fail "vorla-cl $* printed $lines lines: $out" ;;
    2) [ "$lines" -eq 2 ] && [[ $out == *$'\nTry \'vorla-cl --help\'.' ]] || fail "usage: $out" ;;
  esac
}
# json ARGS...: runs vorla-cl with --json and checks that standard output is one JSON document.
json() {
  out=$("$bin/vorla-cl" "$@" --json) || fail "vorla-cl $* --json failed"
  jq -e . <<<"$out" >/dev/null || fail "vorla-cl $* --json is no JSON: $out"
  passed=$((passed + 1))
}
# interrupt SIGNAL STATUS ARGS...: starts vorla-cl, sends SIGNAL once it has printed a line,
# expects STATUS, and checks that the camera is free afterwards.
interrupt() {
  local signal=$1 want=$2 status=0 line
  shift 2
  rm -f "$work/out" && mkfifo "$work/out"
  "$bin/vorla-cl" "$@" >"$work/out" 2>&1 &
  local pid=$!
  exec 6<"$work/out"
  read -r -t 20 line <&6 || fail "vorla-cl $* printed nothing"
  kill -s "$signal" "$pid"
  wait "$pid" || status=$?
  out=$(cat <&6)
  exec 6<&-
  [ "$status" -eq "$want" ] || fail "vorla-cl $* after SIG$signal exited $status: $line $out"
  run 0 set Width=64
  expect "Width = 64"
}
# refuse STATUS TEXT ARGS...: runs vorla-cl, expects the exit status and TEXT in its output.
refuse() { local want=$1 text=$2; shift 2; run "$want" "$@"; expect "$text"; }
expect() { grep -qF -- "$1" <<<"$out" || fail "no '$1' in: $out"; passed=$((passed + 1)); }
expect_line() { grep -qP -- "$1" <<<"$out" || fail "no line like '$1' in: $out"; passed=$((passed + 1)); }
