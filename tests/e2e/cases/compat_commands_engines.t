# The gdb-compatible mode over two host engines: one breakpoint table in user numbers, and a
# second engine's thread selected in its own numbering makes that engine current.
in-process
env: WEM_COMPAT=gdb
spawn: i
host: on -break-insert $TOKEN^done,bkpt={number="4",times="0"}
host: on -break-list $TOKEN^done,BreakpointTable={nr_rows="2",hdr=[],body=[bkpt={number="4",times="1"},{number="4.1"},bkpt={number="9",times="0"}]}
host2: on -break-insert =thread-created,id="7",group-id="i1",pid="200" ;; $TOKEN^done,bkpt={number="5",times="0"}
host2: on -break-list $TOKEN^done,BreakpointTable={nr_rows="1",hdr=[],body=[bkpt={number="5",times="2"}]}
host2: on -thread-select $TOKEN^done,new-thread-id="7",frame={level="0"}
host2: on -break-watch $TOKEN^done,wpt={number="6",exp="x"}
<+ =thread-group-added,id="i2"
> 1-break-insert main
< =thread-group-started,id="i2",type="process",pid="200"
< =thread-created,id="1",group-id="i2",pid="200"
<+ 1^done,bkpt={number="1",times="0"}
i1: 1-break-insert -f main
i2: 1-break-insert -f main
i1,i2>+ 2-break-list => 2^done,BreakpointTable={nr_rows="1",hdr=[],body=[bkpt={number="1",times="3"},{number="1.1"}]}
>+ 3-thread-select 1 => 3^done,new-thread-id="1",frame={level="0"}
i2: 3-thread-select 7
i2>+ 4-break-watch x => 4^done,wpt={number="2",exp="x"}
i2>+ 5-stack-info-frame => 5^done
>+ 6-break-delete 2 => 6^done
i1: <SIGINT>
i1: -gdb-exit
i2: 6-break-delete 6
i2: <SIGINT>
i2: -gdb-exit
