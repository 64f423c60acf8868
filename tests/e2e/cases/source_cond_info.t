# Command files run line by line, nested too, each command with its own token, and the empty
# line after the last line end gets a prompt. Messages keep quotes. Bad input reaches no engine.
host: on /expression zero/ $TOKEN^done,value="0"
host: on -data-evaluate-expression $TOKEN^done,value="42"
host: on info ~"0x1000  0x2000  Yes  /lib/libc.so.6\n"
host: on info $TOKEN^done
file: outer.cmd 1-zub-cond-print zero yes no
file: outer.cmd source $DIR/inner.cmd
file: inner.cmd 2-zub-cond-print x "it is" "it is not"
<+ =thread-group-added,id="i1"
> 10source $DIR/outer.cmd
<+ 1^done,zub-cond-msg="no"
<+ 2^done,zub-cond-msg=""it is""
< (gdb)
<+ ^done
< (gdb)
<+ 10^done
> 12source $DIR/missing.cmd
<+ 12^error,msg="Cannot open file: $DIR/missing.cmd."
> 15-zub-cond-print x yes
<+ 15^error,msg="Syntax error"
> 16-zub-cond-print x "yes no
<+ 16^error,msg="Syntax error"
> 17info frame
<+ 17^error,msg="Command not implemented"
> 19info sharedlibrary
< ~"0x1000  0x2000  Yes  /lib/libc.so.6\n"
<+ 19^done
> 20-gdb-exit
< =thread-group-removed,id="i1"
< 20^exit
i1: 1-data-evaluate-expression zero
i1: 2-data-evaluate-expression x
i1: 19info sharedlibrary
i1: 20-gdb-exit
