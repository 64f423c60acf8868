# "-zub-cond-print": "0" and "false" pick the third argument, any other value the second, quoted
# arguments keep their quotes; engine errors pass through; missing or unbalanced arguments and
# unknown ids reach no engine. "info sharedlibrary": every engine's listing, then one "^done";
# other subjects reach no engine.
host: on /evaluate-expression zero/ $TOKEN^done,value="0"
host: on /evaluate-expression flag/ $TOKEN^done,value="false"
host: on /evaluate-expression bad/ $TOKEN^error,msg="No symbol \"bad\" in current context."
host: on /evaluate-expression empty/ $TOKEN^done
host: on -data-evaluate-expression $TOKEN^done,value="42 '*'"
host: on info ~"From  To  Syms Read  Shared Object Library\n0x1000  0x2000  Yes  /lib/libc.so.6\n"
host: on info $TOKEN^done
< =thread-group-added,id="i1"
< (gdb)
> 1-zub-cond-print zero yes no
< 1^done,zub-cond-msg="no"
< (gdb)
> 2-zub-cond-print flag yes no
< 2^done,zub-cond-msg="no"
< (gdb)
> 3-zub-cond-print "a == b" "it is" "it is not"
< 3^done,zub-cond-msg=""it is""
< (gdb)
> 4-zub-cond-print bad yes no
< 4^error,msg="No symbol \"bad\" in current context."
< (gdb)
> 5-zub-cond-print empty yes no
< 5^error,msg="Internal error"
< (gdb)
> 6-zub-cond-print x yes
< 6^error,msg="Syntax error"
< (gdb)
> 7-zub-cond-print x "yes no
< 7^error,msg="Syntax error"
< (gdb)
> 8-zub-cond-print x yes "no
< 8^error,msg="Syntax error"
< (gdb)
> 9-zub-cond-print
< 9^error,msg="Syntax error"
< (gdb)
> 10-zub-cond-print --thread 3 x yes no
< 10^error,msg="Invalid thread: 3"
< (gdb)
> 11-zub-cond-print --thread-group i4 x yes no
< 11^error,msg="Invalid thread-group: i4"
< (gdb)
> 12info frame
< 12^error,msg="Command not implemented"
< (gdb)
> 13info
< 13^error,msg="Syntax error"
< (gdb)
> 14-add-inferior
< =thread-group-added,id="i2"
< (gdb)
> 15-zub-cond-print --thread-group i1 x yes no
< 15^done,zub-cond-msg="yes"
< (gdb)
> 16info sharedlibrary
< ~"From  To  Syms Read  Shared Object Library\n0x1000  0x2000  Yes  /lib/libc.so.6\n"
< ~"From  To  Syms Read  Shared Object Library\n0x1000  0x2000  Yes  /lib/libc.so.6\n"
< 16^done
< (gdb)
> 17-gdb-exit
< =thread-group-removed,id="i1"
< =thread-group-removed,id="i2"
< 17^exit
eof
exit 0
i1: 1-data-evaluate-expression zero
i1: 2-data-evaluate-expression flag
i1: 3-data-evaluate-expression "a == b"
i1: 4-data-evaluate-expression bad
i1: 5-data-evaluate-expression empty
i1: 15-data-evaluate-expression x
i1: 16info sharedlibrary
i1: 17-gdb-exit
i2: 16info sharedlibrary
i2: 17-gdb-exit
