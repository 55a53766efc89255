// Blocks for another server: what goes out, what comes back, and where the walk goes on.

#include "gbl/remote_block.h"

#include <gtest/gtest.h>

#include "task_world.h"

namespace {

struct Sent {
  global::RemoteDatabase database;
  std::string task;
};
Sent sent;

class RemoteBlock : public testing::Test {
 protected:
  RemoteBlock() {
    sent = {};
    global::DefaultRemoteBlocks().run = [](velor_01::TVelorSpace*, int,
                                           const global::RemoteDatabase& database, const std::string& task,
                                           std::string& protocol, std::string&) {
      sent = {database, task};
      protocol = "done there";
    };
  }
  ~RemoteBlock() override { global::DefaultRemoteBlocks().run = nullptr; }

  /// Runs a task on the record "200: ^aOryx"; gives the record as it is then.
  std::string Run(const std::string& task) {
    test::World world;
    world.Take("oryx: 200 ^aOryx");
    world.Take("ini [REDIRECT]");
    for (const char* line :
         {"branch=10.0.0.1", "branch_LOGIN=name", "branch_PASSWORD=word", "branch_GUID_OPTION=1"})
      world.Take(std::string("ini ") + line);
    const test::WorldInstallation installation(world, false);
    velor_01::TStringList lines;
    lines.SetText(task);
    global::IsisRecUpdateSpecial(installation.space(), installation.kSlot, &lines, nullptr, errors_,
                                 protocol_);
    return test::ShowFields(test::FieldsOf(installation.space(), installation.kSlot));
  }

  std::string errors_;
  std::string protocol_;
};

TEST_F(RemoteBlock, GoesOutAsATaskAndTheWalkGoesOnBehindIt) {
  const struct {
    const char* block;
    const char* task;
    const char* protocol;
  } rows[] = {
      {"NEWMFN\n'books%branch%'\nADD\n1\n*\n'x'\n-\nEND\n",
       "0\r\nNEWMFN\r\n'books'\r\nADD\r\n1\r\n*\r\n'x'\r\n-\r\nEND\r\n",
       "GBL_PROTOCOL=NEWMFN books%branch%: done there@@@"},
      {"CORREC\n'books%branch%'\n\n'k'\n0\nIF\n'1'\nFI\nEND\n",
       "0\r\nCORREC\r\n'books'\r\n\r\n'k'\r\n0\r\nIF\r\n'1'\r\nFI\r\nEND\r\n",
       "GBL_PROTOCOL=CORREC books%branch%: done there@@@"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.block);
    errors_.clear();
    protocol_.clear();
    EXPECT_EQ(Run(std::string("0\n") + row.block + "ADD\n300\n*\n'here'\n-\n"), "200 ^aOryx | 300 here");
    EXPECT_EQ(sent.task, row.task);
    EXPECT_EQ(sent.database.name, "books");
    EXPECT_EQ(sent.database.address + sent.database.user + sent.database.password, "10.0.0.1nameword");
    EXPECT_EQ(sent.database.guidOption, 1);
    EXPECT_EQ(protocol_, row.protocol);
    EXPECT_EQ(errors_, "");
  }
}

TEST_F(RemoteBlock, AnAliasThatNobodyKnowsIsADatabaseHere) {
  Run("0\nNEWMFN\n'books%nowhere%'\nEND\n");
  EXPECT_EQ(sent.task, "");
  EXPECT_EQ(errors_, "DBN_ERROR=-5555=books%nowhere%@@@IND_ERROR=3@@@");
}

TEST_F(RemoteBlock, IsAnErrorWithoutAConnection) {
  global::DefaultRemoteBlocks().run = nullptr;
  EXPECT_EQ(Run("0\nCORREC\n'books%branch%'\n\n'k'\n0\nEND\nADD\n300\n*\n'here'\n-\n"), "200 ^aOryx");
  EXPECT_EQ(errors_.substr(0, errors_.find(": ")), "GBL_ERROR=CORREC books%branch%");
}

}  // namespace
