#pragma once

#include <memory>

#include "storage/app_context.h"

namespace test {

struct ContextCloser {
  void operator()(app::VelorAppContext* ctx) const { app::velor_app_close(ctx); }
};
using ContextPointer = std::unique_ptr<app::VelorAppContext, ContextCloser>;

}  // namespace test
