#!/bin/sh
# Drives wem through a short scripted MI session, with stock gdb (through zub-gdb, built beside
# wem) as the host engine debugging examples/sample.c, and prints the transcript: ">>" lines were
# sent, "<<" lines were received.
# Every wait is bounded; on a timeout wem is killed and the script fails.
set -eu

wem=${1:?usage: demo.sh PATH_TO_WEM}
case $wem in /*) ;; *) wem=$(pwd)/$wem ;; esac
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
pid=
shown=0

cleanup() {
  exec 3>&- 2>/dev/null || true
  if [ -n "$pid" ] && kill -0 "$pid" 2>/dev/null; then kill -KILL "$pid" 2>/dev/null || true; fi
  rm -rf "$work"
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

command -v gdb >/dev/null || { echo "demo: stock gdb is needed" >&2; exit 1; }
engine=$(dirname "$wem")/zub-gdb
[ -x "$engine" ] || { echo "demo: $engine is not built" >&2; exit 1; }
cc -g -O0 -o "$work/sample" "$here/sample.c"
mkfifo "$work/in"
: >"$work/out"
ZUBC_HOST=$engine WEM_LOG="$work/wem.log" "$wem" --interpreter=mi "$work/sample" \
  <"$work/in" >"$work/out" 2>"$work/err" &
pid=$!
exec 3>"$work/in"

echo "== wem --interpreter=mi sample   (ZUBC_HOST=zub-gdb)"
expect '^=thread-group-added,id="i1"'
send '1-list-features'
expect '^1\^'
send '2-gdb-set print pretty on'
expect '^2\^'
send '3-stack-info-depth'
expect '^3\^'

echo "== the main job: a breakpoint, a run that stops at it, a step, the stack, on to the exit"
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
send '10-gdb-exit'
expect '^10\^exit'

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
