# A terminate request waits for a deaf engine to end; the user's SIGINT meanwhile kills it at once
# (it would end by itself 1.5 s after its start, before the grace period is over).
host: banner @deaf ;; @after 1500 @exit 0
>+ 1-stack-info-depth => 1^done
! SIGTERM
sleep 300
! SIGINT
exit 0
log: Killing i1, which has not ended.
