#pragma once

/// What ranked search and the scan of records by a format share.
namespace RangSearch {

/// Reads a row of flags, '1' for true, whose last character does not count. With `all` every flag must be
/// true, otherwise one suffices. Null is an empty row.
[[nodiscard]] bool IsSequenceTrue(const char* flags, bool all);

}  // namespace RangSearch
