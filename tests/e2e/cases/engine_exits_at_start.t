# An engine that exits at start still lets the session answer and end.
host: banner @exit 0
<+ =thread-group-added,id="i1"
> 8-thread-select 1
<+ 8^done,msg="Command is not implemented."
> 9-gdb-set a
quiet 300
! SIGQUIT
eof
exit 0
