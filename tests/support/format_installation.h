#pragma once

#include "format/format_parts.h"
#include "support/installation.h"

namespace test {

struct FormatParts {
  FormatParts() { xpft::InstallFormatParts(); }
};

/// An installation whose context runs formats.
class FormatInstallation : private FormatParts, public Installation {};

}  // namespace test
