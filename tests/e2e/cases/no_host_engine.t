# Without a host engine the program says so on standard error and ends, after card discovery: a
# stub `mount` prints a long line, raw bytes and a mount point without a line end, and fails.
unannounced
env: ZUBC_HOST=
env: PATH=$DIR:/usr/bin:/bin
file: mount #!/bin/sh
file: mount head -c 300000 /dev/zero | tr '\0' x
file: mount printf '\n\001\000b\nsysfs on $DIR type sysfs (rw)'
file: mount exit 3
end
log: Executing command: mount -t sysfs
log: Command output: {x*300000}
log: Command output: \x01\x00b
log: Command output: sysfs on $DIR type sysfs (rw)
log: Executing command: echo /opt/ulvax/vek/filesystem/vek*
log: ZUBC_HOST is not defined.
log: Failed to spawn Zub.
stderr: Error: ZUBC_HOST is not defined.
