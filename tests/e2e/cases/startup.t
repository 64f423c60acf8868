# The announcement, the engine's argument vector, MI interpreter spellings; idle interrupts and
# terminate requests (this engine ignores both: it is killed after a grace period).
host: banner ~"engine banner is not shown"
host: on -gdb-exit @noprompt
args: --interpreter mi -x=1 -i=console
! SIGINT
quiet 300
i1> 3-gdb-set a
> 4-gdb-set b\c
close
<+ 3^done
quiet 300
! SIGTERM
end
i1: <SIGINT>
i1: -gdb-exit
log: argv: $BUILD/bin/wem
log: options[interpreter]=mi
log: options[x]=1
log: ZUBC: $BUILD/bin/fake_engine
log:   '$BUILD/bin/fake_engine'  '--interpreter'  'mi'  '-x=1'  '-i=console'
log: sigIntPending cleared.
log: stopping the session.
