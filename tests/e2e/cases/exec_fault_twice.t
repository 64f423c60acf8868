# An engine that says "^running" twice ends the program after what was due.
host: on -exec-continue $TOKEN^running
host: on -exec-continue $TOKEN^running
<+ =thread-group-added,id="i1"
> 4-exec-continue
<running 4
end
log: Unexpected result from i1.
log: 'checkOutputOfZubs' failed.
