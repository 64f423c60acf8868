# Diagnostics do not wait for a standard error that nobody reads: there they are dropped, the log
# keeps them. The wrapper gives the program a full pipe as standard error.
unannounced
file: full.sh [ -p "$0.p" ] || mkfifo "$0.p"
file: full.sh exec 3<>"$0.p" 2>&3
file: full.sh dd if=/dev/zero of="$0.p" bs=4096 count=64 oflag=nonblock status=none 2>/dev/null
file: full.sh exec "$@"
wrap: sh $DIR/full.sh
args: -i mi
end
log: stderr: Error: Interpreter mode not supported.
