#include "exchange/marc_mode.h"

#include <algorithm>

#include "storage/app_context.h"
#include "storage/shelf.h"
#include "utils/string_utils.h"

namespace velora {

bool IsMarcTable(const app::VelorAppContext* ctx, const std::string& table) {
  const std::string mark = utils::StringUtils::ToLower(ctx->mainIni->Get("MAIN", "PRMARCFORMAT", "MARC"));
  return !mark.empty() && utils::StringUtils::ToLower(table).find(mark) != std::string::npos;
}

void ReplaceInFields(velor_01::TVelorSpace* space, int slot, char from, char to) {
  velor_01::TRecordShelf* record = velor_32::FindShelf(space, slot);
  if (record) std::replace(record->data, record->data + velor_32::UsedData(*record), from, to);
}

}  // namespace velora
