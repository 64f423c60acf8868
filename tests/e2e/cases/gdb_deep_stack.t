# Stock gdb without its wrapper on a 10000-level recursion. The program's prompt has no line end,
# so gdb writes its stop right after it on one line: the text goes on alone, then the stop. All
# 10003 frames list in one answer.
env: ZUBC_HOST=gdb
args: --interpreter=mi $BUILD/bin/deep_stack
>~ 1-break-insert bottom => 1\^done,bkpt=\{number="1",.*func="bottom".*\}
>~ 2-break-insert deep_stack.c:16 => 2\^done,bkpt=\{number="2",.*line="16".*\}
> 3-exec-run
<... 3\*stopped,reason="breakpoint-hit",.*bkptno="2".*
> 4-exec-next
<... depth\? $
<~ 4\*stopped,reason="end-stepping-range",.*line="17".*
> 5-exec-continue
<... 5\*stopped,reason="breakpoint-hit",.*bkptno="1",.*func="bottom".*
>~ 6-stack-list-frames => 6\^done,stack=\[frame=\{level="0",[^}]*func="bottom".*\},frame=\{level="10002",[^}]*func="main"[^}]*\}\]
>+ 7-stack-info-depth => 7^done,depth="10003"
> 8-gdb-exit
< =thread-group-removed,id="i1"
< 8^exit
end
