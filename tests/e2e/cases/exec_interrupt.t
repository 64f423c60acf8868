# The offload breakpoint goes first and silently; "-exec-interrupt" and SIGINT reach the running
# command, even before the engine answered "^running"; a quit signal ends the session at once.
host: on -break-insert $TOKEN^done,bkpt={number="1",type="breakpoint",pending="__zub_target_so_loaded"}
host: on -exec-run $TOKEN^running
host: on -exec-continue $TOKEN^running
host: on#2 -exec-continue @after 300 $TOKEN^running
host: on -stack-info-depth @after 5000 $TOKEN^done,depth="9" ;; @noprompt
host: on SIGINT *stopped,reason="signal-received",signal-name="SIGINT",thread-id="1"
i1: -break-insert -f __zub_target_so_loaded
i1>running 1-exec-run
> -exec-interrupt
< 1*stopped,reason="signal-received",signal-name="SIGINT",thread-id="1"
i1: <SIGINT>
i1>running 2-exec-continue
quiet 100
! SIGINT
< 2*stopped,reason="signal-received",signal-name="SIGINT",thread-id="1"
i1: <SIGINT>
i1> 3-exec-continue
> -exec-interrupt
<running 3
< 3*stopped,reason="signal-received",signal-name="SIGINT",thread-id="1"
quiet 100
i1: <SIGINT>
i1> 6-stack-info-depth
sleep 200
! SIGQUIT
end
i1: <SIGINT>
i1: -gdb-exit
log: muted: ^done,bkpt={number="1",type="breakpoint",pending="__zub_target_so_loaded"}
