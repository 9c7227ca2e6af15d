// How a fault travels inside the store: a status code of DKBase.h and a sentence for DBlastdetail.
#pragma once

#include <cstdint>
#include <string>

namespace vorela::store {

struct StoreError {
    std::int32_t status;
    std::string detail;
};

}  // namespace vorela::store
