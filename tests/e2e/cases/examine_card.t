# Threads, groups, registers and variable objects across host engine i1 and card engine vek1,
# malformed answers too.
in-process
cards: 0=127.0.1.10
spawn: vek 0 127.0.1.10
host: on#1 -gdb-set =thread-created,id="1",group-id="i1",pid="42" ;; $TOKEN^done
host: on#1 -thread-info $TOKEN^done,threads=[{id="1",state="stopped"},{id="5"},"junk",{name="x"}]
host: on#2 -thread-info $TOKEN^done,threads=[{id="1",core="3"}]
host: on#3 -thread-info $TOKEN^error,msg="no thread"
host: on#1 -list-thread-groups $TOKEN^done,groups=[{id="i1",type="process"}]
host: on#2 -list-thread-groups $TOKEN^done,count="0"
host: on -data-list-register-names $TOKEN^done,register-names=["rax","rbx",{},"rcx","rdx","","rip","xmm0"]
host: on#3 -data-list-register-names $TOKEN^done,names=[]
host: on -data-list-register-values $TOKEN^done,register-values=[{number="1",value="0xb"},{number="0",value="0xa"},{number="44"},"bad",{value="1"}]
card: on#1 -gdb-set =thread-created,id="1",group-id="vek1",pid="7" ;; $TOKEN^done
card: on#1 -thread-info $TOKEN^done,threads=[{id="1",state="stopped"}]
card: on#2 -thread-info $TOKEN^done,threads=[{id="1"}]
card: on#1 -list-thread-groups $TOKEN^done,groups=[{id="i1",type="process",pid="7"}]
card: on#2 -list-thread-groups $TOKEN^error,msg="no"
card: on#1 -data-list-register-values $TOKEN^done,register-values=[{number="60",value="0x3c"}]
card: on#2 -data-list-register-values $TOKEN^done,register-values=[{number="5",value="0x5"}]
card: on#3 -data-list-register-values $TOKEN^done,register-values="none"
card: on -var-create $TOKEN^done,name="var0",numchild="1",value="{...}",type="struct s",thread-id="1"
card: on -var-list-children $TOKEN^done,numchild="1",children=[child={name="var0.a.b",exp="b",numchild="0",type="int"}]
card: on -data-evaluate-expression $TOKEN^done,value="7"
# Threads become known: host thread 1 is user thread 1, card thread 1 user thread 2.
> 1-gdb-set --thread-group i1 a
< =thread-group-started,id="i1",type="process",pid="42"
< =thread-created,id="1",group-id="i1",pid="42"
<+ 1^done
> 2-gdb-set --thread-group vek1 b
< =thread-created,id="2",group-id="i1",pid="7"
<+ 2^done
# Groups: the host's only. Of several ids the last counts; i1 holds the card's threads too.
>+ 3-list-thread-groups => 3^done,groups=[{id="i1",pid="42",type="process"}]
>+ 4-list-thread-groups i2 i1 => 4^done,threads=[{id="1",state="stopped"},{id="2",state="stopped"},{id="3"}]
i1: 1-gdb-set  a
i1: 4-thread-info
i1>+ 5-thread-info 1 => 5^done,threads=[{id="1",core="local"}]
>+ 6-thread-info 2 => 6^done,threads=[{id="2",core="vek0"}]
i1>+ 7-thread-info 1 => 7^done,threads=[]
>+ 8-thread-info => 8^error,msg="Command not implemented"
>+ 9-list-thread-groups --available => 9^done,groups=[{id="i1",type="process"},{id="i1",type="process",pid="7"}]
>+ 10-list-thread-groups --available => 10^done,groups=[]
# Registers in the card's numbering: 3 is rbx (the host's 1), 60 a card vector register. The
# first request fetches the names itself; requests the host cannot answer never reach it.
>+ 11-data-list-register-values --thread 1 x 3 60 => 11^done,register-values=[{number="3",value="0xb"},{number="60",value="<undefined>"}]
>+ 12-data-list-register-values --thread 1 x 60 => 12^done,register-values=[{number="60",value="<undefined>"}]
>+ 13-data-list-register-values --thread 1 x 98 => 13^error,msg="Invalid register: 98"
>+ 14-data-list-register-values --thread 1 x 99999999999 => 14^error,msg="Internal error"
>+ 15-data-list-register-values --thread 1 x -1 => 15^error,msg="Internal error"
>+ 16-data-list-register-values --thread 2 x 60 => 16^done,register-values=[{number="60",value="0x3c"}]
>~ 17-data-list-register-values --thread 2 x => 17\^done,register-values=\[(\{number="\d",value="<undefined>"\},){5}\{number="5",value="0x5"\}(,\{number="\d+",value="<undefined>"\}){92}\]
>+ 18-data-list-register-values --thread 2 x => 18^error,msg="Internal error"
>~ 19-data-list-register-names --thread-group vek1 => 19\^done,register-names=\["rax","rdx","rcx","rbx"(,"[a-z0-9]+"){93},"k7"\]
i1: 9-list-thread-groups
i1: 10-list-thread-groups
i1: -data-list-register-names $
i1: 11-data-list-register-values --thread 1 x 1
i1: 19-data-list-register-names $
i1>+ 20-data-list-register-names => 20^error,msg="Internal error"
# A variable object in a card thread: the card engine owns it and becomes current.
>+ 21-var-create --thread 2 - * x => 21^done,name="var0",numchild="1",value="{...}",type="struct s",thread-id="2"
vek1: 2-gdb-set  b
vek1: 4-thread-info
vek1: 6-thread-info 1
vek1: 9-list-thread-groups
vek1: 10-list-thread-groups
vek1: 16-data-list-register-values --thread 1 x 60
vek1: 17-data-list-register-values --thread 1 x
vek1: 18-data-list-register-values --thread 1 x
vek1: 21-var-create --thread 1 var0 * x
vek1>+ 22-var-list-children --all-values var0.a => 22^done,numchild="1",children=[child={name="var0.a.b",exp="b",numchild="0",type="int"}]
vek1>+ 23-data-evaluate-expression x => 23^done,value="7"
log: Skipping record that is not a MiMap.
log: Skipping record without 'id'.
log: Filed 'threads' not found (msg="no thread").
log: Field 'groups' not found in: count="0"
log: skipping result (error) from vek1.
log: Warning: regId is not a string.
log: Skipping bad register id: 44
log: Skipping non-map element.
log: Skipping register element without number.
2* log: Matching register list failed.
log: Reading register values failed.
log: Failed to find 'register-names'
i1: <SIGINT>
i1: -gdb-exit
vek1: <SIGINT>
vek1: -gdb-exit
