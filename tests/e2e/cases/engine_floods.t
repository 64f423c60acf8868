# Notifications that arrive while idle wait for the next command; an engine's log stream reaches
# the user whole, its console stream and unknown notifications are only logged. A user who stops
# reading while an engine floods fills every queue on the way; a terminate request still ends the
# session, and the engine with it.
host: banner @flood 5000 =breakpoint-modified,bkpt={number="1"}
host: on#1 -gdb-set @flood 50000 &"flood line\n"
host: on#1 -gdb-set @flood 50000 ~"console flood\n"
host: on#1 -gdb-set $TOKEN^done
host: on#2 -gdb-set @flood 300000 &"flood line\n"
host: on#2 -gdb-set $TOKEN^done
<+ =thread-group-added,id="i1"
quiet 200
> 7-gdb-set a
50000* < &"flood line\n"
<+ 7^done
> 8-gdb-set b
sleep 500
! SIGTERM
exit 0
5000* log: Ignoring event: =breakpoint-modified,bkpt={number="1"}
50000* log: Ignoring input (~"console flood\n"
log: The user does not read; dropped what was left for the user.
