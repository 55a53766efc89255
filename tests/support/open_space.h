#pragma once

#include <gtest/gtest.h>

#include <string>

#include "storage/fields.h"
#include "storage/master_file.h"
#include "storage/velor_space.h"
#include "support/context.h"
#include "support/test_base.h"

namespace test {

/// An application context for tests of storage.
using Context = std::unique_ptr<app::VelorAppContext, ContextCloser>;
inline Context MakeContext() {
  return Context(app::velor_app_init());
}

/// Opens record files with two shelves; null, and a failed test, when they do not open.
inline velor_32::SpacePointer OpenSpace(app::VelorAppContext* ctx, const std::string& path) {
  velor_32::SpacePointer space(velor_32::Velorinit(ctx));
  const int rc = velor_32::Velorinitmst(space.get(), path.c_str(), 2);
  EXPECT_EQ(rc, 0) << path;
  return rc == 0 ? std::move(space) : nullptr;
}

/// The fields of a shelf.
inline Fields FieldsOf(const velor_32::TVelorSpace* space, int shelf) {
  Fields fields;
  for (int i = 1; i <= velor_32::Velornfields(space, shelf); ++i) {
    int tag = 0;
    const std::string_view text = velor_32::FieldText(space, shelf, i, &tag);
    fields.emplace_back(tag, text);
  }
  return fields;
}

/// Replaces the fields of a shelf.
inline void SetFields(velor_32::TVelorSpace* space, int shelf, const Fields& fields) {
  velor_32::Velorfldempty(space, shelf);
  for (const auto& [tag, text] : fields)
    velor_32::Velorfldadd(space, shelf, tag, 0, text.data(), static_cast<int>(text.size()));
}

}  // namespace test
