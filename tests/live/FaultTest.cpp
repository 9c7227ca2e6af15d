// Every call that an extension makes to the database library fails once: the step reports it, holds nothing
// afterwards, and the next pass brings everything to where one run without faults would have brought it.
#include "follow/ActionQueue.h"
#include "platform/DravikLibraries.h"
#include "tests/live/LiveSupport.h"

namespace vorela::test {
namespace {

/// The database library with a counter in front: the call number `failAt` gives `status` instead of working.
struct FaultyLibrary {
    DkBaseApi real;
    int calls = 0;
    int failAt = 0;
    std::int32_t status = DK_OK;
    int done = 0;          ///< calls that hold nothing
    int databases = 0;     ///< open
    int items = 0;         ///< attached
    int transactions = 0;  ///< begun and neither committed nor rolled back

    bool Fails() { return failAt != 0 && ++calls == failAt; }
};
FaultyLibrary library;

/// A call that may be undone by another: `count` goes up when it succeeds.
template <auto Member, auto Count, typename... Arguments>
std::int32_t Opening(Arguments... arguments) {
    const std::int32_t result = library.Fails() ? library.status : (library.real.*Member)(arguments...);
    library.*Count += result == DK_OK ? 1 : 0;
    return result;
}
template <auto Member, auto Count, typename... Arguments>
void Put(std::int32_t (*DkBaseApi::*)(Arguments...)) {
    LoadedLibraries().database.*Member = Opening<Member, Count, Arguments...>;
}
template <auto Count, auto... Members>
void PutAll() {
    (Put<Members, Count>(Members), ...);
}

/// The call that undoes it: what it holds is gone even when it fails.
template <auto Member, auto Count>
std::int32_t Closing(std::int32_t handle) {
    const bool fails = library.Fails();
    const std::int32_t result = (library.real.*Member)(handle);
    library.*Count -= 1;
    return fails ? library.status : result;
}

/// A commit that fails has rolled back.
std::int32_t Commit(std::int32_t database) {
    const bool fails = library.Fails();
    const std::int32_t result = fails ? library.real.DBrollback(database) : library.real.DBcommit(database);
    library.transactions -= 1;
    return fails ? library.status : result;
}

void InstallFaultyLibrary() {
    DkBaseApi& api = LoadedLibraries().database;
    library = FaultyLibrary{};
    library.real = api;
    PutAll<&FaultyLibrary::done, &DkBaseApi::DBnewA, &DkBaseApi::DBdeleteA, &DkBaseApi::DBread,
           &DkBaseApi::DBreadpresent, &DkBaseApi::DBwrite, &DkBaseApi::DBwritepresent,
           &DkBaseApi::DBinformation, &DkBaseApi::DBmark>();
    PutAll<&FaultyLibrary::databases, &DkBaseApi::DBopenA>();
    PutAll<&FaultyLibrary::items, &DkBaseApi::DBattachA>();
    PutAll<&FaultyLibrary::transactions, &DkBaseApi::DBbegin>();
    api.DBclose = Closing<&DkBaseApi::DBclose, &FaultyLibrary::databases>;
    api.DBdetach = Closing<&DkBaseApi::DBdetach, &FaultyLibrary::items>;
    api.DBrollback = Closing<&DkBaseApi::DBrollback, &FaultyLibrary::transactions>;
    api.DBcommit = Commit;
}

/// When the fault comes: while the curves are made, while they are extended, in the pass after the
/// recording's end.
enum class Moment { creation, extension, end };

class FaultTest : public LiveFixture, public ::testing::WithParamInterface<Way> {
  protected:
    void SetUp() override {
        LiveFixture::SetUp();
        Use(GetParam(), plan.periodSeconds);
        InstallFaultyLibrary();
    }
    ~FaultTest() override { LoadedLibraries().database = library.real; }

    /// Follows a recording with one fault in the pass at `moment`. False when the pass made fewer calls.
    bool FollowWithFault(Moment moment, int failAt, std::int32_t status, Outcome& outcome) {
        const std::string dataset = NewName();
        Recording recording(*this, dataset, CurvesOf(plan));
        recording.Append(100);
        Select({dataset});
        bool hit = false;
        for (const Moment now : {Moment::creation, Moment::extension, Moment::end}) {
            if (now != Moment::creation)
                recording.Append(now == Moment::end ? recording.Left() : 60);
            if (now == moment)
                hit = PassWithFault(failAt, status);
            EXPECT_TRUE(ExtendDataset(0));
        }
        EXPECT_EQ(CurrentSelection().datasets[0].pendingFlag, 0);
        outcome = Observe(dataset);
        return hit;
    }

    const TestPlan plan{.periodSeconds = 4, .samples = 230};

  private:
    bool PassWithFault(int failAt, std::int32_t status) {
        ports.boxes.clear();
        const auto held = [] { return std::tuple(library.databases, library.items, library.transactions); };
        const auto before = held();
        library.calls = 0;
        library.failAt = failAt;
        library.status = status;
        const bool extended = ExtendDataset(0);
        library.failAt = 0;
        EXPECT_TRUE(extended || !ports.boxes.empty()) << "a pass that failed is reported";
        EXPECT_EQ(held(), before);
        ports.boxes.clear();
        return library.calls >= failAt;
    }
};

TEST_P(FaultTest, TheNextPassGoesOnAsIfNothingHadHappenedWhicheverCallFailed) {
    const Outcome whole = OneRunOver(CurvesOf(plan));
    constexpr std::int32_t statuses[] = {DK_DISK_ERROR, DK_NOT_AVAILABLE, DK_NO_MEMORY};
    for (const Moment moment : {Moment::creation, Moment::extension, Moment::end}) {
        int failAt = 1;
        for (Outcome outcome; FollowWithFault(moment, failAt, statuses[failAt % 3], outcome) && !HasFailure();
             ++failAt)
            EXPECT_EQ(Difference(outcome, whole), "")
                << "moment " << static_cast<int>(moment) << " call " << failAt;
        EXPECT_GT(failAt, 30);
    }
}

INSTANTIATE_TEST_SUITE_P(Ways, FaultTest, ::testing::Values(Way{2, false, 1, 0.9}, Way{1, true, 3, 1.0}));

}  // namespace
}  // namespace vorela::test
