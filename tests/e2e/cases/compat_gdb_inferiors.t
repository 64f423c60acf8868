# gdb's mode over stock gdb: "-add-inferior" answers as gdb does, and a breakpoint set before the
# add stops the added inferior's program.
env: ZUBC_HOST=gdb
env: WEM_COMPAT=gdb
>+ 1-file-exec-and-symbols $SAMPLE => 1^done
>~ 2-break-insert square => 2\^done,bkpt=\{number="1",.*func="square".*
> 3-add-inferior
< =thread-group-added,id="i2"
< ~"[New inferior 2]\n"
< ~"Added inferior 2\n"
<+ 3^done,inferior="i2"
> 4-file-exec-and-symbols $SAMPLE
<~ =breakpoint-modified,bkpt=\{number="1",.*func="square".*
<+ 4^done
> 5-exec-run
<... 5\*stopped,reason="breakpoint-hit",.*bkptno="1",.*func="square".*
> 6-gdb-exit
<... 6\^exit
end
