#include "Expect.h"

#include <array>
#include <thread>

namespace
{

using WaitingTest = OnMachine;

HANDLE MakeEvent(BOOL manual, BOOL signalled, const WCHAR* name = nullptr)
{
    return CreateEventW(nullptr, manual, signalled, name);
}

TEST_F(WaitingTest, WaitForAnyTakesTheLowestIndexAlone)
{
    // Events by kind: automatic (A) or manual (M), signalled in capitals.
    const struct
    {
        const char* Before;
        DWORD Result;
        const char* After;
    } cases[] = {
        {"aAA", 1, "aaA"}, {"mMA", 1, "mMA"}, {"AM", 0, "aM"}, {"MA", 0, "MA"}, {"am", WAIT_TIMEOUT, "am"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.Before);
        std::vector<HANDLE> events;
        std::string after;
        for (const char kind : std::string_view(c.Before))
        {
            events.push_back(MakeEvent(std::tolower(kind) == 'm', std::isupper(kind)));
        }
        EXPECT_EQ(c.Result, WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(), FALSE, 1));
        for (std::size_t i = 0; i < events.size(); ++i)
        {
            const bool signalled = WaitForSingleObject(events[i], 0) == WAIT_OBJECT_0;
            const int kind = std::tolower(c.Before[i]);
            after += static_cast<char>(signalled ? std::toupper(kind) : kind);
            EXPECT_TRUE(CloseHandle(events[i]));
        }
        EXPECT_EQ(c.After, after);
    }
}

TEST_F(WaitingTest, BadWaitsFailAndConsumeNothing)
{
    const HANDLE event = MakeEvent(FALSE, TRUE);
    std::vector<HANDLE> many(65, event);
    const auto succeeds = [&](DWORD count, BOOL all) {
        return WaitForMultipleObjects(count, many.data(), all, 0) != WAIT_FAILED;
    };
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, succeeds(0, FALSE));
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, succeeds(65, FALSE));
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, succeeds(1, TRUE));
    many[63] = nullptr;
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, succeeds(64, FALSE));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForMultipleObjects(63, many.data(), FALSE, 0));
    EXPECT_TRUE(CloseHandle(event));
    EXPECT_EQ(WAIT_FAILED, WaitForSingleObject(event, 0));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, SetEvent(event));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, ResetEvent(event));
}

TEST_F(WaitingTest, EventsAreSharedByName)
{
    SetLastError(0xABCD);
    const HANDLE first = MakeEvent(FALSE, FALSE, u"Terminate");
    EXPECT_EQ(0U, GetLastError());
    const HANDLE second = MakeEvent(TRUE, TRUE, u"Terminate");
    EXPECT_EQ(DWORD{ERROR_ALREADY_EXISTS}, GetLastError());
    const std::array others = {MakeEvent(TRUE, FALSE, u"terminate"), MakeEvent(TRUE, FALSE, u""),
                               MakeEvent(TRUE, FALSE, u"")};
    EXPECT_EQ(0U, GetLastError());
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(second, 0)) << "kind and state stay";
    EXPECT_TRUE(CloseHandle(first));
    EXPECT_TRUE(SetEvent(second));
    for (const HANDLE other : others)
    {
        EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(other, 0));
        EXPECT_TRUE(CloseHandle(other));
    }
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(second, 0));
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(second, 0));
    EXPECT_TRUE(CloseHandle(second));
    const HANDLE renewed = MakeEvent(TRUE, TRUE, u"Terminate");
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(renewed, 0)) << "the name went with the last handle";
    EXPECT_TRUE(CloseHandle(renewed));
}

TEST_F(WaitingTest, EachSignalLetsOneWaiterThrough)
{
    const HANDLE stop = MakeEvent(TRUE, FALSE);
    const std::array go = {stop, MakeEvent(FALSE, FALSE), MakeEvent(FALSE, FALSE)};
    const std::array done = {stop, MakeEvent(FALSE, FALSE), MakeEvent(FALSE, FALSE)};
    std::array<int, 3> counts{}; // no lock: one signal, one thread
    {
        const auto work = [&] {
            while (const DWORD i = WaitForMultipleObjects(3, go.data(), FALSE, 60000))
            {
                ++counts.at(i);
                SetEvent(done[i]);
            }
        };
        const std::jthread first(work);
        const std::jthread second(work);
        for (int round = 0; round < 200; ++round)
        {
            SetEvent(go[1]);
            SetEvent(go[2]);
            EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(done[1], INFINITE));
            EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(done[2], INFINITE));
        }
        SetEvent(stop);
    }
    EXPECT_EQ((std::array{0, 200, 200}), counts);
    for (const HANDLE event : {stop, go[1], go[2], done[1], done[2]})
    {
        EXPECT_TRUE(CloseHandle(event));
    }
}

} // namespace
