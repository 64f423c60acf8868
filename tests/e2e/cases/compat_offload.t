# gdb's mode following an offload: no prompt among the attach's console lines or during the
# breakpoint copy, the card thread announced once its engine attached, and that thread current
# after the card's stop.
in-process
env: WEM_COMPAT=gdb
cards: 0=127.0.1.1
file: card.out ELF
host: on -break-insert $TOKEN^done,bkpt={number="1"}
host: on -exec-run $TOKEN^running ;; @after 100 *stopped,reason="breakpoint-hit",frame={func="__zub_target_so_loaded"},thread-id="1"
host: on -exec-continue $TOKEN^running
host: on SIGINT *stopped,reason="signal-received",thread-id="1"
host: on /__zub_target_id/ $TOKEN^done,memory=[{addr="0x601040",data=["0"]}]
host: on /__zub_target_so_pid/ $TOKEN^done,memory=[{addr="0x601044",data=["4242"]}]
host: on -data-evaluate-expression $TOKEN^done,value="\"$DIR/card.out\""
host: on -thread-info $TOKEN^done,threads=[{id="1",target-id="host"}],current-thread-id="1"
card: on attach =thread-group-started,id="i1",pid="4242" ;; =thread-created,id="1",group-id="i1" ;; $TOKEN^done
card: on -break-insert $TOKEN^done,bkpt={number="4"}
card: on#2 -break-insert $TOKEN^done,bkpt={number="5"}
card: on -exec-continue $TOKEN^running ;; @after 300 *stopped,reason="breakpoint-hit",bkptno="4",frame={func="kernel"},thread-id="1"
card: on -thread-info $TOKEN^done,threads=[{id="1",target-id="card"}],current-thread-id="1"
>+ 1-break-insert kernel => 1^done,bkpt={number="1"}
>running 1-exec-run
< ~"Attaching VEK process...\n"
< ~"VEK card number is 0.\n"
< ~"VEK Pid is 4242.\n"
< ~"VEK local file is \"$DIR/card.out\".\n"
< ~"VEK card address is \"127.0.1.1\".\n"
< =thread-created,id="2",group-id="i1"
< ~"VEK process is attached.\n"
< 1*stopped,reason="breakpoint-hit",bkptno="1",frame={func="kernel"},thread-id="2"
>+ 2-thread-info => 2^done,threads=[{id="1",target-id="host"},{id="2",target-id="card"}],current-thread-id="2"
