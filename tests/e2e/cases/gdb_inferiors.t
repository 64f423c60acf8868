# Against stock gdb: a program loaded into i1, a second inferior that loads the sample too and
# runs it to a breakpoint while i1 stays put, both engines' library listings, a command file whose
# commands answer with their own tokens (one evaluates in the stopped frame), then the second
# inferior removed and i1 current again.
engine: gdb
file: cmds.gdb 21-gdb-set confirm off
file: cmds.gdb 22-zub-cond-print --thread 1 x==1 "x is one" other
< =thread-group-added,id="i1"
< (gdb)
> 1-file-exec-and-symbols $SAMPLE
< 1^done
< (gdb)
> 2-add-inferior
< =thread-group-added,id="i2"
< (gdb)
> 3-file-exec-and-symbols $SAMPLE
< 3^done
< (gdb)
> 4-break-insert square
<~ 4\^done,bkpt=\{number="1",.*func="square".*\}
< (gdb)
> 5-exec-run
<... 5\^running
<... 5\*stopped,reason="breakpoint-hit",.*bkptno="1",.*func="square".*thread-id="1".*
> 6-stack-info-depth --thread-group i1
< 6^error,msg="No registers."
< (gdb)
> 7-stack-info-depth
< 7^done,depth="3"
< (gdb)
> 8info sharedlibrary
<... ~"0x[0-9a-f]+ +0x[0-9a-f]+ +Yes .*libc\.so\.6\\n"
<... 8\^done
< (gdb)
> 9source $DIR/cmds.gdb
< 21^done
< (gdb)
< 22^done,zub-cond-msg=""x is one""
< (gdb)
< (gdb)
< 9^done
< (gdb)
> 10-remove-inferior i2
< =thread-group-removed,id="i2"
< 10^done
< (gdb)
> 11-stack-info-depth
< 11^error,msg="No registers."
< (gdb)
> 12-gdb-exit
< =thread-group-removed,id="i1"
< 12^exit
eof
exit 0
