# An engine that dies while it attaches: the attach gets the internal error instead of waiting
# for a result that cannot come.
host: on -target-attach @exit 0
> 3-target-attach 4242
< =thread-group-exited,id="i1"
<+ 3^error,msg="Internal error"
> 4-gdb-exit
< 4^exit
exit 0
