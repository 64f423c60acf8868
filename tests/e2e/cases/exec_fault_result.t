# An engine that answers an execution command with an unexpected result class ends the program.
host: on -exec-continue $TOKEN^connected
< =thread-group-added,id="i1"
< (gdb)
> 4-exec-continue
eof
exit 0
log: Unexpected result type: connected
log: 'checkOutputOfZubs' failed.
