# An engine that cannot be executed is reported on standard error; the session goes on as for an
# engine that exits at once: the exit is noticed while idle, later commands get a clear error.
env: ZUBC_HOST=$DIR/missing
< =thread-group-exited,id="i1"
>+ 8-thread-select 1 => 8^error,msg="No debugger engine is left: every engine has ended."
! SIGTERM
end
stderr: Error: Cannot execute $DIR/missing: No such file or directory
