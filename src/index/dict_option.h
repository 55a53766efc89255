#pragma once

#include <cstdint>

namespace velor_server_proc {

/// Which dictionaries of a database a bulk build makes.
struct DictOption {
  enum Type : std::int32_t {
    kAll = 0,           ///< catalogue and full text
    kCatalogOnly = 1,   ///< -c
    kFullTextOnly = 2,  ///< -f
  };
};

}  // namespace velor_server_proc
