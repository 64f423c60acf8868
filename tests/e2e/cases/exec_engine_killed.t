# A card engine killed during a run: the host is interrupted as after a first stop, the run ends
# with the host's stop and the session goes on without the card.
in-process
cards: 0=127.0.1.1
spawn: vek 0 127.0.1.1
host: on -exec-continue $TOKEN^running
host: on SIGINT *stopped,reason="signal-received",signal-name="SIGINT",thread-id="1"
card: on -exec-continue $TOKEN^running
card: on -exec-continue @after 200 @exit KILL
<+ =thread-group-added,id="i1"
> 5-exec-continue
<running 5
< 5*stopped,reason="signal-received",signal-name="SIGINT",thread-id="1"
>+ 6-stack-info-depth => 6^done
log: The output of vek1 has ended.
