#include "Checks.h"

#include <array>
#include <thread>
#include <tuple>
#include <vector>

namespace
{

constexpr CWideText name = "ZVConformance";

TEST(WaitingTest, WaitForAnyConsumesOnlyTheLowestIndex)
{
    // Events by kind: automatic (A) or manual (M), signalled in capitals.
    const std::tuple<std::string, DWORD, std::string> cases[] = {
        {"aAA", 1, "aaA"}, {"mMA", 1, "mMA"}, {"AM", 0, "aM"}, {"MA", 0, "MA"}, {"am", WAIT_TIMEOUT, "am"},
    };
    for (const auto& [before, result, expected] : cases)
    {
        std::vector<HANDLE> events;
        for (const char kind : before)
            events.push_back(MakeEvent(std::tolower(kind) == 'm', std::isupper(kind)));
        EXPECT_EQ(result, WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(), FALSE, 1));
        for (std::size_t i = 0; i < events.size(); ++i)
        {
            EXPECT_EQ(std::isupper(expected[i]) != 0, WaitForSingleObject(events[i], 0) == WAIT_OBJECT_0) << before;
            EXPECT_TRUE(CloseHandle(events[i]));
        }
    }
}

TEST(WaitingTest, EventsAreSharedByName)
{
    SetLastError(0xABCD);
    const HANDLE first = MakeEvent(FALSE, FALSE, name.Text);
    EXPECT_EQ(GetLastError(), 0U);
    const HANDLE second = MakeEvent(TRUE, TRUE, name.Text);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(WaitForSingleObject(second, 0), DWORD{WAIT_TIMEOUT}) << "kind and state stay";
    EXPECT_TRUE(CloseHandle(first));
    EXPECT_TRUE(SetEvent(second));
    EXPECT_EQ(WaitForSingleObject(second, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(second, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_TRUE(CloseHandle(second));
    const Opened renewed = MakeEvent(TRUE, TRUE, name.Text);
    EXPECT_EQ(WaitForSingleObject(renewed, 0), WAIT_OBJECT_0) << "the name went with the last handle";
}

TEST(WaitingTest, EachSignalReleasesOneWaiter)
{
    const Opened stop = MakeEvent(TRUE, FALSE);
    const Opened go = MakeEvent(FALSE, FALSE);
    const Opened done = MakeEvent(FALSE, FALSE);
    const std::array<HANDLE, 2> both = {stop, go};
    int count = 0; // no lock: one signal, one thread
    {
        const auto work = [&] {
            for (; WaitForMultipleObjects(2, both.data(), FALSE, 60000) == 1; SetEvent(done))
                ++count;
        };
        const std::jthread first(work);
        const std::jthread second(work);
        for (int round = 0; round < 400 && SetEvent(go); ++round)
            EXPECT_EQ(WaitForSingleObject(done, INFINITE), WAIT_OBJECT_0);
        SetEvent(stop);
    }
    EXPECT_EQ(count, 400);
}

} // namespace
