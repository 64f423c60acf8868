# Offload followed: a card engine started and attached, breakpoints copied (2 stays disabled),
# the run resumed; lines naming the offload symbol never reach the user.
in-process
cards: 0=127.0.1.1
file: card.out ELF
host: on /-break-insert .*main/ $TOKEN^done,bkpt={number="1",func="main"}
host: on /-break-insert .*kernel/ $TOKEN^done,bkpt={number="2",func="kernel"}
host: on /-break-insert -f / &"Function \"__zub_target_so_loaded\" not defined.\n" ;; $TOKEN^done,bkpt={number="3",pending="__zub_target_so_loaded"}
host: on -exec-run $TOKEN^running ;; @after 100 ~"Breakpoint 3, __zub_target_so_loaded () at offload.c:9\n" ;; @after 100 *stopped,reason="breakpoint-hit",frame={func="__zub_target_so_loaded"},thread-id="1"
host: on#1 -exec-next $TOKEN^running ;; @after 400 *stopped,reason="end-stepping-range",thread-id="1"
host: on#2 -exec-next $TOKEN^running ;; @after 100 *stopped,reason="breakpoint-hit",frame={func="__zub_target_so_loaded"},thread-id="1"
host: on -exec-continue $TOKEN^running
host: on#2 -exec-continue $TOKEN^running ;; @after 100 *stopped,reason="exited-normally"
host: on SIGINT *stopped,reason="signal-received",thread-id="1"
host: on /__zub_target_id/ $TOKEN^done,memory=[{addr="0x601040",data=["0"]}]
host: on /__zub_target_so_pid/ $TOKEN^done,memory=[{addr="0x601044",data=["4242 x"]}]
host: on#1 -data-evaluate-expression $TOKEN^done,value="\"$DIR/card.out\""
host: on#2 -data-evaluate-expression $TOKEN^done,value="\"nosuch.out\""
card: on /-break-insert .*main/ $TOKEN^done,bkpt={number="7"}
card: on /-break-insert .*kernel/ $TOKEN^done,bkpt={number="8"}
card: on -exec-continue $TOKEN^running ;; @after 300 *stopped,reason="breakpoint-hit",frame={func="main"},thread-id="1"
card: on -exec-next $TOKEN^running ;; @after 100 *stopped,reason="exited-normally"
card2: on attach $TOKEN^error,msg="ptrace: No such process."
i1>+ 1-break-insert main => 1^done,bkpt={number="1",func="main"}
i1>+ 2-break-insert kernel => 2^done,bkpt={number="2",func="kernel"}
i1>+ 3-break-disable 2 => 3^done
i1: -break-insert -f __zub_target_so_loaded
i1>running 4-exec-run
< ~"Attaching VEK process...\n"
< ~"VEK card number is 0.\n"
< ~"VEK Pid is 4242.\n"
< ~"VEK local file is \"$DIR/card.out\".\n"
< ~"VEK card address is \"127.0.1.1\".\n"
< ~"VEK process is attached.\n"
< 4*stopped,reason="breakpoint-hit",frame={func="main"},thread-id="2"
i1: -data-read-memory  &__zub_target_id u 4 1 1
i1: -data-read-memory  &__zub_target_so_pid u 4 1 1
i1: -data-evaluate-expression  __zub_target_exe_name $
i1: -break-delete 1
i1: 1-break-insert main
i1: -break-delete 2
i1: 2-break-insert kernel
i1: -break-disable 2
i1: -break-delete 3
i1: -break-insert -f __zub_target_so_loaded
i1: 4-exec-continue
i1: <SIGINT>
i1>running 5-exec-next
< 5*stopped,reason="offload-end"
i1>running 6-exec-next
< ~"Attaching VEK process...\n"
< ~"VEK card number is 0.\n"
< ~"VEK Pid is 4242.\n"
< ~"VEK local file is \"/tmp/ihk_procs/1/4242/nosuch.out\".\n"
< ~"VEK card address is \"127.0.1.1\".\n"
< ~"Attach command failed.\n"
< 6*stopped,reason="offload-start"
i1: -data-read-memory  &__zub_target_id u 4 1 1
i1: -data-read-memory  &__zub_target_so_pid u 4 1 1
i1: -data-evaluate-expression  __zub_target_exe_name $
i1>running 7-exec-continue
< 7*stopped,reason="exited-normally"
i1: <SIGINT>
i1: -gdb-exit
vek1: -gdb-set solib-search-path  /tmp/ihk_procs/1/4242/load_lib::/usr/linux-q8ta-4.7/linux-q8ta/lib64
vek1: attach  4242 $DIR/card.out
vek1: 1-break-insert main
vek1: 2-break-insert kernel
vek1: -break-disable 8
vek1: -break-insert -f __zub_target_so_loaded
vek1: 4-exec-continue
vek1: 5-exec-next
vek1: -gdb-exit
vek2: -gdb-set solib-search-path  /tmp/ihk_procs/1/4242/load_lib::/usr/linux-q8ta-4.7/linux-q8ta/lib64
vek2: attach  4242 /tmp/ihk_procs/1/4242/nosuch.out
vek2: -gdb-exit
log:   '$BUILD/bin/fake_engine'  '-wem-launch=1'  '-wem-cardid=0'  '-i=mi'  '-tco'  '-rconnect=tcpip:127.0.1.1:2000'
log: vek1 exited.
