# Without a host engine configured nothing is said and the program ends.
env: ZUBC_HOST=
eof
exit 0
log: ZUBC_HOST is not defined.
log: Failed to spawn Zub.
