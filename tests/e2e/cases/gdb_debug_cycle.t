# The main job on stock gdb: a breakpoint in the user's numbering, a run that stops at it (the
# offload breakpoint's reply never shows), a step, the stack, a delete, a continue that shows the
# program's output and its exit, then the exit command; nothing is left running.
engine: gdb
args: --interpreter=mi $SAMPLE
<+ =thread-group-added,id="i1"
> 1-break-insert sum_of_squares
<... 1\^done,bkpt=\{number="1",.*func="sum_of_squares".*
< (gdb)
> 2-exec-run
<... 2\^running
<+ *running,thread-id="all"
<... 2\*stopped,reason="breakpoint-hit",.*bkptno="1".*func="sum_of_squares".*thread-id="1".*
> 3-exec-next
<... 3\^running
<+ *running,thread-id="all"
<... 3\*stopped,reason="end-stepping-range",.*
> 4-stack-list-frames
<... 4\^done,stack=\[.*func="main".*
< (gdb)
> 5-break-delete 1
<+ 5^done
> 6-exec-continue
<... 6\^running
<+ *running,thread-id="all"
<... round 2: 49
<... 6\*stopped,reason="exited-normally".*
> 7-gdb-exit
<... 7\^exit
eof
exit 0
