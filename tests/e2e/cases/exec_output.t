# Output during a run, except console lines naming the offload function; a record after program
# text on one line goes on alone (a record is never cut out of a string); unreadable stops are
# reason "unknown"; an engine that says "^running" twice ends the program after what was due.
# An empty WEM_VEK_OFFLOAD_SYMBOL means the default.
env: WEM_VEK_OFFLOAD_SYMBOL=
host: on -exec-continue $TOKEN^running ;; ~"Breakpoint 2, __zub_target_so_loaded () at offload.c:10\n" ;; hello from the program ;; ~"Breakpoint 1, main (s=\"x*stopped\") at prog.c:3\n" ;; &"a log line mentioning __zub_target_so_loaded\n" ;; text*stopped,reason="breakpoint-hit",thread-id="1"
host: on#1 -exec-next $TOKEN^running ;; *stopped
host: on#2 -exec-next $TOKEN^running ;; *stopped,reason="end-stepping-range
host: on#3 -exec-next $TOKEN^running ;; *stopped,thread-id={id="1"}
host: on#4 -exec-next $TOKEN^running ;; *stopped,reason="exited-normally",exit-code="0"
2* host: on -exec-step $TOKEN^running
>running 4-exec-continue
< hello from the program
< ~"Breakpoint 1, main (s=\"x*stopped\") at prog.c:3\n"
< &"a log line mentioning __zub_target_so_loaded\n"
< text
< 4*stopped,reason="breakpoint-hit",thread-id="1"
>running 1-exec-next
< 1*stopped,reason="unknown"
>running 2-exec-next
< 2*stopped,reason="unknown"
>running 3-exec-next
< 3*stopped,reason="unknown"
>running 5-exec-next
< 5*stopped,reason="exited-normally",exit-code="0"
>running 6-exec-step
end
log: Unexpected result from i1.
log: 'checkOutputOfZubs' failed.
