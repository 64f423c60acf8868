#include "base/env_var.h"

#include <cstdlib>

EnvVar::EnvVar(const std::string& name, const std::string& defaultValue) : value_(defaultValue) {
  const char* text = std::getenv(name.c_str());
  if (text != nullptr && *text != '\0') value_ = text;
}
