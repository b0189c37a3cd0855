// The list under every collection, and the bounded queue of jobs.
#include "tests/provider/Linked.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>

using namespace support;

namespace {

// The elements of a list as text, and a check that its three fields agree.
std::string Contents(const List_t &list) {
    std::string contents;
    std::uint32_t size = 0;
    const List_Entry_t *last = nullptr;
    for (const List_Entry_t *entry = list.Head; entry != nullptr; entry = entry->Next) {
        contents += static_cast<const char *>(entry->Data);
        last = entry;
        ++size;
    }
    EXPECT_EQ(list.Size, size);
    EXPECT_EQ(list.Tail, last);
    EXPECT_EQ(IsListEmpty(&list), size == 0 ? 1 : 0);
    return contents;
}

std::vector<std::string> released;
void Release(void *element) { released.push_back(static_cast<const char *>(element)); }
void Ignore(void *) {}

char a[] = "a", b[] = "b", c[] = "c", alsoA[] = "a";

} // namespace

TEST(List, KeepsTheOrderInWhichElementsWereAddedAtEitherEnd) {
    List_t list = {};
    EXPECT_EQ(AddEntryAtListTail(&list, b), 0);
    EXPECT_EQ(AddEntryAtListTail(&list, c), 0);
    EXPECT_EQ(AddEntryAtListHead(&list, a), 0);
    EXPECT_EQ(Contents(list), "abc");
    EXPECT_TRUE(LogCapture::Count(LOG_DEBUG, "Data * added to the list *, size 3\n") >= 1);
    for (const char *expected : {a, b, c}) {
        void *element = nullptr;
        EXPECT_EQ(RemoveEntryFromList(&list, &element), 0);
        EXPECT_EQ(element, expected);
    }
    EXPECT_EQ(Contents(list), "");
    void *element = a;
    EXPECT_EQ(RemoveEntryFromList(&list, &element), 0);
    EXPECT_EQ(element, nullptr);
}

TEST(List, AddsNothingForANullElementOrListAndSaysSoInItsResult) {
    LogCapture::Clear();
    List_t list = {};
    for (const auto add : {AddEntryAtListHead, AddEntryAtListTail}) {
        EXPECT_EQ(add(&list, nullptr), 0);
        EXPECT_EQ(add(nullptr, nullptr), 0);
        EXPECT_EQ(add(nullptr, a), -1);
    }
    EXPECT_EQ(Contents(list), "");
    void *untouched = a;
    EXPECT_EQ(RemoveEntryFromList(nullptr, &untouched), -1);
    EXPECT_EQ(untouched, a);
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "RemoveEntryFromList: list is NULL\n"));
    EXPECT_EQ(RemoveEntryFromListByKey(nullptr, a), -1);
    EXPECT_EQ(RemoveEntryFromListByKey(&list, nullptr), -1);
    EXPECT_EQ(RemoveEntryFromListByKey(&list, a), -3);
    FreeList(nullptr, Ignore);
}

TEST(List, LosesExactlyTheElementNamedWhereverItStands) {
    const struct {
        std::vector<char *> before;
        char *removed;
        int result;
        const char *after; // with one more element added at the tail, which finds the way to a broken end
    } cases[] = {
        {{a}, a, 0, "c"},
        {{a, b}, a, 0, "bc"},
        {{a, b}, b, 0, "ac"},
        {{a, b, alsoA}, b, 0, "aac"},
        {{b, a, alsoA, a}, a, 0, "baac"},
        {{a, b}, alsoA, -3, "abc"},
    };
    for (const auto &test : cases) {
        List_t list = {};
        for (char *element : test.before) AddEntryAtListTail(&list, element);
        EXPECT_EQ(RemoveEntryFromListByKey(&list, test.removed), test.result);
        AddEntryAtListTail(&list, c);
        EXPECT_EQ(Contents(list), test.after);
        FreeList(&list, Ignore);
    }
}

TEST(List, RemovesTheOccurrenceNearestTheHead) {
    List_t list = {};
    for (char *element : {b, a, c, a}) AddEntryAtListTail(&list, element);
    EXPECT_EQ(RemoveEntryFromListByKey(&list, a), 0);
    EXPECT_EQ(Contents(list), "bca");
    FreeList(&list, Ignore);
}

TEST(List, IsEmptiedInOrderIntoItsReleaseFunctionOrTheHeap) {
    List_t list = {};
    released.clear();
    for (char *element : {c, a, b}) AddEntryAtListTail(&list, element);
    FreeList(&list, Release);
    EXPECT_EQ(released, (std::vector<std::string>{"c", "a", "b"}));
    EXPECT_EQ(Contents(list), "");

    AddEntryAtListTail(&list, strdup("on the heap")); // a leak, unless it is freed
    FreeList(&list, nullptr);
    EXPECT_EQ(Contents(list), "");

    LogCapture::Clear();
    FreeList(&list, Release);
    EXPECT_TRUE(Logged(LOG_DEBUG, "List * is empty\n"));
    EXPECT_EQ(released.size(), 3u);
}

TEST(Queue, RefusesTheTwentyFirstItemAndTakesItOnceThereIsRoom) {
    Fifo_t queue = {PTHREAD_MUTEX_INITIALIZER, kQueuedJobs, {}};
    std::vector<std::string> items(21);
    for (std::size_t i = 0; i < 20; ++i) EXPECT_EQ(PutItem(&queue, &items[i]), 0);
    LogCapture::Clear();
    EXPECT_EQ(PutItem(&queue, &items[20]), -6);
    EXPECT_TRUE(Logged(LOG_DEBUG, "PutItem: Fifo(*) is full, limit 20\n"));
    EXPECT_EQ(GetItem(&queue), &items[0]);
    EXPECT_EQ(PutItem(&queue, &items[20]), 0);
    for (std::size_t i = 1; i < 21; ++i) {
        EXPECT_EQ(IsFifoEmpty(&queue), 0);
        EXPECT_EQ(GetItem(&queue), &items[i]);
    }
    EXPECT_EQ(IsFifoEmpty(&queue), 1);
    EXPECT_EQ(GetItem(&queue), nullptr);
}

TEST(Queue, LosesAndDoublesNothingBetweenThreads) {
    const LogMask quiet(LOG_UPTO(LOG_INFO));
    Fifo_t queue = {PTHREAD_MUTEX_INITIALIZER, kQueuedJobs, {}};
    constexpr int kEach = 1000;
    std::vector<std::atomic<int>> taken(2 * kEach);
    std::atomic<int> total{0};
    const auto put = [&](int first) {
        for (int i = first; i < first + kEach;)
            if (PutItem(&queue, &taken[static_cast<std::size_t>(i)]) == 0) ++i;
    };
    const auto take = [&] {
        while (total < 2 * kEach)
            if (void *item = GetItem(&queue)) {
                ++*static_cast<std::atomic<int> *>(item);
                ++total;
            }
    };
    std::thread threads[] = {std::thread(put, 0), std::thread(put, kEach), std::thread(take), std::thread(take)};
    for (std::thread &thread : threads) thread.join();
    EXPECT_TRUE(std::all_of(taken.begin(), taken.end(), [](const std::atomic<int> &times) { return times == 1; }));
}
