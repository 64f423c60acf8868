#include "match/output_matchers.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct Case {
  std::string text;
  bool found;
  std::string group;
};

template <class Matcher>
void expectCases(const char* name, Matcher matcher, const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    std::string out = "untouched";
    EXPECT_EQ(matcher(c.text, out), c.found) << name << " on [" << c.text << "]";
    EXPECT_EQ(out, c.found ? c.group : "untouched") << name << " on [" << c.text << "]";
  }
}

void expectWhole(const char* name, bool (*matcher)(std::string const&),
                 const std::vector<std::pair<std::string, bool>>& cases) {
  for (const auto& [text, fits] : cases)
    EXPECT_EQ(matcher(text), fits) << name << " on [" << text << "]";
}

}  // namespace

TEST(OutputMatchers, ResultRecordsAndNotifications) {
  expectCases("matchMiResultType", matchMiResultType,
              {{"12^done,bkpt={number=\"1\"}\n", true, "done"},
               {"^running\n", true, "running"},
               {"^connected\n", true, "connected"},
               {"7^error,msg=\"x\"\n", true, "error"},
               {"^exit\n", true, "exit"},
               {"^doneness\n", true, "done"},
               {"=thread-created\n^done\n", true, "done"},
               {"*stopped,reason=\"x\"\n", false, ""},
               {"12 ^done\n", false, ""},
               {"", false, ""}});
  expectCases("matchMiRecord", matchMiRecord,
              {{"^done\n", false, ""},
               {"5^done,a=\"1\",b=\"2\"\n", true, "a=\"1\",b=\"2\""},
               {"^done,x=\"a,b\"\n", true, "x=\"a,b\""},
               {"^done,a=1", false, ""},
               {"^done,a=1\nb=2\n", true, "a=1\nb=2"},  // up to the LAST newline
               {"^done,\n", true, ""}});
  expectCases("matchMiEvent", matchMiEvent,
              {{"=thread-group-added,id=\"i1\"\n", true, "thread-group-added"},
               {"=Thread_1-x,a=1\n", true, "Thread_1-x"},
               {"=\n", true, ""},
               {"*stopped\n", false, ""},
               {"~\"a\"\n=library-loaded\n", true, "library-loaded"}});
}

TEST(OutputMatchers, WholeLineClasses) {
  expectWhole("matchMiOut", matchMiOut,
              {{"~\"hello\\n\"\n", true},
               {"~\"a\"", true},
               {"~\"a\" \t\r\n", true},
               {"~\"a\" x\n", false},
               {"~\"\n", false},
               {"~\"a\"\nmore\"\n", true},  // "." runs across newlines
               {"@\"a\"\n", false},
               {"", false}});
  expectWhole("matchGdbPrompt", matchGdbPrompt,
              {{"(gdb)\n", true},
               {"(gdb) \n", true},
               {"(gdb)", true},
               {"(gdb) x\n", false},
               {" (gdb)\n", false},
               {"(gdb", false}});
  expectWhole("matchMiStopped", matchMiStopped,
              {{"5*stopped,reason=\"exited\"\n", true},
               {"*stopped\n", true},
               {"*stopped\nanything\n", true},
               {"*running,thread-id=\"all\"\n", false},
               {"5 *stopped\n", false},
               {"", false}});
  const std::string unexpected =
      "~\"This is an unexpected condition and may indicate the presence of a defect";
  expectWhole(
      "matchUnexpectedCondition", matchUnexpectedCondition,
      {{unexpected + ".\\n\"\n", true},
       {unexpected + "!", true},  // the final full stop is any character
       {unexpected, false},
       {"~\"x\"\n" + unexpected + ".\n", true},
       {"&\"This is an unexpected condition and may indicate the presence of a defect.", false}});
}

TEST(OutputMatchers, RconnectValueHasExactlyThreeFields) {
  struct Fields {
    std::string text;
    bool found;
    std::string first, second, third;
  };
  const std::vector<Fields> cases = {
      {"tcp:vek0:2000", true, "tcp", "vek0", "2000"},
      {"tcp:vek0:2000\n", true, "tcp", "vek0", "2000\n"},  // "[^:]" takes the newline too
      {"a:b:c\nd:e", true, "a", "b", "c"},
      {"a:b", false, "", "", ""},
      {"a:b:c:d", false, "", "", ""},
      {"a::c", false, "", "", ""},
      {"", false, "", "", ""},
  };
  for (const Fields& c : cases) {
    std::string a = "u", b = "u", d = "u";
    EXPECT_EQ(matchRconnectValue(c.text, a, b, d), c.found) << c.text;
    if (c.found)
      EXPECT_EQ(std::vector<std::string>({a, b, d}),
                std::vector<std::string>({c.first, c.second, c.third}))
          << c.text;
    else
      EXPECT_EQ(a + b + d, "uuu") << c.text;
  }
}

TEST(OutputMatchers, CardDiscoveryListings) {
  expectCases("matchMountSysfs", matchMountSysfs,
              {{"sysfs on /sys type sysfs (rw,nosuid)\n", true, "/sys"},
               {"sysfs on /sys type sysfs (rw)\nsysfs on /x type sysfs (rw)\n", true,
                "/sys type sysfs (rw)\nsysfs on /x"},
               {"sysfs on /sys type sysfs", false, ""},
               {"proc on /proc type proc (rw)\n", false, ""}});
  expectCases("matchCardIpAddress", matchCardIpAddress,
              {{"IPADDR=10.0.0.1\n", true, "10.0.0.1\n"},
               {"IPADDR='1.2.3.4'\nNETMASK=x\n", true, "'1.2.3.4'\nNETMASK=x\n"},
               {"#IPADDR=\n", true, "\n"},
               {"ADDR=1\n", false, ""}});

  struct Cards {
    std::string text;
    std::list<std::string> numbers;
  };
  const std::vector<Cards> cases = {
      {"/opt/ulvax/vek/filesystem/vek0 /opt/ulvax/vek/filesystem/vek1\n", {"0", "1"}},
      {"/opt/ulvax/vek/filesystem/vek*\n", {}},
      {"", {}},
      {"  \n\t\n ", {}},
      {"a/vek12/vek3 b /vek7x\n", {"12", "7"}},
      {"/vek1\t/vek2\n/vek3", {"1", "2", "3"}},
      {"/vek1 /vek1\n", {"1", "1"}},
  };
  for (const Cards& c : cases) {
    std::list<std::string> numbers = {"old"};
    EXPECT_TRUE(matchEchoCardNums(c.text, numbers)) << c.text;
    EXPECT_EQ(numbers.front(), "old");  // appended, never replaced
    numbers.pop_front();
    EXPECT_EQ(numbers, c.numbers) << c.text;
  }
}
