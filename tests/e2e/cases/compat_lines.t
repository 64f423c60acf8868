# gdb's mode: gdb's prompt; lines read as gdb reads them (blanks around the token, a bare token, a
# console word, "info frame" too, which run in the console and show their output); an unknown MI
# word gets gdb's error and reaches no engine; the end of input ends the session and its engine.
# The launch options of gdb's clients are accepted.
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
