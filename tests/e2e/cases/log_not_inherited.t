# The engine (and so whatever it runs) does not inherit the log file.
host: on -gdb-set @ifopen $DIR/wem.log $TOKEN^error,msg="the log is inherited"
host: on -gdb-set $TOKEN^done
<+ =thread-group-added,id="i1"
>+ 1-gdb-set x => 1^done
