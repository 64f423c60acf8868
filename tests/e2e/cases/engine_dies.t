# An engine that dies mid-command leaves the command waiting: the interrupt reaches no engine,
# a terminate request waits for the command, only a quit ends the session.
host: on -stack-info-depth @exit 0
<+ =thread-group-added,id="i1"
> 7-stack-info-depth
quiet 300
! SIGINT
quiet 300
! SIGTERM
quiet 300
! SIGQUIT
eof
exit 0
log: sigIntPending cleared.
