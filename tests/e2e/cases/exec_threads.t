# "--thread" steps that thread's engine in its own numbering ("02" is not "2"); "--thread-group
# i1" goes to every engine of the host program.
in-process
cards: 0=127.0.1.1
spawn: vek 0 127.0.1.1
host: on#1 -exec-continue $TOKEN^running ;; @after 300 *stopped,reason="breakpoint-hit",thread-id="1"
host: on -exec-continue $TOKEN^running
host: on -exec-next $TOKEN^running ;; @after 300 *stopped,reason="end-stepping-range",thread-id="1"
host: on#3 -exec-continue $TOKEN^running ;; @after 300 *stopped,reason="breakpoint-hit",thread-id="1"
host: on SIGINT @cancel ;; *stopped,reason="signal-received",thread-id="1"
host: on quit $TOKEN^exit ;; @exit 0
card: on -exec-continue $TOKEN^running
card: on -exec-step $TOKEN^running ;; @after 150 *stopped,reason="end-stepping-range",thread-id="1"
card: on SIGINT @cancel ;; *stopped,reason="signal-received",thread-id="1"
card: on quit $TOKEN^exit ;; @exit 0
i1,vek1>running 1-exec-continue
< 1*stopped,reason="breakpoint-hit",thread-id="1"
vek1: <SIGINT>
>running 2-exec-next --thread 1
< 2*stopped,reason="end-stepping-range",thread-id="1"
i1: 2-exec-next $
vek1: 2-exec-continue
vek1: <SIGINT>
>running 3-exec-step --thread 2
< 3*stopped,reason="end-stepping-range",thread-id="2"
i1: 3-exec-continue
i1: <SIGINT>
vek1: 3-exec-step $
>+ 4-exec-next --thread 02 => 4^error,msg="Invalid thread: 02"
>running 5-exec-continue --thread-group i1
< 5*stopped,reason="breakpoint-hit",thread-id="1"
i1: 5-exec-continue $
vek1: 5-exec-continue $
vek1: <SIGINT>
i1>+ 6-stack-info-depth => 6^done
i1,vek1> quit
< =thread-group-removed,id="i1"
< ^exit
