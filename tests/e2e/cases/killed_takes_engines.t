# Killing the program ends its engines too, even one that ignores the end of its input.
host: on EOF @noprompt
! SIGKILL
exit -1
