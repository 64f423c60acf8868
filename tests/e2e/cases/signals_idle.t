# An interrupt while idle is only logged; a terminate request while idle ends the session, the
# engine interrupted and asked to exit.
<+ =thread-group-added,id="i1"
! SIGINT
quiet 300
> 1-gdb-set a
<+ 1^done
! SIGTERM
eof
exit 0
i1: 1-gdb-set a
i1: <SIGINT>
i1: -gdb-exit
log: sigIntPending cleared.
