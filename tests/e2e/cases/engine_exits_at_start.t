# An engine that exits while the session is idle is noticed at once.
host: banner @exit 0
<+ =thread-group-added,id="i1"
< =thread-group-exited,id="i1"
>+ 8-thread-select 1 => 8^error,msg="No debugger engine is left: every engine has ended."
> 9-gdb-exit
< 9^exit
exit 0
