# Stock gdb as the host engine, given the program's arguments: queries and settings before a
# run, unknown threads refused, then the exit command ends gdb too.
engine: gdb
args: --interpreter=mi $SAMPLE
<+ =thread-group-added,id="i1"
> 1-list-features
<~ 1\^done,features=\[.*"thread-info".*\]
< (gdb)
> 2-gdb-set confirm off
<+ 2^done
> 3-stack-info-depth
<~ 3\^error,msg=".+"
< (gdb)
> 4-gdb-set --thread-group i1 width 0
<+ 4^done
> 5-stack-list-frames --thread 1
<+ 5^error,msg="Invalid thread: 1"
> 6-gdb-exit
< =thread-group-removed,id="i1"
< 6^exit
eof
exit 0
log: argv: $SAMPLE
log: ZUBC: gdb
