// The command line of `dravik`.
#pragma once

namespace dravik {

/// Runs the tool; the exit status: 0 done, 1 failed (one line on standard error), 2 bad usage.
int RunDravik(int argc, const char* const* argv);

}  // namespace dravik
