# An engine that exits at start still lets the session answer and end.
host: banner @exit 0
< =thread-group-added,id="i1"
< (gdb)
> 8-thread-select 1
< 8^done,msg="Command is not implemented."
< (gdb)
> 9-gdb-set a
quiet 300
! SIGQUIT
eof
exit 0
