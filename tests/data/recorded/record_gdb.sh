#!/bin/sh
# Records the MI output of stock gdb on mi_sample.c into gdb_session.mi (run once, by hand):
#   sh tests/data/recorded/record_gdb.sh
# The commands go in with pauses so that every stop is reported before the next command.
set -e
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cc -g -O0 -pthread -o "$work/mi_sample" "$here/mi_sample.c"
{
  for cmd in \
      "-gdb-set confirm off" \
      "-break-insert square" \
      "-break-insert mi_sample.c:40" \
      "-break-insert -t main" \
      "-break-list" \
      "-exec-run" \
      "-stack-list-frames" \
      "-stack-list-locals --all-values" \
      "-var-create p_var * p" \
      "-var-list-children --all-values p_var" \
      "-var-create v_var * values" \
      "-var-list-children --all-values v_var" \
      "-exec-continue" \
      "-thread-info" \
      "-thread-list-ids" \
      "-stack-list-frames" \
      "-stack-list-arguments 1" \
      "-stack-info-depth" \
      "-stack-list-variables --simple-values" \
      "-var-update --all-values *" \
      "-data-list-register-names" \
      "-data-list-register-values x 0 1 2 3 4 5 6 7 16" \
      "-data-list-changed-registers" \
      "-data-evaluate-expression p.label" \
      "-list-thread-groups" \
      "-list-thread-groups i1" \
      "-break-delete 1" \
      "-exec-finish" \
      "-exec-next" \
      "-exec-step" \
      "-break-info 2" \
      "-exec-continue" \
      "-stack-list-locals --all-values" \
      "-data-read-memory-bytes &values 16" \
      "-data-disassemble -s \$pc -e \$pc+8 -- 0" \
      "-exec-continue" \
      "-list-thread-groups" \
      "-gdb-exit"; do
    echo "$cmd"
    sleep 1
  done
} | gdb -nx -q -i=mi "$work/mi_sample" > "$work/raw.mi" 2>&1 || true
# Addresses vary with the machine but not within one recording; keep gdb's text as it is.
cp "$work/raw.mi" "$here/gdb_session.mi"
echo "recorded $(wc -l < "$here/gdb_session.mi") lines"
