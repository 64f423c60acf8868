# Stock gdb stopped at a breakpoint in the sample's helper thread, examined.
env: ZUBC_HOST=gdb
args: --interpreter=mi $SAMPLE
>~ 1-break-insert fill_point => 1\^done,bkpt=\{number="1",.*func="fill_point".*\}
> 2-exec-run
<... 2\^running
<+ *running,thread-id="all"
<... 2\*stopped,reason="breakpoint-hit",.*bkptno="1".*func="fill_point".*thread-id="1",.*
> 3-exec-next
<... 3\*stopped,reason="end-stepping-range",.*func="fill_point".*
>+ 4-var-create - * *p => 4^done,name="var0",numchild="2",value="{...}",type="struct point",thread-id="1",has_more="0"
>~ 5-var-list-children --all-values var0 => 5\^done,numchild="2",children=\[child=\{name="var0.x",exp="x",numchild="0",value="3",type="int",thread-id="\d+"\},child=\{name="var0.y",exp="y",numchild="0",value="0",type="int",thread-id="\d+"\}\],has_more="0"
> 6-exec-next
<... 6\*stopped,reason="end-stepping-range",.*
>+ 7-var-update --all-values var0 => 7^done,changelist=[{name="var0.y",value="9",in_scope="true",type_changed="false",has_more="0"}]
>+ 8-data-evaluate-expression p->x*p->y => 8^done,value="27"
>~ 9-data-read-memory &p->x x 4 1 2 => 9\^done,addr="0x[0-9a-f]+",nr-bytes="8",.*,memory=\[\{addr="0x[0-9a-f]+",data=\["0x00000003","0x00000009"\]\}\]
>~ 10-data-disassemble -s $pc -e "$pc + 1" -- 0 => 10\^done,asm_insns=\[\{address="0x[0-9a-f]+",func-name="fill_point",offset="\d+",inst=".+"\}\]
# Without a card, gdb's own register numbering: 0 is rax, 16 rip.
>~ 11-data-list-register-names => 11\^done,register-names=\["rax","rbx","rcx","rdx",.*"rip".*\]
>~ 12-data-list-register-values --thread 1 x 0 16 => 12\^done,register-values=\[\{number="0",value="0x[0-9a-f]+"\},\{number="16",value="0x[0-9a-f]+"\}\]
# The helper thread was seen first (user thread 1); the main thread waits for it.
>~ 13-list-thread-groups i1 => 13\^done,threads=\[\{id="1",target-id="Thread .*func="fill_point".*state="stopped",core="\d+"\},\{id="2",target-id="Thread .*state="stopped",core="\d+"\}\]
>~ 14-thread-info 2 => 14\^done,threads=\[\{id="2",target-id="Thread .*,state="stopped",core="local"\}\]
>+ 15-list-thread-groups => 15^done,groups=[{id="i1",type="process"}]
>+ 16-var-delete var0 => 16^done,ndeleted="3"
>+ 17-var-update var0.y => 17^error,msg="Invalid variable: var0"
