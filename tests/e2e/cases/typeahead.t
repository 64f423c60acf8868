# Lines typed while a command runs are answered in order after it (the empty line at once), and
# so are thousands of pasted lines.
unannounced
host: on#1 -gdb-set @sleep 500 ;; $TOKEN^done
> 1-gdb-set a
> 2-list-features
> 3-unknown-word
>
>+ 4-gdb-set b => =thread-group-added,id="i1"
< (gdb)
<+ 1^done
<+ 2^done
<+ 3^done,msg="Command is not implemented."
<+ 4^done
1000* > 5-gdb-set v
1000* > 6-no-such-command
1000* > 7-gdb-set w
1000* <+ 5^done
1000* <+ 6^done,msg="Command is not implemented."
1000* <+ 7^done
> -gdb-exit
< =thread-group-removed,id="i1"
< ^exit
end
