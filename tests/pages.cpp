// pages.cpp: the code of docs/moving.md and docs/threads.md. The pages' lines stand here letter by letter (docs_check.sh
// compares), and here is seen that they do what the pages say.
#include <cvcore.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <unordered_set>

// ---- docs/moving.md ----

TEST(Moving, TextsGoBothWaysWithTheirLength)
{
    std::wstring theirs(L"one\0two", 7);
    SString ours{ std::wstring_view(theirs) };
    std::wstring back{ std::wstring_view(ours) };
    EXPECT_EQ(7, ours.Length());
    EXPECT_EQ(theirs, back);

    std::string bytes = "caf\xC3\xA9";
    SString text = SUtf8String(bytes.c_str()).ToUnicode();
    std::string again(SUtf8String(text).operator char*());
    EXPECT_STREQ(L"caf\u00e9", text);
    EXPECT_EQ(bytes, again);
}

TEST(Moving, PositionsThatAreNotThereAreMinusOne)
{
    const auto keyOf = [](const SString& line) {
        const int at = line.FindPos(L'=');
        SString key = at >= 0 ? line.Left(at) : line;
        return key;
    };
    EXPECT_STREQ(L"width", keyOf(L"width=100"));
    EXPECT_STREQ(L"title", keyOf(L"title"));
    EXPECT_STREQ(L"", SString(L"abc").Mid(7)) << "substr would throw";
}

TEST(Moving, MapsAreAskedWithAPointerAndKeepWhatWasThere)
{
    SMap<SString, int> stock;
    stock[L"apples"] = 3;
    if (int* count = stock.Find(L"apples"))
        ++*count;
    EXPECT_EQ(4, stock[L"apples"]);

    if (!stock.Find(L"pears"))
        stock.Set(L"pears", 0);
    EXPECT_FALSE(stock.Set(L"pears", 0)) << "it was there";

    for (auto at = stock.begin(); at != stock.end();)
        at = at->value == 0 ? stock.Remove(at) : std::next(at);
    EXPECT_EQ(1, stock.Count());
    EXPECT_EQ(nullptr, stock.Find(L"pears"));
}

TEST(Moving, TablesWorkWithAlgorithmsAndTakeMovedStrings)
{
    STable<SString> names{ L"pears", L"apples", L"figs" };
    SString name(L"quinces");
    names.Add(std::move(name));
    std::sort(names.begin(), names.end());
    const auto found = std::lower_bound(names.cbegin(), names.cend(), SString(L"figs"));
    EXPECT_EQ(1, found - names.cbegin());
    EXPECT_STREQ(L"apples", names[0]);
    EXPECT_TRUE(name.IsEmpty());
}

TEST(Moving, ReadingACopyThroughAConstTableSharesIt)
{
    STable<int> squares{ 0, 1, 4, 9 };
    const STable<int> copy(squares);
    int sum = 0;
    for (int square : copy)
        sum += square;
    EXPECT_EQ(14, sum);
    EXPECT_TRUE(copy.IsShared());
    for (int square : squares)
        sum += square;
    EXPECT_FALSE(copy.IsShared()) << "begin() of a table that may be changed makes it private";
}

TEST(Moving, StringsAreKeysOfStandardContainers)
{
    std::set<SString> ordered{ L"b", L"a" };
    std::unordered_set<SString> hashed{ L"b", L"a", L"b" };
    EXPECT_STREQ(L"a", *ordered.begin());
    EXPECT_EQ(2u, hashed.size());
}

// ---- docs/threads.md ----

namespace {

constexpr UINT kDone = WM_APP + 1;

void Load(const SString& path)
{
    SInputFile file(path);
}

} // namespace

TEST(Threads, ACopyOfAStringMayBeEditedOnAnotherThread)
{
    SString title(L"Report");
    for (int i = 0; i < 200; ++i) {
        std::thread worker([mine = title]() mutable { mine += L", changed"; });
        SString other(title);
        other.SetAt(0, L'r');
        worker.join();
    }
    EXPECT_STREQ(L"Report", title);
}

TEST(Threads, ATableIsHandedOverWithABlockOfItsOwn)
{
    STable<SString> names{ L"one", L"two" };
    STable<SString> own(names);
    own.GrowTo(own.Count());
    EXPECT_FALSE(own.IsShared());
    EXPECT_FALSE(names.IsShared());
    int seen = 0;
    std::thread worker([own = std::move(own), &seen] { seen = own.Count(); });
    names.Add(L"three");
    worker.join();
    EXPECT_EQ(2, seen);
}

TEST(Threads, AFailureOfAWorkerIsThrownAgainWhereItIsWaitedFor)
{
    const auto work = [] {
        std::exception_ptr failed;
        std::thread worker([&failed] {
            try {
                Load(L"C:\\missing\\file");
            }
            catch (...) {
                failed = std::current_exception();
            }
        });
        worker.join();
        if (failed)
            std::rethrow_exception(failed);
    };
    EXPECT_THROW(work(), SEIOException);
}

TEST(Threads, AResultIsPostedToTheThreadThatShowsIt)
{
    MSG message;
    ::PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE); // gives this thread a queue
    const DWORD shower = ::GetCurrentThreadId();
    std::thread worker([shower] {
        auto result = std::make_unique<SString>(L"42 pages");
        if (::PostThreadMessageW(shower, kDone, 0, reinterpret_cast<LPARAM>(result.get())))
            static_cast<void>(result.release()); // whoever gets the message deletes it
    });
    worker.join();
    ASSERT_TRUE(::PeekMessageW(&message, nullptr, kDone, kDone, PM_REMOVE));
    const std::unique_ptr<SString> result(reinterpret_cast<SString*>(message.lParam));
    EXPECT_STREQ(L"42 pages", *result);
}
