# A terminate request ends the session and stock gdb with it.
engine: gdb
args: --interpreter=mi $SAMPLE
< =thread-group-added,id="i1"
< (gdb)
> 1-gdb-set confirm off
< 1^done
< (gdb)
! SIGTERM
eof
exit 0
