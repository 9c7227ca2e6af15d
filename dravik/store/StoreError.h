// How a fault travels inside the store: a status code of DKBase.h and a sentence for DBlastdetail.
#pragma once

#include <cstdint>
#include <string>

#include "interfaces/DKBase.h"

namespace dravik::store {

struct StoreError {
    std::int32_t status;
    std::string detail;
    /// What is read is not what was written: it stays so, and concerns this part of the file only. False for
    /// faults that may pass (a lock, a read error, a full disk).
    bool isDamage = false;
};

[[noreturn]] inline void Damaged(const std::string& what) {
    throw StoreError{DK_DISK_ERROR, what + " is damaged", true};
}

}  // namespace dravik::store
