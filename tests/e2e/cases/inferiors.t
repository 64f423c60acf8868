# Attach, detach (the next attach starts the group again), inferiors added and removed.
host: on /attach +77/ =thread-created,id="7",group-id="i1",pid="77" ;; *stopped,reason="signal-received",thread-id="7" ;; $TOKEN^done,thread-id="7"
> 1-target-attach --thread-group i1 77
< =thread-group-started,id="i1",type="process",pid="77"
< =thread-created,id="1",group-id="i1",pid="77"
< 1*stopped,reason="signal-received",thread-id="1"
<+ 1^done,thread-id="1"
i1: 1-target-attach  77
i1> 2-target-detach
< =thread-group-exited,id="i1"
<+ 2^done
i1> 3-target-attach 77
< =thread-group-started,id="i1",type="process",pid="77"
< =thread-created,id="1",group-id="i1",pid="77"
< 3*stopped,reason="signal-received",thread-id="1"
<+ 3^done,thread-id="1"
>+ 4-add-inferior => =thread-group-added,id="i2"
> 4-remove-inferior i2
< =thread-group-removed,id="i2"
<+ 4^done
i1>+ 4-stack-info-depth => 4^done
>+ 4-add-inferior => =thread-group-added,id="i2"
>+ 5-file-exec-and-symbols --thread 1 prog => 5^done
> 6-remove-inferior i1
< =thread-group-removed,id="i1"
<+ 6^done
>+ 7-remove-inferior i1 => 7^error,msg="Invalid thread-group: i1"
> 8-gdb-exit
< =thread-group-removed,id="i2"
< 8^exit
i1: 5-file-exec-and-symbols --thread 7 prog
i1: -gdb-exit
