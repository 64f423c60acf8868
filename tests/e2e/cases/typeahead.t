# Lines typed while a command runs are answered in order after it (the empty line at once); the
# engine gets each command only after it answered the one before.
host: on#1 -gdb-set @sleep 500
host: on#1 -gdb-set $TOKEN^done
> 1-gdb-set a
> 2-list-features
> 3-unknown-word
>
> 4-gdb-set b
<+ =thread-group-added,id="i1"
< (gdb)
<+ 1^done
<+ 2^done
<+ 3^done,msg="Command is not implemented."
<+ 4^done
> -gdb-exit
< =thread-group-removed,id="i1"
< ^exit
eof
exit 0
i1: 1-gdb-set a
i1: 2-list-features
i1: 4-gdb-set b
i1: -gdb-exit
