# A card engine that starts running after the host stopped is interrupted at once; one killed
# during a run: the run ends with the host's stop and the session goes on without the card,
# whose thread the user is told is gone.
in-process
cards: 0=127.0.1.1
spawn: vek 0 127.0.1.1
host: banner =thread-created,id="1",group-id="i1",pid="100"
card: banner =thread-created,id="1",group-id="i1",pid="200"
host: on -exec-continue $TOKEN^running
host: on#1 -exec-continue $TOKEN^running ;; @after 100 *stopped,reason="breakpoint-hit",bkptno="1",thread-id="1"
host: on SIGINT *stopped,reason="signal-received",signal-name="SIGINT",thread-id="1"
card: on#1 -exec-continue @after 400 $TOKEN^running
card: on#2 -exec-continue $TOKEN^running ;; @after 200 @exit KILL
card: on SIGINT *stopped,reason="signal-received",thread-id="1"
vek1> 1-exec-continue
< =thread-group-started,id="i1",type="process",pid="100"
< =thread-created,id="1",group-id="i1",pid="100"
< =thread-created,id="2",group-id="i1",pid="200"
<running 1
< 1*stopped,reason="breakpoint-hit",bkptno="1",thread-id="1"
vek1: <SIGINT>
vek1>running 5-exec-continue
< =thread-exited,id="2",group-id="i1"
< 5*stopped,reason="signal-received",signal-name="SIGINT",thread-id="1"
>+ 6-stack-info-depth --thread 2 => 6^error,msg="Invalid thread: 2"
log: The output of vek1 has ended.
