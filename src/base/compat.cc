#include "base/compat.h"

#include "base/env_var.h"

bool gdbCompatible() {
  static const EnvVar compat("WEM_COMPAT", "");
  return compat.value() == "gdb";
}
