#pragma once
#include <boost/regex.hpp>
#include <exception>
#include <initializer_list>
#include <string>

// Shared steps of the matchers. The library signals a match that grows beyond its memory or
// complexity bounds with an exception; every step here turns that into "no match" so that no
// line, however large, can end the program.

// Leftmost search; false on no match or on an exception.
inline bool searchText(const boost::regex& re, std::string const& text, boost::smatch& m) {
  try {
    return boost::regex_search(text, m, re);
  } catch (const std::exception&) {
    return false;
  }
}

// Search with captures: on success group i goes to outs[i-1] ("" for a group that took no part);
// on failure the outputs are untouched.
inline bool searchGroups(const boost::regex& re, std::string const& text,
                         std::initializer_list<std::string*> outs) {
  boost::smatch m;
  if (!searchText(re, text, m)) return false;
  int group = 1;
  for (std::string* out : outs) *out = m[group++].str();
  return true;
}

// True only if the pattern matches the entire text.
inline bool matchWhole(const boost::regex& re, std::string const& text) {
  try {
    return boost::regex_match(text, re);
  } catch (const std::exception&) {
    return false;
  }
}

// Every match replaced by the format `replacement`; an unchanged copy when nothing matches or the
// library gives up.
inline std::string replaceAll(const boost::regex& re, std::string const& text,
                              std::string const& replacement) {
  try {
    return boost::regex_replace(text, re, replacement);
  } catch (const std::exception&) {
    return text;
  }
}
