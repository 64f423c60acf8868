# Without an MI interpreter ("-i" takes no separate value) the program refuses on a standard
# error that nobody reads (the wrapper makes it a full pipe): dropped there, kept in the log.
unannounced
file: full.sh [ -p "$0.p" ] || mkfifo "$0.p"
file: full.sh exec 3<>"$0.p" 2>&3
file: full.sh dd if=/dev/zero of="$0.p" bs=4096 count=64 oflag=nonblock status=none 2>/dev/null
file: full.sh exec "$@"
wrap: sh $DIR/full.sh
args: -i mi
end
log: argv: -i
log: argv: mi
log: stderr: Error: Interpreter mode not supported.
