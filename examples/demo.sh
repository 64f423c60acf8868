#!/bin/sh
# Drives wem through short scripted MI sessions with stock gdb as engine (through zub-gdb, built
# beside wem) and prints the transcript: ">>" lines were sent, "<<" lines were received.
# The main job runs on a simulated card (tools/simulate-card): the offload sample's card-side
# code stops at a breakpoint after wem attached a card engine by itself. Where the card cannot be
# simulated, the demo says so and shows a session on examples/sample.c, host only.
# Every wait is bounded; on a timeout wem is ended and the script fails.
set -eu

wem=${1:?usage: demo.sh PATH_TO_WEM}
case $wem in /*) ;; *) wem=$(pwd)/$wem ;; esac
here=$(cd "$(dirname "$0")" && pwd)
bin=$(dirname "$wem")
work=$(mktemp -d)
pid=
shown=0

# Ends the session (its end of input first, then SIGTERM, then SIGKILL) within 10 s.
cleanup() {
  exec 3>&- 2>/dev/null || true
  for sig in 0 TERM KILL; do
    [ "$sig" = 0 ] || { [ -n "$pid" ] && kill -"$sig" "$pid" 2>/dev/null; } || true
    tries=0
    while [ -n "$pid" ] && kill -0 "$pid" 2>/dev/null && [ "$tries" -lt 30 ]; do
      tries=$((tries + 1))
      sleep 0.1
    done
  done
  # Only the files this script made: nothing is ever removed recursively.
  rm -f "$work/in" "$work/out" "$work/err" "$work/wem.log" "$work/sample"
  rmdir "$work"
}
trap cleanup EXIT
trap 'exit 1' INT TERM

# Prints the output lines not shown yet.
show() {
  total=$(wc -l <"$work/out")
  if [ "$total" -gt "$shown" ]; then
    tail -n "+$((shown + 1))" "$work/out" | head -n "$((total - shown))" | sed 's/^/<< /'
    shown=$total
  fi
}

# Waits (at most 10 s) until a received line matches the extended regex $1, then shows output.
expect() {
  tries=0
  until grep -Eq "$1" "$work/out"; do
    tries=$((tries + 1))
    if [ "$tries" -gt 100 ]; then
      show
      echo "demo: no line matching '$1' within 10 s" >&2
      exit 1
    fi
    sleep 0.1
  done
  sleep 0.1  # lets the prompt that follows a reply arrive too
  show
}

send() {
  echo ">> $1"
  printf '%s\n' "$1" >&3
}

# Starts "$@" (wem, or wem under a wrapper) on a fresh transcript.
start() {
  rm -f "$work/in"
  mkfifo "$work/in"
  : >"$work/out"
  shown=0
  ZUBC_HOST=$engine ZUBC_VEK=$engine WEM_LOG="$work/wem.log" "$@" \
    <"$work/in" >"$work/out" 2>"$work/err" &
  pid=$!
  exec 3>"$work/in"
  expect '^=thread-group-added,id="i1"'
}

# Ends the session with "-gdb-exit" as command $1 and waits (at most 10 s) for the end.
finish() {
  send "$1-gdb-exit"
  expect "^$1\\^exit"
  exec 3>&-
  tries=0
  while kill -0 "$pid" 2>/dev/null; do
    tries=$((tries + 1))
    if [ "$tries" -gt 100 ]; then
      echo "demo: wem did not end within 10 s" >&2
      exit 1
    fi
    sleep 0.1
  done
  wait "$pid" && status=0 || status=$?
  show
  pid=
  echo "== wem exited with status $status"
  [ "$status" -eq 0 ]
}

host_only() {
  cc -g -O0 -o "$work/sample" "$here/sample.c"
  echo "== wem --interpreter=mi sample   (ZUBC_HOST=zub-gdb)"
  start "$wem" --interpreter=mi "$work/sample"
  send '1-list-features'
  expect '^1\^'
  send '2-gdb-set print pretty on'
  expect '^2\^'
  send '3-stack-info-depth'
  expect '^3\^'

  echo "== a breakpoint, a run that stops at it, a step, the stack, on to the exit"
  send '4-break-insert sum_of_squares'
  expect '^4\^'
  send '5-exec-run'
  expect '^5\*stopped'
  send '6-exec-next'
  expect '^6\*stopped'
  send '7-stack-list-frames'
  expect '^7\^'
  send '8-break-delete 1'
  expect '^8\^'
  send '9-exec-continue'
  expect '^9\*stopped'
  finish 10
}

on_card() {
  echo "== simulate-card wem --interpreter=mi offload_host   (ZUBC_HOST=ZUBC_VEK=zub-gdb)"
  start "$here/../tools/simulate-card" "$wem" --interpreter=mi "$bin/offload_host"
  echo "== a breakpoint in card-side code; the run attaches a card engine and stops there once"
  send '1-break-insert -f card_work'
  expect '^1\^'
  send '2-exec-run'
  expect '^2\*stopped'
  thread=$(sed -n 's/^2\*stopped,.*thread-id="\([0-9]*\)".*/\1/p' "$work/out")
  echo "== the stack of the card-side thread; on to the card-side exit and the host's"
  send "3-stack-list-frames --thread ${thread:-2}"
  expect '^3\^'
  send '4-exec-continue'
  expect '^4\*stopped'
  finish 5
}

command -v gdb >/dev/null || { echo "demo: stock gdb is needed" >&2; exit 1; }
command -v gdbserver >/dev/null || { echo "demo: stock gdbserver is needed" >&2; exit 1; }
engine=$bin/zub-gdb
for tool in zub-gdb card-server offload_host; do
  [ -x "$bin/$tool" ] || { echo "demo: $bin/$tool is not built" >&2; exit 1; }
done
export WEM_CARD_SERVER="$bin/card-server"
if "$here/../tools/simulate-card" true 2>"$work/err"; then
  on_card
else
  echo "demo: no simulated card here ($(cat "$work/err")); the session runs on the host only"
  host_only
fi
