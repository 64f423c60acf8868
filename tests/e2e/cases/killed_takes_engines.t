# Killing the program ends its engines too, even one that ignores the end of its input.
host: on EOF @noprompt
<+ =thread-group-added,id="i1"
! SIGKILL
exit -1
