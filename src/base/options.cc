#include "base/options.h"

#include <boost/regex.hpp>

#include "base/compat.h"
#include "base/log.h"

bool matchOption(const std::string& argument, std::string& name, std::string& value) {
  // "|" inside the brackets is an ordinary character; \z is the very end of the text.
  static const boost::regex pattern(R"(^\s*--?([a-z|A-Z|_]+)(?:=(\S+))?\s*\z)");
  boost::smatch match;
  if (!boost::regex_search(argument, match, pattern)) return false;
  name = match[1].str();
  value = match[2].matched ? match[2].str() : std::string();
  return true;
}

void parseOptions(const char** argv, Options& options, std::ostream& log) {
  for (const char** arg = argv; *arg != nullptr; ++arg) {
    LOG_TO(log) << "argv: " << *arg;
    std::string name;
    std::string value;
    if (!matchOption(*arg, name, value)) continue;
    // gdb also takes "-i mi", with the value apart; so does its mode here.
    if (value.empty() && (name == "interpreter" || (name == "i" && gdbCompatible()))) {
      // The value is the next element, which is consumed without being examined.
      if (*++arg == nullptr) return;
      value = *arg;
    }
    options[name] = value;
    LOG_TO(log) << "options[" << name << "]=" << value;
  }
}
