# A breakpoint with several locations renumbered for the user; an acceptance that cannot be read
# is taken back in the engine, so a later delete reaches the right engine number.
host: on /-break-insert .*multi/ $TOKEN^done,bkpt={number="7",type="breakpoint",addr="<MULTIPLE>"},{number="7.1",addr="0x1",thread-id="4"},{number="7.2",addr="0x2"}
host: on /-break-insert .*garbled/ $TOKEN^done,bkpt={number="8",type="breakpoint",addr=
host: on /-break-insert .*single/ $TOKEN^done,bkpt={number="9",type="breakpoint"}
i1>+ 1-break-insert multi => 1^done,bkpt={number="1",type="breakpoint",addr="<MULTIPLE>"},{number="1.1",addr="0x1",thread-id="1"},{number="1.2",addr="0x2"}
i1>+ 2-break-insert garbled => 2^error,msg="Internal error"
i1: 2-break-delete 8
i1>+ 3-break-insert single => 3^done,bkpt={number="2",type="breakpoint"}
>+ 4-break-delete 2 => 4^done
>+ 5-break-delete 1 => 5^done
i1: 4-break-delete 9
i1: 5-break-delete 7
stderr: &"Syntax Error: syntax error at \"\""
log: Deleting unread breakpoint 8 in: i1
