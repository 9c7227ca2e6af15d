// A desktop whose language writes 1,5.
#pragma once

#include "tests/support/TestSupport.h"

namespace vorela::test {

/// Numbers of the C library are written and read with a comma while it lives.
class CommaLocale {
  public:
    CommaLocale();
    ~CommaLocale();
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

  private:
    TempFolder folder_;
};

}  // namespace vorela::test
