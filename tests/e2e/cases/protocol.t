# Engine records: tokens, streams, errors, unknown ids refused, records that do not parse logged
# and skipped, a megabyte record whole. The engine does not inherit the log file.
host: on -gdb-set @ifopen $DIR/wem.log $TOKEN^error,msg="the log is inherited" ;; 99^done,stale="1" ;; $TOKEN^done,fresh="1"
host: on -stack-info-depth ^done,depth="2"
host: on -environment-pwd ~"console text\n" ;; &"log text\n" ;; @text @"target text\n" ;; *running,thread-id="all" ;; not an MI line at all ;; $TOKEN^done
host: on -stack-list-frames $TOKEN^error,msg="No stack."
host: on -list-features $TOKEN^done,features=["frozen-varobjs","thread-info"]
host: on#1 -gdb-unset $TOKEN^done,value={unclosed
host: on#2 -gdb-unset $TOKEN^done,value={[*20000}
host: on#3 -gdb-unset \x01\xff garbage ;; ^bogus,x="1" ;; $TOKEN^error
host: on#4 -gdb-unset $TOKEN^done,big="{x*1048576}"
i1>+ 5-gdb-set confirm off => 5^done,fresh="1"
i1>+ 6-stack-info-depth => 6^done,depth="2"
i1> 7-environment-pwd
< &"log text\n"
< @"target text\n"
< *running,thread-id="all"
< not an MI line at all
<+ 7^done
i1>+ 1-stack-list-frames => 1^error,msg="No stack."
>+ 2-stack-info-depth --thread 9 => 2^error,msg="Invalid thread: 9"
>+ 3-stack-info-depth --thread-group i7 => 3^error,msg="Invalid thread-group: i7"
>+ 4-gdb-set --thread-group vek1 confirm off => 4^error,msg="Invalid thread-group: vek1"
>+ 8-stack-list-locals --thread 1 --thread-group i1 1 => 8^error,msg="Invalid thread: 1"
i1>+ 9-list-features --thread-group i9 => 9^done,features=["frozen-varobjs","thread-info"]
>+ 10-gdb-set --thread-group i1 confirm off => 10^done,fresh="1"
4* > 11-gdb-unset v
2* <+ 11^done
< \x01\xff garbage
< ^bogus,x="1"
<+ 11^error
<+ 11^done,big="{x*1048576}"
i1: 10-gdb-set  confirm off
4* i1: 11-gdb-unset v
log: Cmd Id does not match. Expected: 5; got: 99
log: Ignoring input (~"console text\n"
log: Igoring bad record (value={unclosed) from i1.
log: Igoring bad record (value={[*20000}) from i1.
