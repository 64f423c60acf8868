# Without a host engine configured the program says so on standard error only, and ends.
env: ZUBC_HOST=
end
log: ZUBC_HOST is not defined.
log: Failed to spawn Zub.
stderr: Error: ZUBC_HOST is not defined.
