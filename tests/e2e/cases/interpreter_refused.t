# Without an MI interpreter ("-i" takes no separate value) the program refuses on standard
# error, starts no engine and exits 0.
unannounced
args: -i mi
end
stderr: Error: Interpreter mode not supported.
log: argv: -i
log: argv: mi
