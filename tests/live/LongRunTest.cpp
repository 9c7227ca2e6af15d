// Hours of following in one process, ten seconds of data a pass. VORELA_HOURS sets how many hours of test
// time (one when it is not set).
#include <unistd.h>

#include "follow/ActionQueue.h"
#include "tests/live/LiveSupport.h"

namespace vorela {
namespace {

struct Usage {
    long residentKilobytes = 0;
    long descriptors = 0;
};

Usage CurrentUsage() {
    std::ifstream file("/proc/self/statm");
    long total = 0, resident = 0;
    file >> total >> resident;
    const auto entries = std::filesystem::directory_iterator("/proc/self/fd");
    return {resident * (sysconf(_SC_PAGESIZE) / 1024), std::distance(begin(entries), end(entries))};
}

class LongRunTest : public test::LiveFixture {};

TEST_F(LongRunTest, TakesNoMoreMemoryAndNoMoreDescriptorsAsTheRecordingGrows) {
    constexpr int samplesPerPass = 100;
#if defined(__SANITIZE_ADDRESS__)
    constexpr long allowedKilobytes = 512 * 1024;  // the sanitizer keeps what was freed for a while
#else
    constexpr long allowedKilobytes = 6144;
#endif
    const char* hours = std::getenv("VORELA_HOURS");
    const test::TestPlan plan{.periodSeconds = 60,
                              .samples = 36000 * (hours == nullptr ? 1 : std::atoi(hours))};
    test::Use({1, true, 2, 2.5}, plan.periodSeconds);
    test::Recording recording(*this, "LEVEL1", CurvesOf(plan));
    recording.Append(samplesPerPass);
    Select({"LEVEL1"});
    const int passes = recording.Left() / samplesPerPass;
    Usage early, now;
    for (int pass = 0; pass < passes; ++pass) {
        recording.Append(samplesPerPass);
        ASSERT_TRUE(ExtendDataset(0));
        now = CurrentUsage();
        if (pass <= passes / 4)
            early = now;
        ASSERT_EQ(now.descriptors, early.descriptors);
        ASSERT_LE(now.residentKilobytes, early.residentKilobytes + allowedKilobytes);
    }
    std::printf("%ld KiB resident after a quarter, %ld KiB at the end\n", early.residentKilobytes,
                now.residentKilobytes);
}

}  // namespace
}  // namespace vorela
