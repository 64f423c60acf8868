# Stock gdb and gdbserver on the simulated card, the card's side failing under a stopped card
# process: the card process killed, then in the next run its debug server. Each run ends with one
# stop (the host's exit, or its interrupt once the card engine is gone), the card thread is
# reported gone, and nothing is left running.
wrap: $SRC/tools/simulate-card
env: WEM_CARD_SERVER=$BUILD/bin/card-server
env: ZUBC_VEK=$BUILD/bin/zub-gdb
env: ZUBC_HOST=$BUILD/bin/zub-gdb
args: --interpreter=mi $BUILD/bin/offload_host
>... 1-break-insert -f card_work => 1\^done,bkpt=\{number="1",.*pending="card_work".*
>+ 2-exec-args 2 => 2^done
> 3-exec-run
<... 3\*stopped,reason="breakpoint-hit",.*func="card_work",.*thread-id="2".*
! SIGKILL offload_card
> 4-exec-continue
<... =thread-exited,id="2",group-id="i1"
<... 4\*stopped,reason="exited",exit-code="01"
> 5-exec-run
<... 5\*stopped,reason="breakpoint-hit",.*func="card_work",.*thread-id="\d+".*
! SIGKILL gdbserver
> 6-exec-continue
<... =thread-exited,id="\d+",group-id="i1"
<... 6\*stopped,reason="(exited|signal-received)".*
> 7-gdb-exit
<... 7\^exit
exit 0
