# Three card-side processes alive at once on the simulated card, each stopping in card code:
# every attach completes, all-stop holds with three card engines, and each stop is its own.
wrap: $SRC/tools/simulate-card
env: WEM_CARD_SERVER=$BUILD/bin/card-server
env: ZUBC_VEK=$BUILD/bin/zub-gdb
env: ZUBC_HOST=$BUILD/bin/zub-gdb
args: --interpreter=mi $BUILD/bin/offload_host
>... 1-break-insert -f card_work => 1\^done,bkpt=\{number="1",.*pending="card_work".*
>+ 2-exec-args 3 3 together => 2^done
> 3-exec-run
<... 3\*stopped,reason="breakpoint-hit",.*func="card_work",.*thread-id="2".*
> 4-exec-continue
<... 4\*stopped,reason="breakpoint-hit",.*func="card_work",.*thread-id="3".*
> 5-exec-continue
<... 5\*stopped,reason="breakpoint-hit",.*func="card_work",.*thread-id="4".*
> 6-exec-continue
<... 6\*stopped,reason="exited-normally"
> 7-gdb-exit
<... 7\^exit
exit 0
