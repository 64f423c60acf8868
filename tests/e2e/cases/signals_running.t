# An interrupt while a command waits signals its engine once; a terminate request waits for the
# running command, then ends the session.
host: on -stack-info-depth @noprompt
host: on SIGINT ^done,depth="3"
host: on -gdb-set @sleep 800 ;; $TOKEN^done
i1> 4-stack-info-depth
quiet 300
! SIGINT
<+ 4^done,depth="3"
i1: <SIGINT>
i1> 5-gdb-set a
sleep 200
! SIGTERM
<+ 5^done
end
i1: <SIGINT>
i1: -gdb-exit
log: sigIntPending cleared.
log: stopping the session.
