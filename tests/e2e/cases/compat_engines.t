# gdb's mode over a host and a card engine: threads, variable updates and breakpoints in user
# numbers, a console breakpoint numbered on sight.
in-process
env: WEM_COMPAT=gdb
cards: 0=127.0.1.1
spawn: vek 0 127.0.1.1
host: on -thread-info $TOKEN^done,threads=[{id="1",target-id="host"}],current-thread-id="1"
card: on -thread-info @sleep 200 ;; $TOKEN^done,threads=[{id="1",target-id="card"}],current-thread-id="1"
host: on -var-update $TOKEN^done,changelist=[{name="var1",in_scope="true"}]
card: on -var-update $TOKEN^done,changelist=[{name="var2",in_scope="true"}]
host: on -break-insert $TOKEN^done,bkpt={number="1",type="breakpoint"}
card: on -break-insert $TOKEN^done,bkpt={number="5",type="breakpoint"}
host: on -exec-continue $TOKEN^running
card: on -exec-continue $TOKEN^running ;; @after 100 =breakpoint-modified,bkpt={number="5",times="1"} ;; @after 100 *stopped,reason="breakpoint-hit",bkptno="5",thread-id="1"
host: on SIGINT *stopped,reason="signal-received",thread-id="1"
host: on -interpreter-exec =breakpoint-created,bkpt={number="7",type="breakpoint"},{number="7.1"} ;; $TOKEN^done
i1>+ 1-thread-info => 1^done,threads=[{id="1",target-id="host"},{id="2",target-id="card"}],current-thread-id="1"
i1>+ 2-var-update --all-values * => 2^done,changelist=[{name="var1",in_scope="true"},{name="var2",in_scope="true"}]
>+ 3-break-insert kernel => 3^done,bkpt={number="1",type="breakpoint"}
i1: 3-break-insert -f kernel
i1>running 4-exec-continue
< =breakpoint-modified,bkpt={number="1",times="1"}
< 4*stopped,reason="breakpoint-hit",bkptno="1",thread-id="2"
i1: <SIGINT>
i1> 5-interpreter-exec --thread 1 console "break main"
< =breakpoint-created,bkpt={number="2",type="breakpoint"},{number="2.1"}
<+ 5^done
>+ 6-break-delete 1 2 => 6^done
i1: 6-break-delete 1 7
i1: <SIGINT>
i1: -gdb-exit
