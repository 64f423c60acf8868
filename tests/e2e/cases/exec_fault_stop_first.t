# An engine that stops before it said it runs ends the program.
host: on -exec-continue *stopped,reason="breakpoint-hit"
host: on -exec-continue $TOKEN^running
< =thread-group-added,id="i1"
< (gdb)
> 4-exec-continue
eof
exit 0
log: i1 is not supposed to be running.
log: 'checkOutputOfZubs' failed.
