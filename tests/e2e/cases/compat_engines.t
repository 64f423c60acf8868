# gdb's mode over a host and a card engine: "-thread-info" lists both engines' threads in user ids
# with the current thread; "-var-update *" joins both engines' changes.
in-process
env: WEM_COMPAT=gdb
cards: 0=127.0.1.1
spawn: vek 0 127.0.1.1
host: on -thread-info $TOKEN^done,threads=[{id="1",target-id="host"}],current-thread-id="1"
card: on -thread-info @sleep 200
card: on -thread-info $TOKEN^done,threads=[{id="1",target-id="card"}],current-thread-id="1"
host: on -var-update $TOKEN^done,changelist=[{name="var1",in_scope="true"}]
card: on -var-update $TOKEN^done,changelist=[{name="var2",in_scope="true"}]
<+ =thread-group-added,id="i1"
> 1-thread-info
<+ 1^done,threads=[{id="1",target-id="host"},{id="2",target-id="card"}],current-thread-id="1"
> 2-var-update --all-values *
<+ 2^done,changelist=[{name="var1",in_scope="true"},{name="var2",in_scope="true"}]
