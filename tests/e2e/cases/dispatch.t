# Lines without a command word get a bare prompt; unknown words are "done" but not implemented and
# never reach the engine; "quit" ends the session and reaches the engine too.
host: on quit $TOKEN^exit ;; @exit 0
>
< (gdb)
>    	
< (gdb)
> 42
< (gdb)
> # a comment
< (gdb)
> Upper-case start
< (gdb)
>+ 5-thread-select 1 => 5^done,msg="Command is not implemented."
>+ -enable-pretty-printing => ^done,msg="Command is not implemented."
>+ 6-Gdb-set confirm off => 6^done,msg="Command is not implemented."
>+ 7-GDB-EXIT => 7^done,msg="Command is not implemented."
>+ 8-gdb-setx => 8^done,msg="Command is not implemented."
>+ 9|odd| => 9^done,msg="Command is not implemented."
i1>+ 1-gdb-set {x*1048576} => 1^done
>+ 2-frobnicate {x*1048576} => 2^done,msg="Command is not implemented."
> { *1048576}
< (gdb)
> \x01\x02\xff\xfe
< (gdb)
i1>+ 3-gdb-set \x01\xff\x00\x7f end\x0d => 3^done
> 4\x00-gdb-set
< (gdb)
> 12-exec-interrupt
quiet 200
> -exec-interrupt
quiet 200
i1>+ 13-gdb-set confirm off => 13^done
i1> 21quit
< =thread-group-removed,id="i1"
< 21^exit
end
log: From user: $
2* log: sigIntPending cleared.
