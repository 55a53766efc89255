#include "gbl/remote_block.h"

#include "storage/app_context.h"
#include "utils/redirect_util.h"
#include "utils/string_list.h"

namespace global {

namespace {

/// The lines from `start` to `end` as a task of its own: a head without parameters, the opener, the name at
/// the other end, and the rest.
std::string TaskOfBlock(const TaskText& lines, int start, int end, const std::string& dbName) {
  std::string task = "0\r\n";
  for (int i = start; i < end && i < lines.GetCount(); ++i)
    task.append(i == start + 1 ? "'" + dbName + "'" : lines.Line(i)).append("\r\n");
  return task;
}

}  // namespace

RemoteBlocks& DefaultRemoteBlocks() {
  static RemoteBlocks blocks;
  return blocks;
}

int RemoteGlobalBlock(velor_01::TVelorSpace* space, int slot, const TaskText& lines, int start,
                      const std::string& dbName, std::string& protocol, std::string& errors) {
  if (dbName.find('%') == std::string::npos || !space->app->mainIni) return 0;
  RemoteDatabase database;
  if (!utils::RedirectUtil::GetRedirectDb(*space->app->mainIni, dbName, &database.name, &database.address,
                                          &database.user, &database.password, &database.guidOption))
    return 0;
  velor_01::TStringList list;
  for (const TaskLine& line : lines.lines) list.Add(line.text);
  const int end = ParseCommands(&list, "END", start, true);
  if (end <= start) return 0;
  if (DefaultRemoteBlocks().run == nullptr) {
    errors = "remote blocks: not built yet";
    return end;
  }
  DefaultRemoteBlocks().run(space, slot, database, TaskOfBlock(lines, start, end, database.name), protocol,
                            errors);
  return end;
}

}  // namespace global
