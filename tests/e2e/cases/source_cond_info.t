# Command files run line by line, nested too; a last line without a line end runs too; a file
# that sources itself stops at depth 8. Bad input reaches no engine.
host: on /expression zero/ $TOKEN^done,value="0"
host: on -data-evaluate-expression $TOKEN^done,value="42"
host: on info ~"0x1000  0x2000  Yes  /lib/libc.so.6\n" ;; $TOKEN^done
file: outer.cmd 1-zub-cond-print zero yes no
file: outer.cmd source $DIR/inner.cmd
file: inner.cmd 2-zub-cond-print x "it is" "it is not"
file: huge 3-gdb-set v {x*1048576}\c
file: odd \x7fELF
file: odd 9abc\x00\xff
file: odd 4-gdb-set \xff\x00
file: odd \x00\c
file: self source $DIR/self
file: empty \c
>+ 10source $DIR/outer.cmd => 1^done,zub-cond-msg="no"
<+ 2^done,zub-cond-msg=""it is""
< (gdb)
<+ ^done
< (gdb)
<+ 10^done
> 21source $DIR/huge
> 22source $DIR/odd
> 23source $DIR/self
>+ 24source $DIR/empty => 3^done
<+ 21^done
< (gdb)
<+ 9^done,msg="Command is not implemented."
<+ 4^done
< (gdb)
<+ 22^done
<+ ^error,msg="Command files nest too deeply (more than 8): $DIR/self"
7* < (gdb)\x0a^done\x0a(gdb)
< (gdb)
<+ 23^done
< (gdb)
<+ 24^done
>+ 12source $DIR/missing.cmd => 12^error,msg="Cannot open file: $DIR/missing.cmd."
>+ 15-zub-cond-print x yes => 15^error,msg="Syntax error"
>+ 16-zub-cond-print x "yes no => 16^error,msg="Syntax error"
>+ 17info frame => 17^error,msg="Command not implemented"
i1: 1-data-evaluate-expression zero
i1: 2-data-evaluate-expression x
i1: 3-gdb-set v {x*1048576}
i1: 4-gdb-set \xff\x00
i1> 19info sharedlibrary
< ~"0x1000  0x2000  Yes  /lib/libc.so.6\n"
<+ 19^done
