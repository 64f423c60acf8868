# gdb's mode over stock gdb in its asynchronous mode, where a signal does not stop the program:
# "-exec-interrupt" does; a terminate request while the program runs ends everything at once.
env: WEM_COMPAT=gdb
env: ZUBC_HOST=gdb
args: --interpreter=mi -q -nx /bin/sleep
>+ 1-gdb-set mi-async on => 1^done
>... 2-exec-arguments 30 => 2\^.*
> 3-exec-run
<... 3\^running
<+ *running,thread-id="all"
>... 4-exec-interrupt => 4\^done
<... 3\*stopped,reason="signal-received",signal-name="SIGINT".*
> 5-exec-continue
<... 5\^running
<+ *running,thread-id="all"
! SIGTERM
exit 0
