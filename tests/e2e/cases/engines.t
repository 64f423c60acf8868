# Several engines in one session: a broadcast setting answers once after all answered (an error
# wins under serialize-execution); one thread numbering; card threads belong to group i1.
in-process
cards: 3=127.0.1.7
spawn: i
spawn: vek 3 127.0.1.7
host: on#1 -gdb-set =thread-created,id="1",group-id="i1",pid="100" ;; $TOKEN^done,engine="one"
host: on -gdb-set @sleep 300 ;; $TOKEN^done,engine="one"
host: on -set-serialize-execution $TOKEN^done,engine="one"
host2: on#1 -gdb-set @sleep 300 ;; =thread-created,id="1",group-id="i1",pid="200" ;; =thread-created,id="2",group-id="i1",pid="200" ;; $TOKEN^error,msg="two"
host2: on -gdb-set $TOKEN^error,msg="two"
host2: on -set-serialize-execution $TOKEN^error,msg="two"
host2: on -stack-info-depth $TOKEN^done,depth="4"
card: on#1 -gdb-set @sleep 600 ;; =thread-created,id="1",group-id="i1",pid="555" ;; =library-loaded,id="/lib/card.so",symbols-loaded="0" ;; $TOKEN^done
card: on#2 -gdb-set =thread-exited,id="1",group-id="i1" ;; $TOKEN^done
<+ =thread-group-added,id="i2"
i2> 12-gdb-set width 0
< =thread-group-started,id="i1",type="process",pid="100"
< =thread-created,id="1",group-id="i1",pid="100"
< =thread-group-started,id="i2",type="process",pid="200"
< =thread-created,id="2",group-id="i2",pid="200"
< =thread-created,id="3",group-id="i2",pid="200"
< =thread-created,id="4",group-id="i1",pid="555"
< =library-loaded,id="/lib/card.so",symbols-loaded="0",group-id="i1"
<+ 12^done,engine="one"
>+ 13-gdb-set --thread-group i2 width 0 => 13^error,msg="two"
i2: 13-gdb-set  width 0
i2>+ 14-set-serialize-execution on => 14^error,msg="two"
>+ 15-stack-info-depth --thread 3 => 15^done,depth="4"
> 16-gdb-set --thread-group vek1 x
< =thread-exited,id="4",group-id="i1"
<+ 16^done
i2: 15-stack-info-depth --thread 2
i2: <SIGINT>
i2: -gdb-exit
