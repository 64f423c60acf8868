# Variable objects, data and register commands on one host engine, no card; a log file that
# cannot be created leaves the program working.
env: WEM_LOG=$DIR/missing/wem.log
host: on#1 -var-create $TOKEN^done,name="var0",numchild="2",value="{...}",type="struct point",thread-id="1"
host: on#2 -var-create $TOKEN^error,msg="-var-create: unable to create variable object"
host: on#3 -var-create $TOKEN^done,name="var1",numchild="2",value="{...}",type="struct point",thread-id="1"
host: on -var-list-children $TOKEN^done,numchild="0",has_more="0"
host: on -var-delete $TOKEN^error,msg="Variable object not found"
host: on -data-disassemble $TOKEN^done
host: on -data-list-register-names $TOKEN^done,register-names=["rax","rbx"]
host: on -data-list-register-values $TOKEN^done,register-values=[{number="7",value="0x7"}]
# Automatic names count from var0 and skip names in use; a refused create frees its name;
# names are unique.
>+ 1-var-create - * pt => 1^done,name="var0",numchild="2",value="{...}",type="struct point",thread-id="1"
i1: 1-var-create var0 * pt
i1>+ 2-var-create var1 * nosuch => 2^error,msg="-var-create: unable to create variable object"
i1>+ 3-var-create var1 * pt => 3^done,name="var1",numchild="2",value="{...}",type="struct point",thread-id="1"
>+ 4-var-create var1 * pt => 4^error,msg="Name is already in use: var1."
>+ 5-var-create --thread-group i2 - * pt => 5^error,msg="Invalid thread-group: i2"
>+ 6-var-create --thread 9 - * pt => 6^error,msg="Invalid thread: 9"
>+ 7-var-create => 7^error,msg="Syntax error"
# Children go where their root lives; a deleted root takes its children with it.
i1>+ 8-var-list-children --simple-values var1.x => 8^done,numchild="0",has_more="0"
>+ 9-var-update * => 9^error,msg="Command not implemented"
>+ 10-var-evaluate-expression => 10^error,msg="Syntax error"
>+ 11-var-info-type nosuch => 11^error,msg="Invalid variable: nosuch"
>+ 14-var-create --thread-group i1 - * y => 14^done
i1: 14-var-create  var2 * y
i1>+ 12-var-delete var1 => 12^error,msg="Variable object not found"
>+ 13-var-list-children var1.x => 13^error,msg="Invalid variable: var1"
# A disassembly without a record is an error, other data commands pass a bare "^done" on.
i1>+ 15-data-disassemble -s 0 -e 4 -- 0 => 15^error,msg="Internal error"
i1>+ 16-data-evaluate-expression 1+1 => 16^done
>+ 17-data-read-memory --thread 7 0 x 4 1 1 => 17^error,msg="Invalid thread: 7"
# Without a card, register commands pass through unchanged, whatever numbers they carry.
i1>+ 18-data-list-register-names => 18^done,register-names=["rax","rbx"]
>+ 19-data-list-register-values x => 19^error,msg="Command not implemented"
i1>+ 20-data-list-register-values --thread 1 x 7 -1 99999999999 => 20^done,register-values=[{number="7",value="0x7"}]
>+ 21-thread-info 99 => 21^error,msg="Invalid thread: 99"
i1> 22-gdb-exit
< =thread-group-removed,id="i1"
< 22^exit
end
