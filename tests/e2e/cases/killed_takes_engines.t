# Killing the program ends its engines too, even one deaf to "-gdb-exit", signals and end of input.
host: banner @deaf
! SIGKILL
exit -1
