# gdb's mode: "--version" is the host engine's own, and the session does not start.
unannounced
env: WEM_COMPAT=gdb
env: ZUBC_HOST=gdb
args: --version -nx -q
<~ GNU gdb .*
<... There is NO WARRANTY.*
end
