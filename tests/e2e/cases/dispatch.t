# Lines without a command word get a bare prompt; unknown words are "done" but not implemented,
# with their token, and never reach the engine; "-exec-interrupt" answers nothing; "quit" ends
# the session like "-gdb-exit" and the engine is told "quit" too.
host: on quit $TOKEN^exit
host: on quit @exit 0
<+ =thread-group-added,id="i1"
>
< (gdb)
>    	
< (gdb)
> 42
< (gdb)
> # a comment
< (gdb)
> Upper-case start
< (gdb)
> 5-thread-select 1
<+ 5^done,msg="Command is not implemented."
> -enable-pretty-printing
<+ ^done,msg="Command is not implemented."
> 6-Gdb-set confirm off
<+ 6^done,msg="Command is not implemented."
> 7-GDB-EXIT
<+ 7^done,msg="Command is not implemented."
> 8-gdb-setx
<+ 8^done,msg="Command is not implemented."
> 9|odd|
<+ 9^done,msg="Command is not implemented."
> 12-exec-interrupt
quiet 200
> -exec-interrupt
quiet 200
> 13-gdb-set confirm off
<+ 13^done
> 21quit
< =thread-group-removed,id="i1"
< 21^exit
eof
exit 0
i1: 13-gdb-set confirm off
i1: 21quit
log: From user: $
log: sigIntPending cleared.
log: sigIntPending cleared.
