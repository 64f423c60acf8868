# A quit signal ends the session at once, even while a command waits.
host: on -stack-info-depth @after 5000 $TOKEN^done,depth="9"
host: on -stack-info-depth @noprompt
<+ =thread-group-added,id="i1"
> 6-stack-info-depth
sleep 200
! SIGQUIT
end
i1: 6-stack-info-depth
i1: <SIGINT>
i1: -gdb-exit
