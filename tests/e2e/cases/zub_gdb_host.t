# Stock gdb through zub-gdb as the host engine; the program writes on a terminal of its own, so
# its lines come at any point of a run and a prompt without a line end cannot glue to a record.
env: ZUBC_HOST=$BUILD/bin/zub-gdb
args: --interpreter=mi $SAMPLE
>... 1-break-insert sum_of_squares => 1\^done,bkpt=\{number="1",.*func="sum_of_squares".*
> 2-interpreter-exec console "r"
<... =thread-group-started,id="i1",type="process",pid="\d+"
<~ =thread-created,id="1",group-id="i1",pid="\d+"
<... 2\*stopped,reason="breakpoint-hit",.*bkptno="1".*args=\[\{name="count",value="2"\}\].*thread-id="1".*
>running 3-interpreter-exec console "n"
<... 3\*stopped,reason="end-stepping-range",.*
>~ 4-exec-return => 4\^done,frame=\{level="0",.*func="main".*\}
> 5-interpreter-exec console "continue"
<... 5\^running
<... 5\*stopped,reason="breakpoint-hit",.*func="sum_of_squares",args=\[\{name="count",value="3"\}\].*
>+ 6-break-delete 1 => 6^done
> 7-exec-continue
<... @"round 2: -?\d+\\n"
<... 7\*stopped,reason="exited-normally"
# A shell as the program: it prompts, then waits for input that never comes.
> 8-file-exec-and-symbols /bin/sh
<... 8\^done
> 9-exec-args -c "printf 'Enter value: '; read x"
<... 9\^done
> 10-exec-run
<... @"Enter value: "
! SIGINT
<... 10\*stopped,reason="signal-received",signal-name="SIGINT".*
> quit
<... \^exit
end
