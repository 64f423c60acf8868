# Stock gdb: i1 loads the sample; i2 loads it too and runs to a breakpoint while i1 stays put;
# both list libraries; a sourced command evaluates in the stopped frame; i2 is removed.
env: ZUBC_HOST=gdb
file: cmds.gdb 22-zub-cond-print --thread 1 x==1 "x is one" other
>+ 1-file-exec-and-symbols $SAMPLE => 1^done
>+ 2-add-inferior => =thread-group-added,id="i2"
>+ 3-file-exec-and-symbols $SAMPLE => 3^done
> 4-break-insert square
> 5-exec-run
<... 5\*stopped,reason="breakpoint-hit",.*bkptno="1",.*func="square".*thread-id="1".*
>+ 6-stack-info-depth --thread-group i1 => 6^error,msg="No registers."
> 7info sharedlibrary
<... ~"0x[0-9a-f]+ +0x[0-9a-f]+ +Yes .*libc\.so\.6\\n"
<...+ 7\^done
>+ 8source $DIR/cmds.gdb => 22^done,zub-cond-msg=""x is one""
< (gdb)
<+ 8^done
> 9-remove-inferior i2
< =thread-group-removed,id="i2"
<+ 9^done
