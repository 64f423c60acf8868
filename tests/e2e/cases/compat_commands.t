# The gdb-compatible mode over stock gdb: the commands clients send that the ordinary table
# lacks; the breakpoint list hides the offload breakpoint but it takes a user number.
env: ZUBC_HOST=gdb
env: WEM_COMPAT=gdb
args: --interpreter=mi $SAMPLE
>~ 1-list-features => 1\^done,features=\[(?!.*(frozen-varobjs|python)).*"data-read-memory-bytes".*\]
> 2-gdb-version
<~ ~"GNU gdb .*
<...+ 2\^done
>+ 4-exec-arguments a b => 4^done
>+ 5-gdb-show args => 5^done,value="a b"
>~ 7-file-list-exec-source-files => 7\^done,files=\[\{file=".*sample\.c".*\]
>~ 8-file-list-exec-source-file => 8\^done,line="\d+",file=".*sample\.c".*
>~ 9-symbol-info-functions --name square => 9\^done,symbols=\{debug=\[\{filename=".*sample\.c",.*name="square".*
>~ 10-break-insert sum_of_squares => 10\^done,bkpt=\{number="1",.*
> 11-exec-run
<... 11\*stopped,reason="breakpoint-hit",.*bkptno="1".*
>+ 12-break-watch total => 12^done,wpt={number="3",exp="total"}
>~ 13-break-list => 13\^done,BreakpointTable=\{nr_rows="2",.*body=\[bkpt=\{number="1",.*times="1".*\},bkpt=\{number="3",type="hw watchpoint",.*\}\]\}
>+ 14-stack-list-variables --simple-values => 14^done,variables=[{name="count",arg="1",type="int",value="2"},{name="total",type="int",value="0"}]
>~ 15-thread-select 1 => 15\^done,new-thread-id="1",frame=\{level="0",.*func="sum_of_squares".*
>+ 16-stack-select-frame 1 => 16^done
>~ 17-stack-info-frame => 17\^done,frame=\{level="1",.*func="main".*
>+ 18-data-write-memory-bytes &round 07000000 => 18^done
>~ 18-data-read-memory-bytes &round 4 => 18\^done,memory=\[\{begin="0x[0-9a-f]+",offset="0x0+",end="0x[0-9a-f]+",contents="07000000"\}\]
>+ 19-thread-select => 19^error,msg="-thread-select: USAGE: threadnum."
> 20-break-insert --source nofile.c --line 3
< &"No source file named nofile.c.\n"
<~+ 20\^done,bkpt=\{number="\d+",.*pending="-source nofile.c -line 3".*\}
