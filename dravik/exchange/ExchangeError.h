// What makes a file of another format unreadable as a whole.
#pragma once

#include <stdexcept>
#include <string>

namespace dravik {

/// One line for the user, without the file's name: the line of the file, what was found, what settles it.
struct ExchangeError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A choice that makes no sense whatever the file holds (an unknown encoding, a column that is not there).
struct ChoiceError : ExchangeError {
    using ExchangeError::ExchangeError;
};

}  // namespace dravik
