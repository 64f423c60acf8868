# A user who stops reading while an engine floods fills every queue on the way; a terminate
# request still ends the session, and the engine with it.
host: on -gdb-set @flood 300000 &"flood line\n" ;; $TOKEN^done
> 8-gdb-set b
sleep 500
! SIGTERM
exit 0
log: The user does not read; dropped what was left for the user.
