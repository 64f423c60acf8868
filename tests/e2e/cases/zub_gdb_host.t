# Stock gdb through zub-gdb as the host engine. Its thread-created events carry the group's pid,
# so the user sees the group start; the program writes on a terminal of its own, so its lines come
# as target-stream records, and a prompt without a line end ("Enter value: ") cannot glue itself
# to the next record; "-exec-args" reaches gdb; a SIGINT still interrupts the program.
engine: zub-gdb
args: --interpreter=mi $SAMPLE
<+ =thread-group-added,id="i1"
> 1-break-insert sum_of_squares
<...+ 1\^done,bkpt=\{number="1",.*func="sum_of_squares".*
> 2-exec-run
<... =thread-group-started,id="i1",type="process",pid="\d+"
<~ =thread-created,id="1",group-id="i1",pid="\d+"
<... 2\*stopped,reason="breakpoint-hit",.*bkptno="1".*thread-id="1".*
>+ 3-break-delete 1 => 3^done
> 4-exec-continue
<... @"round 2: 49\\n"
<... 4\*stopped,reason="exited-normally"
# A shell as the program: it prompts, then waits for input that never comes.
> 5-file-exec-and-symbols /bin/sh
<... 5\^done
> 6-exec-args -c "printf 'Enter value: '; read x"
<... 6\^done
> 7-exec-run
<... @"Enter value: "
! SIGINT
<... 7\*stopped,reason="signal-received",signal-name="SIGINT".*
> 8-gdb-exit
<... 8\^exit
end
