# All-stop across a host and a card engine: errors, the first stop interrupts the others and one
# stop carries the token; a card-side exit does not interrupt the host.
in-process
cards: 0=127.0.1.1
spawn: vek 0 127.0.1.1
host: on#1 -exec-continue $TOKEN^error,msg="The program is not being run."
host: on#2 -exec-continue $TOKEN^running ;; @after 300 *stopped,reason="breakpoint-hit",bkptno="1",frame={func="main"},thread-id="1"
host: on#3 -exec-continue $TOKEN^running
host: on#4 -exec-continue $TOKEN^running ;; @after 300 *stopped,reason="breakpoint-hit",frame={func="main"},thread-id="1"
host: on#5 -exec-continue $TOKEN^running ;; @after 1000 *stopped,reason="exited-normally"
host: on SIGINT @cancel ;; *stopped,reason="signal-received",thread-id="1"
card: on#1 -exec-continue $TOKEN^error,msg="card refuses"
card: on#2 -exec-continue $TOKEN^running
card: on#3 -exec-continue $TOKEN^running ;; @after 300 *stopped,reason="breakpoint-hit",bkptno="5",frame={func="kernel"},thread-id="3"
card: on#4 -exec-continue $TOKEN^error,msg="card refuses"
card: on#5 -exec-continue $TOKEN^running ;; @after 150 *stopped,reason="exited-normally"
card: on SIGINT *stopped,reason="signal-received",thread-id="1"
i1,vek1>+ 1-exec-continue => 1^error,msg="The program is not being run."
i1,vek1>running 2-exec-continue
< 2*stopped,reason="breakpoint-hit",bkptno="1",frame={func="main"},thread-id="1"
vek1: <SIGINT>
i1,vek1>running 3-exec-continue
< 3*stopped,reason="breakpoint-hit",bkptno="5",frame={func="kernel"},thread-id="3"
vek1>+ 4-stack-info-depth => 4^done
i1: <SIGINT>
i1,vek1>running 5-exec-continue
< 5*stopped,reason="breakpoint-hit",frame={func="main"},thread-id="1"
i1,vek1>running 6-exec-continue
< 6*stopped,reason="exited-normally"
i1: <SIGINT>
i1: -gdb-exit
vek1: -gdb-exit
log: All engines are stopped.
