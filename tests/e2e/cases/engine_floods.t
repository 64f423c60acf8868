# Notifications that arrive while idle wait for the next command; an engine's log stream reaches
# the user whole, its console stream and unknown notifications are only logged.
host: banner @flood 5000 =breakpoint-modified,bkpt={number="1"}
host: on -gdb-set @flood 50000 &"flood line\n" ;; @flood 50000 ~"console flood\n" ;; $TOKEN^done
quiet 200
i1> 7-gdb-set a
50000* < &"flood line\n"
<+ 7^done
5000* log: Ignoring event: =breakpoint-modified,bkpt={number="1"}
50000* log: Ignoring input (~"console flood\n"
