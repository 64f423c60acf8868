# Card engines failing during runs, three of them beside the host: each engine hears one
# interrupt a run (a "Quit" counts as its stop); an engine's error drops it from the run; one
# still silent after its interrupt is interrupted again and gives up its target; one whose
# connection closes is removed with its threads. Every run ends with one stop.
in-process
cards: 0=127.0.1.1
spawn: vek 0 127.0.1.1
spawn: vek 0 127.0.1.1
spawn: vek 0 127.0.1.1
host: on -exec-continue $TOKEN^running
host: on SIGINT *stopped,reason="signal-received",thread-id="1"
card: on -exec-continue $TOKEN^running ;; @after 100 *stopped,reason="breakpoint-hit",thread-id="1"
card: on#2 -exec-continue $TOKEN^running
card: on#4 -exec-continue $TOKEN^running
card: on SIGINT *stopped,reason="signal-received",thread-id="1"
card2: banner =thread-created,id="1",group-id="i1",pid="201"
card2: on -exec-continue $TOKEN^running
card2: on#2 -exec-continue $TOKEN^running ;; @after 100 $TOKEN^error,msg="Command aborted."
card2: on#4 -exec-continue $TOKEN^running ;; @after 100 &"Remote connection closed\n"
card2: on SIGINT @after 300 *stopped,reason="signal-received",thread-id="1"
card3: banner =thread-created,id="1",group-id="i1",pid="301"
card3: on -exec-continue $TOKEN^running
card3: on#1 SIGINT &"Quit\n"
card3: on#2 SIGINT *stopped,reason="signal-received",thread-id="1"
card3: on#3 SIGINT @noprompt
card3: on#4 SIGINT &"Disconnected from target.\n"
> 2-exec-continue
< =thread-created,id="1",group-id="i1",pid="201"
< =thread-created,id="2",group-id="i1",pid="301"
<running 2
< 2*stopped,reason="breakpoint-hit",thread-id="3"
>running 3-exec-continue
< ~"Command aborted.\n"
<~ 3\*stopped,reason="signal-received",thread-id="\d"
>running 4-exec-continue
< &"Disconnected from target.\n"
< =thread-exited,id="2",group-id="i1"
< 4*stopped,reason="breakpoint-hit",thread-id="3"
>running 5-exec-continue
< &"Remote connection closed\n"
< =thread-exited,id="1",group-id="i1"
<~ 5\*stopped,reason="signal-received",thread-id="\d"
>+ 6-gdb-set a => 6^done
vek2: 2-exec-continue
vek2: <SIGINT>
vek2: 3-exec-continue
vek2: 4-exec-continue
vek2: <SIGINT>
vek2: 5-exec-continue
vek2: -gdb-exit
vek3: 2-exec-continue
vek3: <SIGINT>
vek3: 3-exec-continue
vek3: <SIGINT>
vek3: 4-exec-continue
vek3: <SIGINT>
vek3: <SIGINT>
vek3: -gdb-exit
