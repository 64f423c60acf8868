#pragma once
#include <string>

// One environment value with a default. The variable is read once, when the object is built; a
// variable that is unset or empty leaves the default. Keep every EnvVar a function-local static
// so the environment is read at first use and the value stays for the life of the process:
//   static const EnvVar logPath("WEM_LOG", "");
class EnvVar {
 public:
  EnvVar(const std::string& name, const std::string& defaultValue);

  const std::string& value() const { return value_; }

 private:
  std::string value_;
};
