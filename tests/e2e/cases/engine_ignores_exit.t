# An engine that ignores "-gdb-exit" and interrupts is killed at shutdown, after a grace period.
host: on -gdb-exit @noprompt
<+ =thread-group-added,id="i1"
! SIGTERM
end
