// The account of a run's memory: who charges it, and that all of it comes back to where it was charged.

#include <rix/access/MemoryAccount.h>
#include <rix/access/Scratch.h>

#include "Testing.h"

namespace rix::access {
namespace {

using testing::HasSubstr;
using Account = std::shared_ptr<MemoryAccount>;

TEST(MemoryAccount, NamesNeedUseAndLimitAndChargesNothingThen) {
    MemoryAccount account(1000);
    account.charge(900);
    if (const auto error = test::failureOf<MemoryError>([&] { account.charge(101); })) {
        for (const char* const part : {"101", "900", "1000"}) {
            EXPECT_THAT(error->getInfo(false), HasSubstr(part));
        }
    }
    account.charge(100);
    account.release(1000);
    EXPECT_EQ(account.used(), 0U);
    EXPECT_EQ(account.peak(), 1000U);
}

TEST(MemoryAccount, ScratchCountsFromItsBeginningToItsEndWhereverThatIs) {
    const auto account = std::make_shared<MemoryAccount>();
    std::optional<Scratch> kept;
    {
        const MemoryAccount::Scope scope(account);
        kept = Scratch(10000);
        EXPECT_GE(account->used(), 10000U);
        EXPECT_LT(account->used(), 20000U);
        Scratch(10000);
        EXPECT_LT(account->used(), 20000U);
    }
    EXPECT_EQ(MemoryAccount::current(), nullptr);
    EXPECT_GE(account->used(), 10000U);
    Scratch other(50000);  // counts for nobody
    std::swap(other, *kept);
    EXPECT_GE(account->used(), 10000U);
    other = Scratch();
    EXPECT_EQ(account->used(), 0U);
    EXPECT_LT(account->peak(), 40000U);
    const auto tight = std::make_shared<MemoryAccount>(4096);
    const MemoryAccount::Scope scope(tight);
    EXPECT_THROW(Scratch(5000), MemoryError);
    EXPECT_EQ(tight->used(), 0U);
}

TEST(MemoryAccount, VectorsKeepMemoryWithTheAccountThatItWasChargedTo) {
    const Account first = std::make_shared<MemoryAccount>();
    const Account second = std::make_shared<MemoryAccount>();
    const auto make = [](const Account& account, std::size_t size) {
        const MemoryAccount::Scope scope(account);
        return CountedVector<std::uint64_t>(size);
    };
    auto a = make(first, 100);
    auto b = make(second, 10);
    const auto used = [&] { return std::pair(first->used() / 8, second->used() / 8); };
    ASSERT_EQ(used(), std::pair(std::size_t{100}, std::size_t{10}));
    std::swap(a, b);
    EXPECT_EQ(used(), std::pair(std::size_t{100}, std::size_t{10}));
    a = b;  // a copy is charged to the one that holds it
    EXPECT_EQ(used(), std::pair(std::size_t{100}, std::size_t{100}));
    a = std::move(b);
    EXPECT_EQ(used(), std::pair(std::size_t{100}, std::size_t{0}));
    b.assign(5, 0);  // NOLINT: what was moved from may be used again
    EXPECT_EQ(used(), std::pair(std::size_t{105}, std::size_t{0}));
    {
        const MemoryAccount::Scope scope(second);
        const auto copy = a;
        EXPECT_EQ(used(), std::pair(std::size_t{105}, std::size_t{100}));
        a = CountedVector<std::uint64_t>();
        b.clear();
        b.shrink_to_fit();
    }
    EXPECT_EQ(used(), std::pair(std::size_t{0}, std::size_t{0}));
    const auto refused = std::make_shared<MemoryAccount>(100);
    const MemoryAccount::Scope scope(refused);
    EXPECT_THROW(CountedVector<char>(101), MemoryError);
    EXPECT_EQ(refused->used(), 0U);
}

TEST(MemoryAccount, IsCurrentInEveryThreadDuringABlockAndOnlyThen) {
    const auto account = std::make_shared<MemoryAccount>();
    const auto inner = std::make_shared<MemoryAccount>();
    std::atomic<int> right{0};
    {
        const MemoryAccount::Scope scope(account);
        parallelScheduler().forEach(64, [&](std::size_t) {
            const bool before = MemoryAccount::current() == account;
            {
                const MemoryAccount::Scope nested(inner);
                parallelScheduler().forEach(8, [&](std::size_t) { right += MemoryAccount::current() == inner; });
            }
            right += before && MemoryAccount::current() == account;
        });
    }
    EXPECT_EQ(right, 64 * 9);
    parallelScheduler().forEach(64, [&](std::size_t) { right += MemoryAccount::current() == nullptr; });
    EXPECT_EQ(right, 64 * 10);
}

}  // namespace
}  // namespace rix::access
