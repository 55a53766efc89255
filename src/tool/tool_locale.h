#pragma once

namespace tool {

/// Sets the process locale to "en_US.UTF-8", or to "C.UTF-8" where the machine lacks it: in both every letter
/// of Unicode is a letter for the wide character tests, which the making of terms relies on. Gives the name
/// that was set, null when the machine has neither; the locale is then the C locale.
const char* SetupLocale();

}  // namespace tool
