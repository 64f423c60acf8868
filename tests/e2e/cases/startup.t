# The host engine is announced as group i1 with a prompt (its banner is not shown) and gets the
# program's whole argument vector; any spelling that selects an MI interpreter is accepted.
host: banner ~"engine banner is not shown"
args: --interpreter mi -x=1 -i=console
<+ =thread-group-added,id="i1"
quiet 200
> 3-gdb-exit
< =thread-group-removed,id="i1"
< 3^exit
eof
exit 0
i1: 3-gdb-exit
log: argv: $BUILD/bin/wem
log: options[interpreter]=mi
log: options[x]=1
log: ZUBC: $BUILD/bin/fake_engine
log:   '$BUILD/bin/fake_engine'  '--interpreter'  'mi'  '-x=1'  '-i=console'
log: stopping the session.
