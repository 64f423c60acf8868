# Attach and detach with fake engines: the attach shows its engine's stop in the user's thread
# numbering, with the command's token; a bare answer passes as the engine wrote it; a detach
# announces the group's exit and clears its pid, so the next attach starts the group again.
host: on /attach  *77/ =thread-created,id="7",group-id="i1",pid="77"
host: on /attach  *77/ *stopped,reason="signal-received",thread-id="7",frame={func="main"}
host: on /attach  *77/ $TOKEN^done,thread-id="7"
host: on /attach 78/ =thread-created,id="1",group-id="i1",pid="78"
host: on /attach 78/ $TOKEN^done
host: on /attach 999999/ $TOKEN^error,msg="ptrace: No such process."
host: on /attach 66/ *stopped,frame={
host: on /attach 66/ $TOKEN^done,x={
host: on /attach 55/ ~"Attaching to process 55"
host: on -data-evaluate-expression $TOKEN^done,value="1"
host: on SIGINT ^error,msg="Interrupted."
host: on#2 -target-detach $TOKEN^error,msg="The program is not being run."
< =thread-group-added,id="i1"
< (gdb)
> 1-target-attach --thread-group i1 77
< =thread-group-started,id="i1",type="process",pid="77"
< =thread-created,id="1",group-id="i1",pid="77"
< 1*stopped,reason="signal-received",thread-id="1",frame={func="main"}
< 1^done,thread-id="1"
< (gdb)
> 2-zub-cond-print --thread 1 x>1 "big x" small
< 2^done,zub-cond-msg=""big x""
< (gdb)
> 3-target-detach
< =thread-group-exited,id="i1"
< 3^done
< (gdb)
> 4-target-detach
< 4^error,msg="The program is not being run."
< (gdb)
> 5-target-attach 78
< =thread-group-started,id="i1",type="process",pid="78"
< =thread-created,id="2",group-id="i1",pid="78"
< 5^done
< (gdb)
> 6-target-attach 999999
< 6^error,msg="ptrace: No such process."
< (gdb)
> 7-target-attach --thread-group i2 5
< 7^error,msg="Invalid thread-group: i2"
< (gdb)
> 8-target-attach 66
< 8^error,msg="Internal error"
< (gdb)
> 9-target-attach 55
< ~"Attaching to process 55"
! SIGINT
< 9^error,msg="Interrupted."
< (gdb)
> 10-add-inferior
< =thread-group-added,id="i2"
< (gdb)
> 11-target-attach 78
< =thread-group-started,id="i2",type="process",pid="78"
< =thread-created,id="3",group-id="i2",pid="78"
< 11^done
< (gdb)
> 12-remove-inferior i2
< =thread-group-removed,id="i2"
< 12^done
< (gdb)
> 13-target-detach --thread 3
< 13^error,msg="Invalid thread-group: i2"
< (gdb)
> 14-target-detach --thread 4
< 14^error,msg="Invalid thread: 4"
< (gdb)
> 15-gdb-exit
< =thread-group-removed,id="i1"
< 15^exit
eof
exit 0
log: Bad record (frame={) from i1.
log: Bad record (x={) from i1.
i1: 1-target-attach  77
i1: 2-data-evaluate-expression --thread 7 x>1
i1: 3-target-detach
i1: 4-target-detach
i1: 5-target-attach 78
i1: 6-target-attach 999999
i1: 8-target-attach 66
i1: 9-target-attach 55
i1: <SIGINT>
i1: 15-gdb-exit
i2: 11-target-attach 78
i2: -gdb-exit
