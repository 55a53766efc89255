#include "format/format_parts.h"

#include <new>

#include "format/format_cache.h"
#include "format/record_cache.h"
#include "storage/app_context.h"

namespace xpft {

void InstallFormatParts() {
  app::ContextParts& parts = app::DefaultContextParts();
  parts.createFormatCache = [] { return new (std::nothrow) Velor64Cache(true); };
  parts.destroyFormatCache = [](Velor64Cache* cache) { delete cache; };
  parts.clearFormatCache = [](Velor64Cache* cache) { cache->Clear(); };
  parts.setFormatCacheFileCheck = [](Velor64Cache* cache, bool check) { cache->SetRuntimeDateCheck(check); };
  parts.destroyScratchRecord = [](Record* record) { delete record; };
}

}  // namespace xpft
