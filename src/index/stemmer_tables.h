#pragma once

#include <span>
#include <string_view>

/// The exceptions of the stemmer. Both tables are in upper case and ascend by code.
namespace flexwin {

/// Endings of three to ten letters whose last letter alone is an ending.
extern const std::span<const std::u16string_view> Diag_Flx;

/// Word forms that look as if they had a longer ending than they have.
extern const std::span<const std::u16string_view> Diag_Wrd;

}  // namespace flexwin
