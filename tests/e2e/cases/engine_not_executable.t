# An engine that cannot be executed is reported on standard error; the session goes on as for an
# engine that ends at once.
env: ZUBC_HOST=$DIR/missing
<+ =thread-group-added,id="i1"
< =thread-group-exited,id="i1"
! SIGTERM
end
stderr: Error: Cannot execute $DIR/missing: No such file or directory
