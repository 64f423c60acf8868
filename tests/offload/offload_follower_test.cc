#include "offload/offload_follower.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "commands/inferior_cmds.h"
#include "mi/mi_parser.h"
#include "session/breakpoint_table.h"

namespace {

// The session as a script: every nested command is recorded and answered with the first reply
// whose key occurs in its line ("done,value=..." : the class, then the results part).
class ScriptedPort : public OffloadPort {
 public:
  std::ostream& log() override { return logText; }
  void console(const std::string& text) override { consoleText += text; }
  bool runMuted(MiCmd& cmd) override {
    sent += cmd.cmdText;
    for (const auto& [key, reply] : replies)
      if (cmd.cmdText.find(key) != std::string::npos) return answer(cmd, reply);
    return true;
  }
  bool removeEngine(const std::string& group) override {
    sent += "remove " + group + "\n";
    return true;
  }
  bool startCardEngine(const char** argv, std::string& group) override {
    for (const char** arg = argv + 1; *arg; ++arg) sent += std::string(*arg) + " ";
    sent += "\n";
    group = "vek1";
    return engineStarts;
  }
  const BreakPointTable& breakpoints() const override { return table; }
  const std::map<std::string, std::string>& cardAddresses() const override { return cards; }

  std::vector<std::pair<std::string, std::string>> replies;
  std::map<std::string, std::string> cards{{"0", "127.0.1.1"}};
  BreakPointTable table;
  bool engineStarts = true;
  std::ostringstream logText;
  std::string consoleText, sent;

 private:
  static bool answer(MiCmd& cmd, const std::string& reply) {
    const std::string resultClass = reply.substr(0, reply.find(','));
    if (auto* attach = dynamic_cast<TargetAttachCmd*>(&cmd)) {
      attach->resultClass = resultClass;
      return true;
    }
    auto& simple = dynamic_cast<SimpleMiCmd&>(cmd);
    simple.resultClasses["i1"] = resultClass;
    MiRecordPtr record;
    if (reply.size() > resultClass.size() &&
        parseMiRecord(reply.substr(resultClass.size() + 1), record))
      simple.results.insert_or_assign("i1", *record->toMiMap());
    return true;
  }
};

const char kCard0[] = "done,memory=[{addr=\"0x601040\",data=[\"0\"]}]";
const char kPid[] = "done,memory=[{addr=\"0x601044\",data=[\"4242 x\"]}]";
const char kName[] = "done,value=\"\\\"card.out\\\"\"";

struct Case {
  std::vector<std::pair<std::string, std::string>> replies;
  bool engineStarts;
  bool attached;
  std::string console;  // the lines after "Attaching VEK process...", each ending in "|"
  std::string sent;     // the nested commands and the engine's arguments
};

TEST(OffloadFollower, EachStepOfTheAttachSaysHowFarItGot) {
  const std::string reads =
      "-data-read-memory --thread-group i1 &__zub_target_id u 4 1 1\n"
      "-data-read-memory --thread-group i1 &__zub_target_so_pid u 4 1 1\n"
      "-data-evaluate-expression --thread-group i1 __zub_target_exe_name \n";
  const std::string start =
      reads +
      "-wem-launch=1 -wem-cardid=0 -i=mi -tco -rconnect=tcpip:127.0.1.1:2000 \n"
      "-gdb-set solib-search-path --thread-group vek1 "
      "/tmp/ihk_procs/1/4242/load_lib::/usr/linux-q8ta-4.7/linux-q8ta/lib64\n"
      "attach --thread-group vek1 4242 /tmp/ihk_procs/1/4242/card.out\n";
  const std::string found =
      "VEK card number is 0.|VEK Pid is 4242.|VEK local file is "
      "\"/tmp/ihk_procs/1/4242/card.out\".|VEK card address is \"127.0.1.1\".|";
  const Case cases[] = {
      {{{"target_id", "error,msg=\"Cannot access memory\""}},
       true,
       false,
       "Failed to retrieve VEK card number.|",
       "-data-read-memory --thread-group i1 &__zub_target_id u 4 1 1\n"},
      {{{"target_id", kCard0}, {"pid", "done,memory=[{data=[]}]"}},
       true,
       false,
       "VEK card number is 0.|Failed to retrieve VEK pid.|",
       "-data-read-memory --thread-group i1 &__zub_target_id u 4 1 1\n"
       "-data-read-memory --thread-group i1 &__zub_target_so_pid u 4 1 1\n"},
      {{{"target_id", kCard0}, {"pid", kPid}, {"eval", "done,value=\"\\\"\\\"\""}},
       true,
       false,
       "VEK card number is 0.|VEK Pid is 4242.|Failed to retrieve VEK local file.|",
       reads},
      {{{"target_id", "done,memory=[{data=[\"1\"]}]"}, {"pid", kPid}, {"eval", kName}},
       true,
       false,
       "VEK card number is 1.|VEK Pid is 4242.|VEK local file is "
       "\"/tmp/ihk_procs/2/4242/card.out\".|Failed to retrieve VEK card address.|",
       reads},
      {{{"target_id", kCard0}, {"pid", kPid}, {"eval", kName}},
       false,
       false,
       (found + "Failed to spawn Zub.|"),
       (reads + "-wem-launch=1 -wem-cardid=0 -i=mi -tco -rconnect=tcpip:127.0.1.1:2000 \n")},
      {{{"target_id", kCard0}, {"pid", kPid}, {"eval", kName}, {"attach", "error,msg=\"ptrace\""}},
       true,
       false,
       (found + "Attach command failed.|"),
       (start + "remove vek1\n")},
      {{{"target_id", kCard0}, {"pid", kPid}, {"eval", kName}, {"attach", "done"}},
       true,
       true,
       (found + "VEK process is attached.|"),
       start},
  };
  for (const Case& c : cases) {
    ScriptedPort port;
    port.replies = c.replies;
    port.engineStarts = c.engineStarts;
    std::string group;
    EXPECT_EQ(OffloadFollower(port).attachVekProcess("i1", group), c.attached) << c.console;
    EXPECT_EQ(group, c.attached ? "vek1" : "");
    std::string console = port.consoleText;
    for (size_t at; (at = console.find('\n')) != std::string::npos;) console.replace(at, 1, "|");
    EXPECT_EQ(console, "Attaching VEK process...|" + c.console);
    EXPECT_EQ(port.sent, c.sent) << c.console;
  }
}

TEST(OffloadFollower, TheNewEngineGetsEveryBreakpointUnderItsNumberAndState) {
  ScriptedPort port;
  port.table.breakpointCmds = {{"1", "1-break-insert main\n"}, {"2", "2-break-insert -d k\n"}};
  port.table.disabledBreakpoints = {"2"};
  OffloadFollower(port).copyBreakpoints();
  EXPECT_EQ(port.sent,
            "-break-delete 1\n1-break-insert main\n"
            "-break-delete 2\n2-break-insert -d k\n-break-disable 2\n");
}

}  // namespace
