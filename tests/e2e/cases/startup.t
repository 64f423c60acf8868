# The host engine is announced as group i1 with a prompt (its banner is not shown) and gets the
# program's whole argument vector; any spelling that selects an MI interpreter is accepted. While
# idle, an interrupt is only logged and a terminate request ends the session, the engine
# interrupted and asked to exit (this one ignores both: it is killed after a grace period). A
# last line without a line end never runs; the end of input leaves the session idle.
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
