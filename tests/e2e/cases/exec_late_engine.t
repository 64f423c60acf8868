# A card engine that starts running only after the host has stopped is interrupted at once: the
# command ends with the host's stop.
in-process
cards: 0=127.0.1.1
spawn: vek 0 127.0.1.1
host: on -exec-continue $TOKEN^running
host: on -exec-continue @after 100 *stopped,reason="breakpoint-hit",bkptno="1",thread-id="1"
card: on -exec-continue @after 400 $TOKEN^running
card: on SIGINT *stopped,reason="signal-received",thread-id="1"
<+ =thread-group-added,id="i1"
>running 1-exec-continue
< 1*stopped,reason="breakpoint-hit",bkptno="1",thread-id="1"
vek1: 1-exec-continue
vek1: <SIGINT>
vek1: <SIGINT>
vek1: -gdb-exit
