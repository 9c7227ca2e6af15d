// Dates and clocks of successive rows, which differ in little but the clock's digits.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "dravik/exchange/Stamp.h"

namespace dravik {

/// ParseStamp that remembers: a cell equal to the one before but for the digits of hh:mm:ss[.f] is read from
/// these alone, with the same result.
class StampCache {
  public:
    bool Parse(std::string_view cell, Stamp& stamp);

  private:
    void Remember(std::string_view cell, const Stamp& stamp);
    void FindClock();
    bool ReadClock(std::string_view cell);

    static constexpr std::size_t longest = 40;
    std::array<char, longest> text_{};
    std::size_t size_ = 0;
    std::size_t clock_ = 0;     ///< place of hh:mm:ss, 0 and clockEnd_ 0 where there is none
    std::size_t clockEnd_ = 0;  ///< behind the fraction
    Stamp stamp_;
};

}  // namespace dravik
