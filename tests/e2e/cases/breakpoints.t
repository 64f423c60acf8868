# Breakpoints across a host and a card engine: one user number for every engine's copy, each
# engine addressed in its own numbering.
in-process
cards: 0=127.0.1.1
spawn: vek 0 127.0.1.1
host: on /-break-insert .*main/ $TOKEN^done,bkpt={number="1",type="breakpoint",func="main"}
host: on /-break-insert .*tick/ $TOKEN^done,bkpt={number="2",type="breakpoint",func="tick"}
host: on /-break-insert .*__zub_target_so_loaded/ $TOKEN^done,bkpt={number="3",pending="__zub_target_so_loaded"}
host: on /-break-insert .*hostonly/ $TOKEN^done,bkpt={number="4",func="hostonly"}
host: on /-break-insert .*nobkpt/ $TOKEN^done
host: on /-break-insert .*dup/ $TOKEN^done,bkpt={number="1",func="dup"}
host: on /-break-insert .*nowhere/ $TOKEN^error,msg="Function \"nowhere\" not defined."
host: on -break-delete $TOKEN^error,msg="No breakpoint number 4."
host: on -exec-run $TOKEN^running ;; @after 300 *stopped,reason="breakpoint-hit",thread-id="1"
card: on /-break-insert .*main/ $TOKEN^done,bkpt={number="5",type="breakpoint",func="main",on="card"}
card: on /-break-insert .*tick/ $TOKEN^done,bkpt={number="6",type="breakpoint",func="tick",on="card"}
card: on /-break-insert .*__zub_target_so_loaded/ $TOKEN^done,bkpt={number="7",on="card"}
card: on /-break-insert .*hostonly/ $TOKEN^error,msg="card: no hostonly"
card: on /-break-insert .*nobkpt/ $TOKEN^done,bkpt={type="breakpoint"}
card: on /-break-insert .*dup/ $TOKEN^error,msg="card: no dup"
card: on /-break-insert .*nowhere/ $TOKEN^error,msg="card: nowhere either"
card: on -exec-run $TOKEN^running
card: on SIGINT *stopped,reason="signal-received",thread-id="1"
i1,vek1>+ 1-break-insert main => 1^done,bkpt={number="1",type="breakpoint",func="main",on="card"}
i1: -break-insert -f __zub_target_so_loaded
vek1: -break-insert -f __zub_target_so_loaded
i1,vek1>running 2-exec-run
< 2*stopped,reason="breakpoint-hit",thread-id="1"
>+ 3-break-insert --thread 1 tick => 3^done,bkpt={number="3",type="breakpoint",func="tick",on="card"}
i1: 3-break-insert  tick
vek1: <SIGINT>
vek1: 3-break-insert  tick
i1,vek1>+ 4-break-insert hostonly => 4^done,bkpt={number="4",func="hostonly"}
i1,vek1>+ 5-break-insert nobkpt => 5^error,msg="Internal error"
i1,vek1>+ 6-break-insert nowhere => 6^error,msg="card: nowhere either"
i1,vek1>+ 7-break-insert main => 7^error,msg="Internal error"
i1,vek1>+ 7-break-insert dup => 7^error,msg="card: no dup"
i1>+ 8-break-disable 1 => 8^done
i1>+ 9-break-enable 1 => 9^done
i1>+ 10-break-disable 4 => 10^done
i1>+ 11-break-delete 4 => 11^done
i1>+ 12-break-condition 1 counter > 2 => 12^done
>+ 13-break-after --thread-group i1 1 3 => 13^done
>+ 14-break-delete => 14^error,msg="Breakpoint number is missing."
>+ 14-break-disable main => 14^error,msg="Breakpoint number is missing."
>+ 14-break-condition   => 14^error,msg="Breakpoint number is missing."
>+ 14-break-after x 1 => 14^error,msg="Breakpoint number is missing."
>+ 15-break-disable 9 => 15^done
>+ 15-break-condition 9 x => 15^done
>+ 15-break-delete 9 => 15^done
>+ 16-break-delete 1 3 => 16^done
i1: 13-break-after  1 3
i1: 16-break-delete 2
i1>+ 17-break-condition 1 2 => 17^done
>+ 18-break-condition 1 => 18^done
i1: 18-break-condition 1 $
i1: <SIGINT>
i1: -gdb-exit
vek1: 8-break-disable 5
vek1: 9-break-enable 5
vek1: 12-break-condition 5 counter > 2
vek1: 13-break-after  5 3
vek1: 16-break-delete 6
vek1: 17-break-condition 5 2
vek1: 18-break-condition 5 $
vek1: <SIGINT>
vek1: -gdb-exit
log: muted: ^done,bkpt={number="2",on="card"}
log: Failed to find bkpt map in: i1
log: Failed to find breakpoint number in: vek1
log: Failed to insert breakpoint (1).
