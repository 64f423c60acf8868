# An engine's report of an internal failure is passed on up to its prompt and ends the session;
# the engine is interrupted and asked to exit.
host: on -gdb-set ~"This is an unexpected condition and may indicate the presence of a defect.\n" ;; ~"Further details.\n" ;; &"more\n" ;; @prompt ;; ~"after the prompt: not shown\n"
i1> 4-gdb-set a
< ~"This is an unexpected condition and may indicate the presence of a defect.\n"
< ~"Further details.\n"
< &"more\n"
< ~"Quitting because of an internal error.\n"
end
i1: <SIGINT>
i1: -gdb-exit
log: 'checkOutputOfZubs' failed.
log: stopping the session.
