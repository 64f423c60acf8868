# Command files: every line is dispatched and run in order, each command answering with its own
# token, a sourced file may source another, the trailing empty line gets its bare prompt, and
# "source" itself ends with "^done". Missing files and bad lines are errors; a file that sources
# itself stops at the nesting bound with an error and the session keeps answering.
host: on -break-insert $TOKEN^done,bkpt={number="5",type="breakpoint"}
file: outer.cmd 1-gdb-set confirm off
file: outer.cmd source $DIR/inner.cmd
file: outer.cmd 3-break-insert main
file: inner.cmd # a comment line gets a bare prompt too
file: inner.cmd 2-list-features
file: self.cmd source $DIR/self.cmd
< =thread-group-added,id="i1"
< (gdb)
> 10source $DIR/outer.cmd
< 1^done
< (gdb)
< (gdb)
< 2^done
< (gdb)
< (gdb)
< ^done
< (gdb)
< 3^done,bkpt={number="1",type="breakpoint"}
< (gdb)
< (gdb)
< 10^done
< (gdb)
> 11source
< 11^error,msg="Syntax error"
< (gdb)
> 12source $DIR/outer.cmd $DIR/inner.cmd
< 12^error,msg="Syntax error"
< (gdb)
> 13source $DIR/missing.cmd
< 13^error,msg="Cannot open file: $DIR/missing.cmd."
< (gdb)
> 14source /dev/null
< (gdb)
< 14^done
< (gdb)
> 15source $DIR/self.cmd
< ^error,msg="Command files nest too deeply (more than 8): $DIR/self.cmd"
< (gdb)
< (gdb)
< ^done
< (gdb)
< (gdb)
< ^done
< (gdb)
< (gdb)
< ^done
< (gdb)
< (gdb)
< ^done
< (gdb)
< (gdb)
< ^done
< (gdb)
< (gdb)
< ^done
< (gdb)
< (gdb)
< ^done
< (gdb)
< (gdb)
< 15^done
< (gdb)
> 16-gdb-set width 0
< 16^done
< (gdb)
> 17-gdb-exit
< =thread-group-removed,id="i1"
< 17^exit
eof
exit 0
log: Filename: $DIR/outer.cmd
log: Cmd: 1-gdb-set confirm off
log: Filename: $DIR/inner.cmd
log: Cmd: 2-list-features
log: Cmd: 3-break-insert main
i1: 1-gdb-set confirm off
i1: 2-list-features
i1: 3-break-insert main
i1: 16-gdb-set width 0
i1: 17-gdb-exit
