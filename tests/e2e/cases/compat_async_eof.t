# gdb's mode: the end of input while the program runs in gdb's asynchronous mode ends everything.
env: WEM_COMPAT=gdb
host: on -exec-continue $TOKEN^running
>+ 1-gdb-set mi-async on => 1^done
>running 2-exec-continue
close
end
