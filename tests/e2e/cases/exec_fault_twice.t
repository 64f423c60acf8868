# An engine that says "^running" twice ends the program after what was due.
host: on -exec-continue $TOKEN^running
host: on -exec-continue $TOKEN^running
<+ =thread-group-added,id="i1"
>running 4-exec-continue
end
log: Unexpected result from i1.
log: 'checkOutputOfZubs' failed.
