# gdb's mode: "-exec-interrupt" while a command runs and while none runs; output while no command
# runs reaches the user at once; "-gdb-exit" while the program runs ends everything.
env: WEM_COMPAT=gdb
host: on#1 -exec-continue $TOKEN^running ;; @after 100 =thread-created,id="4",group-id="i1",pid="9"
host: on SIGINT *stopped,reason="signal-received",thread-id="4"
host: on -exec-interrupt $TOKEN^error,msg="The program is not being run." ;; @after 100 ~"late\n" ;; @after 100 *stopped,reason="breakpoint-hit",bkptno="3",thread-id="4"
host: on#2 -exec-continue $TOKEN^running
i1>running 1-exec-continue
< =thread-group-started,id="i1",type="process",pid="9"
< =thread-created,id="1",group-id="i1",pid="9"
>+ 2-exec-interrupt => 2^done
< 1*stopped,reason="signal-received",thread-id="1"
i1: <SIGINT>
i1>+ 3-exec-interrupt => 3^done
< ~"late\n"
< *stopped,reason="breakpoint-hit",bkptno="3",thread-id="1"
i1>running 4-exec-continue
> 5-gdb-exit
< 5^exit
end
i1: <SIGINT>
i1: -gdb-exit
