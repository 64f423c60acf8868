#pragma once

// True when WEM_COMPAT=gdb: the program then answers as stock gdb would wherever its own answer
// leaves a common MI client stuck. Read once, at first use.
bool gdbCompatible();
