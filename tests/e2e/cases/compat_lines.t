# gdb's mode: lines read as gdb reads them (blanks around the token, a bare token, console words);
# an unknown MI word gets gdb's error; gdb's clients' launch options are accepted.
env: WEM_COMPAT=gdb
args: -i mi --nx -q
host: on -interpreter-exec ~"a=1\n" ;; $TOKEN^done
>+   5-gdb-set confirm off => 5^done
>+ 6  -gdb-set confirm on => 6^done
>+ 42 => 42^done
> 7 print "a\n"
< ~"a=1\n"
<+ 7^done
> 9info frame
< ~"a=1\n"
<+ 9^done
>+ 8-foo 1 => 8^error,msg="Undefined MI command: foo",code="undefined-command"
close
end
i1: 5-gdb-set confirm off
i1: 6-gdb-set confirm on
i1: 7-interpreter-exec console "print \"a\\n\""
i1: 9-interpreter-exec console "info frame"
i1: <SIGINT>
i1: -gdb-exit
