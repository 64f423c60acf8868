// The two matchers that need every repetition of a group are checked against plain procedural
// references of their patterns on many random short texts drawn from the characters that matter
// (format letters, "|", blanks of every kind, line separators, digits, "/vek").

#include <gtest/gtest.h>

#include <boost/regex.hpp>
#include <cctype>
#include <climits>
#include <optional>
#include <random>
#include <vector>

#include "match/cmd_matchers.h"
#include "match/output_matchers.h"

namespace {

bool isBlank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// True if "\s*$" matches at `pos` (the library decides what counts as a line end).
bool blanksThenLineEnd(std::string const& text, size_t pos) {
  static const boost::regex tail(R"(\s*$)");
  boost::smatch m;
  return boost::regex_search(text.cbegin() + pos, text.cend(), m, tail,
                             boost::match_continuous | boost::match_prev_avail);
}

// "[x|o|t|d|r|N](\s+[\d]+)*\s*$" searched by hand: the leftmost format letter, then as many
// blank-and-digit runs as there are, backing off one run at a time until a line end follows.
std::optional<std::list<unsigned int>> referenceRegisterList(std::string const& text) {
  for (size_t start = 0; start < text.size(); ++start) {
    if (std::string("xotdrN|").find(text[start]) == std::string::npos) continue;
    std::vector<std::pair<size_t, size_t>> runs;  // digits of each repetition
    size_t at = start + 1;
    while (true) {
      size_t digits = at;
      while (digits < text.size() && isBlank(text[digits])) ++digits;
      size_t end = digits;
      while (end < text.size() && isDigit(text[end])) ++end;
      if (digits == at || end == digits) break;
      runs.emplace_back(digits, end);
      at = end;
    }
    for (size_t kept = runs.size() + 1; kept-- > 0;) {
      if (!blanksThenLineEnd(text, kept ? runs[kept - 1].second : start + 1)) continue;
      std::list<unsigned int> numbers;
      for (size_t i = 0; i < kept; ++i) {
        unsigned long long number =
            std::stoull(text.substr(runs[i].first, runs[i].second - runs[i].first));
        if (number > UINT_MAX)
          return std::nullopt;  // documented: a number beyond unsigned int fails the match
        numbers.push_back(number);
      }
      return numbers;
    }
  }
  return std::nullopt;
}

// "^(\s*\S+)*\s*$" splits the text into words (each with the blanks before it); every word
// contributes the digits of its first "/vek<digits>".
std::list<std::string> referenceCardNumbers(std::string const& text) {
  std::list<std::string> numbers;
  size_t at = 0;
  while (true) {
    size_t word = at;
    while (word < text.size() && isBlank(text[word])) ++word;
    if (word == text.size()) return numbers;
    size_t end = word;
    while (end < text.size() && !isBlank(text[end])) ++end;
    for (size_t vek = text.find("/vek", word); vek != std::string::npos && vek + 4 < end;
         vek = text.find("/vek", vek + 1)) {
      size_t digitsEnd = vek + 4;
      while (digitsEnd < end && isDigit(text[digitsEnd])) ++digitsEnd;
      if (digitsEnd > vek + 4) {
        numbers.push_back(text.substr(vek + 4, digitsEnd - vek - 4));
        break;
      }
    }
    at = end;
  }
}

std::string randomText(std::mt19937& rng, const std::vector<std::string>& pieces) {
  std::uniform_int_distribution<size_t> length(0, 30), pick(0, pieces.size() - 1);
  std::string text;
  for (size_t n = length(rng); n > 0; --n) text += pieces[pick(rng)];
  return text;
}

}  // namespace

TEST(Repetitions, RegisterListYieldsEveryRepetitionInOrder) {
  std::mt19937 rng(20240611);
  const std::vector<std::string> pieces = {"x",  "|",  "N",  "a", " ",  " ", "\t", "\n",
                                           "\r", "\f", "\v", "1", "23", "0", "7"};
  int matched = 0;
  for (int i = 0; i < 50000; ++i) {
    std::string text = randomText(rng, pieces);
    std::list<unsigned int> numbers;
    bool found = matchRegisterList(text, numbers);
    auto expected = referenceRegisterList(text);
    ASSERT_EQ(found, expected.has_value()) << "[" << text << "]";
    if (found) {
      ASSERT_EQ(numbers, *expected) << "[" << text << "]";
      matched += numbers.size() > 1;
    }
  }
  EXPECT_GT(matched, 1000);  // the draw really exercises several repetitions
}

TEST(Repetitions, CardNumbersComeFromEveryWordInOrder) {
  std::mt19937 rng(7);
  const std::vector<std::string> pieces = {"/vek", "/vek", "/",  "vek", "1",  "23",
                                           "x",    " ",    "\t", "\n",  "\r", "*"};
  int several = 0;
  for (int i = 0; i < 50000; ++i) {
    std::string text = randomText(rng, pieces);
    std::list<std::string> numbers;
    ASSERT_TRUE(matchEchoCardNums(text, numbers)) << "[" << text << "]";
    ASSERT_EQ(numbers, referenceCardNumbers(text)) << "[" << text << "]";
    several += numbers.size() > 1;
  }
  EXPECT_GT(several, 1000);
}

TEST(Repetitions, ManyRepetitionsWithinTheLibraryBounds) {
  std::string registers = "-data-list-register-values x";
  std::string paths;
  std::list<unsigned int> expectedRegisters;
  std::list<std::string> expectedCards;
  for (unsigned int i = 0; i < 5000; ++i) {
    registers += "  " + std::to_string(i);
    expectedRegisters.push_back(i);
    paths += " /opt/ulvax/vek/filesystem/vek" + std::to_string(i);
    expectedCards.push_back(std::to_string(i));
  }
  std::list<unsigned int> numbers;
  ASSERT_TRUE(matchRegisterList(registers + "\n", numbers));
  EXPECT_EQ(numbers, expectedRegisters);
  std::list<std::string> cards;
  ASSERT_TRUE(matchEchoCardNums(paths + "\n", cards));
  EXPECT_EQ(cards, expectedCards);
}
