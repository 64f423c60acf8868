// Session state that no command shows yet: thread-group records of card engines, the current
// engine after a removal, and a thread announced without its group.
#include <gtest/gtest.h>

#include "support/session_rig.h"

namespace {

class Session : public testing::Test {
 protected:
  std::string group(const std::string& id) {
    std::string text;
    session.threadGroups.at(id).printToString(text);
    return text;
  }
  e2e::TempDir dir;
  SessionRig rig{dir.path()};
  MiSession& session = rig.session;
};

TEST_F(Session, CardGroupsAreLabelledWithKnownCardsAndRemovalRepairsTheCurrentEngine) {
  // Engines that end at once: a removal then only forgets and reaps them.
  dir.write("i.scn", "banner @exit 0\n");
  dir.write("vek.scn", "banner @exit 0\n");
  session.ipCardTable["127.0.1.5"] = "0";
  std::string host, known, unknown;
  ASSERT_TRUE(rig.spawnHost(host));
  ASSERT_TRUE(rig.spawnCard("0", "127.0.1.5", known));
  ASSERT_TRUE(rig.spawnCard("1", "127.0.1.9", unknown));
  EXPECT_EQ(rig.userOutput(), "=thread-group-added,id=\"i1\"\n(gdb)\n");  // cards are silent
  EXPECT_EQ(group("vek1"), "id=\"vek1\",type=\"process\",vek-card=\"0\"");
  EXPECT_EQ(group("vek2"), "id=\"vek2\",type=\"process\"");

  const char* noArgv[] = {nullptr};
  std::string none;
  EXPECT_FALSE(session.spawnZub(noArgv, "i", none));

  session.currentZubId = "vek1";
  EXPECT_FALSE(session.removeZubs({"i7", "vek1"}));
  EXPECT_EQ(session.currentZubId, "i1");
  EXPECT_TRUE(session.removeZubs({"vek2", "i1"}));
  EXPECT_EQ(session.currentZubId, "");
  EXPECT_EQ(rig.userOutput(), "=thread-group-removed,id=\"i1\"\n");
  const std::vector<std::string> log = rig.logLines();
  for (const char* line : {"argv[0] is NULL.", "Failed to find thread-group i7", "vek1 removed."})
    EXPECT_NE(std::find(log.begin(), log.end(), line), log.end()) << line;
}

TEST_F(Session, ThreadCreatedWithoutGroupGetsTheEnginesGroup) {
  std::string host;
  ASSERT_TRUE(rig.spawnHost(host));
  rig.userOutput();
  session.handleMiEvent("i1", "=thread-created,id=\"5\",pid=\"42\"\n", "thread-created");
  EXPECT_EQ(rig.userOutput(),
            "=thread-group-started,id=\"i1\",type=\"process\",pid=\"42\"\n"
            "=thread-created,id=\"1\",pid=\"42\",group-id=\"i1\"\n");
}

}  // namespace
