# A log file that cannot be created leaves the program working, without a log.
env: WEM_LOG=$DIR/missing/wem.log
<+ =thread-group-added,id="i1"
> 1-gdb-exit
< =thread-group-removed,id="i1"
< 1^exit
end
