# Host inferiors started by the program itself: each new one becomes current, a removal waits
# for the engine's "^exit" (anything else leaves the group), bad ids reach no engine, the current
# engine moves to the smallest one left, and "i1" can be removed like any other.
host: on#1 -gdb-exit ^error,msg="refused"
< =thread-group-added,id="i1"
< (gdb)
> 1-add-inferior
< =thread-group-added,id="i2"
< (gdb)
> 2-file-exec-and-symbols prog2
< 2^done
< (gdb)
> 3-file-exec-and-symbols --thread-group i1 prog1
< 3^done
< (gdb)
> 4-remove-inferior
< 4^error,msg="Syntax error"
< (gdb)
> 5-remove-inferior i2 i1
< 5^error,msg="Syntax error"
< (gdb)
> 6-remove-inferior i9
< 6^error,msg="Invalid thread-group: i9"
< (gdb)
> 7-remove-inferior i2
< 7^error,msg="Internal error"
< (gdb)
> 8-remove-inferior i2
< =thread-group-removed,id="i2"
< 8^done
< (gdb)
> 9-remove-inferior i2
< 9^error,msg="Invalid thread-group: i2"
< (gdb)
> 10-file-exec-and-symbols prog3
< 10^done
< (gdb)
> 11-add-inferior
< =thread-group-added,id="i2"
< (gdb)
> 12-remove-inferior i1
< 12^error,msg="Internal error"
< (gdb)
> 13-remove-inferior i1
< =thread-group-removed,id="i1"
< 13^done
< (gdb)
> 14-file-exec-and-symbols prog4
< 14^done
< (gdb)
> 15-remove-inferior i2
< 15^error,msg="Internal error"
< (gdb)
> 16-remove-inferior i2
< =thread-group-removed,id="i2"
< 16^done
< (gdb)
> 17-file-exec-and-symbols prog5
< 17^error,msg="Invalid thread-group: "
< (gdb)
> 18-gdb-set confirm off
< 18^done
< (gdb)
> 19-gdb-exit
< 19^exit
eof
exit 0
log: i2 removed.
log: i1 removed.
i1: 3-file-exec-and-symbols  prog1
i1: 10-file-exec-and-symbols prog3
i1: -gdb-exit
i1: -gdb-exit
i2: 2-file-exec-and-symbols prog2
i2: -gdb-exit
i2: -gdb-exit
i3: 14-file-exec-and-symbols prog4
i3: -gdb-exit
i3: -gdb-exit
