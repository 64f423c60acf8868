# An engine that dies mid-command or while it attaches: the command gets the internal error; once
# no engine is left, commands get a clear error and the exit still answers.
host: on -stack-info-depth @exit 0
host2: on -target-attach @exit 0
>+ 1-add-inferior => =thread-group-added,id="i2"
> 3-target-attach --thread-group i2 4242
< =thread-group-exited,id="i2"
<+ 3^error,msg="Internal error"
> 7-stack-info-depth
< =thread-group-exited,id="i1"
<+ 7^error,msg="Internal error"
>+ 8-gdb-set a => 8^error,msg="No debugger engine is left: every engine has ended."
> 9-gdb-exit
< 9^exit
exit 0
log: The output of i1 has ended.
