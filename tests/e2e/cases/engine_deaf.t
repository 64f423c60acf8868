# An engine deaf to "-gdb-exit", interrupts and the end of its input: it is killed after the grace
# period, and its end answers for it.
host: banner @deaf
> 1-gdb-exit
< =thread-group-removed,id="i1"
< 1^exit
exit 0
log: Killing i1, which has not ended in time.
