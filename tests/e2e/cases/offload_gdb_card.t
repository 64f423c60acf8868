# The offload sample (two offloads) on the simulated card, zub-gdb over stock gdb and gdbserver:
# card-side breakpoints in both card-side processes, then the host runs to its exit.
# The program runs under a script that then checks the card's debug server, its sibling: every
# gdbserver ends with its connection, so none is left, and the server's log stays small. The
# process table is read through cat, which passes over a process that ends meanwhile.
wrap: $SRC/tools/simulate-card sh $DIR/card
file: card "$@"; status=$?; tries=0
file: card server=$(cat /proc/[0-9]*/stat 2>/dev/null | awk -v p=$PPID '$2 == "(card-server)" && $4 == p {print $1}')
file: card while left=$(cat /proc/[0-9]*/stat 2>/dev/null | awk -v p="$server" '$4 == p {print $1}'); [ -n "$left" ] && [ $tries -lt 30 ]; do tries=$((tries + 1)); sleep 0.1; done
file: card size=$(stat -L -c %s /proc/$server/fd/1)
file: card [ -n "$server" ] && [ -z "$left" ] && [ "$size" -lt 65536 ] || { echo "card-server $server: gdbserver $left left, log $size bytes"; exit 1; }
file: card exit $status
env: WEM_CARD_SERVER=$BUILD/bin/card-server
env: ZUBC_VEK=$BUILD/bin/zub-gdb
env: ZUBC_HOST=$BUILD/bin/zub-gdb
args: --interpreter=mi $BUILD/bin/offload_host
> 1-break-insert -f card_work
< &"Function \"card_work\" not defined.\n"
<~+ 1\^done,bkpt=\{number="1",.*pending="card_work".*
>~ 2-break-insert offload_host.c:66 => 2\^done,bkpt=\{number="2",.*line="66".*
>+ 3-exec-args 2 => 3^done
> 4-exec-run
<... 4\*stopped,reason="breakpoint-hit",.*func="offload",.*thread-id="1".*
>+ 5-break-delete 2 => 5^done
>running 6-exec-next
< *running,thread-id="all"
< ~"Attaching VEK process...\n"
< ~"VEK card number is 0.\n"
<~ ~"VEK Pid is \d+\.\\n"
< ~"VEK local file is \"$BUILD/bin/offload_card\".\n"
< ~"VEK card address is \"127.0.2.1\".\n"
< ~"VEK process is attached.\n"
< 6*stopped,reason="offload-start"
> 7-exec-continue
<... 7\*stopped,reason="breakpoint-hit",.*func="card_work",args=\[\{name="input",value="3"\}\].*thread-id="2".*
> 9-exec-continue
<... ~"Attaching VEK process...\\n"
<... ~"VEK process is attached.\\n"
<... 9\*stopped,reason="breakpoint-hit",.*value="4".*thread-id="3".*
> 10-exec-continue
<... 10\*stopped,reason="exited-normally"
> 11-gdb-exit
<... 11\^exit
exit 0
log: vek1 exited.
log: vek2 exited.
