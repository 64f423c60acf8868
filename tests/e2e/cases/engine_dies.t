# An engine that dies mid-command: the command gets the internal error, the group is gone, later
# commands get a clear error and the exit still answers.
host: on -stack-info-depth @exit 0
> 7-stack-info-depth
< =thread-group-exited,id="i1"
<+ 7^error,msg="Internal error"
>+ 8-gdb-set a => 8^error,msg="No debugger engine is left: every engine has ended."
> 9-gdb-exit
< 9^exit
exit 0
log: The output of i1 has ended.
