# Notifications read while a command runs: thread ids, group start and exit, library group ids;
# records missing what their handler needs are only logged.
host: on#1 -gdb-set =thread-created ;; =thread-created,{broken ;; =thread-created,group-id="i1",pid="1" ;; =thread-created,id="5",group-id="i1" ;; =thread-exited,group-id="i1" ;; =thread-exited,id="5",group-id="i1" ;; =library-loaded,"unnamed" ;; $TOKEN^done
host: on#2 -gdb-set =thread-created,id="7",group-id="i1",pid="4242" ;; =thread-created,id="9",group-id="i1",pid="4242" ;; =breakpoint-modified,bkpt={number="1"} ;; $TOKEN^done
host: on#3 -gdb-set =thread-exited,id="7",group-id="i1" ;; =thread-exited,id="3",group-id="i1" ;; =library-loaded,id="/lib/libm.so.6",thread-group="i1" ;; $TOKEN^done
host: on#4 -gdb-set =thread-exited,id="9",group-id="i1" ;; =thread-created,id="11",group-id="i1",pid="4242" ;; $TOKEN^done
host: on#5 -gdb-set =thread-created,id="12",pid="4242" ;; $TOKEN^done
>+ 0-gdb-set z => 0^done
> 1-gdb-set a
< =thread-group-started,id="i1",type="process",pid="4242"
< =thread-created,id="2",group-id="i1",pid="4242"
< =thread-created,id="3",group-id="i1",pid="4242"
<+ 1^done
> 2-gdb-set b
< =thread-exited,id="2",group-id="i1"
< =thread-exited,id="4",group-id="i1"
< =library-loaded,id="/lib/libm.so.6",thread-group="i1",group-id="i1"
<+ 2^done
> 3-gdb-set c
< =thread-exited,id="3",group-id="i1"
< =thread-group-exited,id="i1"
< =thread-created,id="5",group-id="i1",pid="4242"
<+ 3^done
> 4-gdb-set d
< =thread-created,id="6",pid="4242",group-id="i1"
<+ 4^done
log: Event has no record: =thread-created
log: Failed to parse event's record: =thread-created,{broken
log: Field 'id' is missing: =thread-created,group-id="i1",pid="1"
log: Field 'pid' is missing: =thread-created,id="5",group-id="i1"
log: Failed to find thread id:group-id="i1"
log: No thread found.
log: Ignoring event: =breakpoint-modified,bkpt={number="1"}
log: Failed to find thread.
