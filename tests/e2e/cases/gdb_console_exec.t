# Stock gdb: console execution commands, abbreviated or not, run as execution commands (one
# "^running", a stop with the token, the next command unhindered); "-exec-return" answers with
# the frame it returned to; "quit" ends gdb without a record, and its end finishes the exit.
engine: gdb
args: --interpreter=mi $SAMPLE
<+ =thread-group-added,id="i1"
> 1-break-insert sum_of_squares
<...+ 1\^done,bkpt=\{number="1",.*
> 2-interpreter-exec console "r"
<... 2\^running
<+ *running,thread-id="all"
<... 2\*stopped,reason="breakpoint-hit",.*func="sum_of_squares",args=\[\{name="count",value="2"\}\].*
>running 3-interpreter-exec console "n"
<... 3\*stopped,reason="end-stepping-range",.*
> 4-exec-return
<~+ 4\^done,frame=\{level="0",.*func="main".*\}
>running 5-interpreter-exec console "continue"
<... 5\*stopped,reason="breakpoint-hit",.*func="sum_of_squares",args=\[\{name="count",value="3"\}\].*
> quit
<... \^exit
exit 0
