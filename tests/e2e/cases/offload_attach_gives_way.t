# Following an offload gives way: a card engine too slow to answer keeps nobody waiting. The
# user's interrupt stops the run at once, an attach that outlasts its bound is given up and the
# run goes on, and an exit typed meanwhile ends the session.
wrap: $SRC/tools/simulate-card
env: WEM_CARD_SERVER=$BUILD/bin/card-server
env: WEM_VEK_ATTACH_TIMEOUT=2
host: on -exec-run $TOKEN^running ;; @after 100 *stopped,reason="breakpoint-hit",frame={func="__zub_target_so_loaded"},thread-id="1"
host: on#1 -exec-continue $TOKEN^running ;; @after 100 *stopped,reason="breakpoint-hit",frame={func="__zub_target_so_loaded"},thread-id="1"
host: on#2 -exec-continue $TOKEN^running ;; @after 100 *stopped,reason="exited-normally"
host: on /__zub_target_id/ $TOKEN^done,memory=[{addr="0x601040",data=["0"]}]
host: on /__zub_target_so_pid/ $TOKEN^done,memory=[{addr="0x601044",data=["77"]}]
host: on -data-evaluate-expression $TOKEN^done,value="\"card.out\""
card: on -gdb-set @after 20000 $TOKEN^done
>running 1-exec-run
< ~"Attaching VEK process...\n"
< ~"VEK card number is 0.\n"
< ~"VEK Pid is 77.\n"
< ~"VEK local file is \"/tmp/ihk_procs/1/77/card.out\".\n"
< ~"VEK card address is \"127.0.2.1\".\n"
> 9-exec-interrupt
< ~"Following the offload was interrupted.\n"
< ~"Attach command failed.\n"
< 1*stopped,reason="offload-start"
>running 2-exec-continue
< ~"Attaching VEK process...\n"
< ~"VEK card number is 0.\n"
< ~"VEK Pid is 77.\n"
< ~"VEK local file is \"/tmp/ihk_procs/1/77/card.out\".\n"
< ~"VEK card address is \"127.0.2.1\".\n"
< ~"Following the offload took too long.\n"
< ~"Attach command failed.\n"
< 2*stopped,reason="exited-normally"
>running 3-exec-run
< ~"Attaching VEK process...\n"
< ~"VEK card number is 0.\n"
< ~"VEK Pid is 77.\n"
< ~"VEK local file is \"/tmp/ihk_procs/1/77/card.out\".\n"
< ~"VEK card address is \"127.0.2.1\".\n"
> 4-gdb-exit
< ~"Following the offload was interrupted.\n"
< ~"Attach command failed.\n"
< 3*stopped,reason="offload-start"
< =thread-group-removed,id="i1"
< 4^exit
exit 0
