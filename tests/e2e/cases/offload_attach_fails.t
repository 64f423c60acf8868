# An offload attach that fails (each step's failure is a table test of the attach): the user
# reads the steps' console lines, the host goes on and no card engine is left behind.
in-process
cards: 0=127.0.1.1
env: ZUBC_VEK=
host: on -exec-run $TOKEN^running ;; @after 100 *stopped,reason="breakpoint-hit",frame={func="__zub_target_so_loaded"}
host: on -exec-continue $TOKEN^running ;; @after 100 *stopped,reason="breakpoint-hit",frame={func="main"}
host: on -exec-next $TOKEN^running ;; @after 100 *stopped,reason="breakpoint-hit",frame={func="__zub_target_so_loaded"}
host: on#1 /__zub_target_id/ $TOKEN^error,msg="Cannot access memory at address 0x0"
host: on /__zub_target_id/ $TOKEN^done,memory=[{addr="0x601040",data=["0"]}]
host: on /__zub_target_so_pid/ $TOKEN^done,memory=[{addr="0x601044",data=["77"]}]
host: on -data-evaluate-expression $TOKEN^done,value="\"card.out\""
>running 1-exec-run
< ~"Attaching VEK process...\n"
< ~"Failed to retrieve VEK card number.\n"
< 1*stopped,reason="breakpoint-hit",frame={func="main"}
>running 2-exec-next
< ~"Attaching VEK process...\n"
< ~"VEK card number is 0.\n"
< ~"VEK Pid is 77.\n"
< ~"VEK local file is \"/tmp/ihk_procs/1/77/card.out\".\n"
< ~"VEK card address is \"127.0.1.1\".\n"
< ~"Failed to spawn Zub.\n"
< 2*stopped,reason="offload-start"
log: Failed to find the 'memory' list.
log: Failed to retrieve VEK card number
log: Failed to attach the VEK process
log: Failed to attach VEK process.
log: Resuming the execution.
log: ZUBC_VEK is not defined.
