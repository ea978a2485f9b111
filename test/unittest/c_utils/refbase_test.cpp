#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "refbase.h"

using namespace OHOS;

namespace {

// Records its hooks and its destruction into a shared journal.
class Tracked : public virtual RefBase {
public:
    explicit Tracked(std::vector<std::string> *journal) : journal_(journal) {}
    ~Tracked() override
    {
        journal_->push_back("destroyed");
    }
    void OnFirstStrongRef(const void *) override
    {
        journal_->push_back("first");
    }
    void OnLastStrongRef(const void *) override
    {
        journal_->push_back("last");
    }

private:
    std::vector<std::string> *journal_;
};

// A diamond like the platform's remote objects: two interfaces over one virtual RefBase.
class Left : public virtual RefBase {
public:
    int left_ = 1;
};
class Right : public virtual RefBase {
public:
    int right_ = 2;
};
class Both : public Left, public Right {
public:
    explicit Both(std::atomic<int> *deaths) : deaths_(deaths) {}
    ~Both() override
    {
        deaths_->fetch_add(1);
    }

private:
    std::atomic<int> *deaths_;
};

} // namespace

TEST(RefBaseTest, CountsStartAtNeverHeldAndTheLastStrongReleaseDestroys)
{
    std::vector<std::string> journal;
    auto *raw = new Tracked(&journal);
    EXPECT_EQ(raw->GetSptrRefCount(), 1 << 28);
    {
        sptr<Tracked> first(raw);
        EXPECT_EQ(raw->GetSptrRefCount(), 1);
        sptr<Tracked> second = first;
        EXPECT_EQ(raw->GetSptrRefCount(), 2);
        EXPECT_EQ(raw->GetWptrRefCount(), 2);
        second.clear();
        EXPECT_EQ(raw->GetSptrRefCount(), 1);
        EXPECT_EQ(journal, std::vector<std::string>{"first"});
    }
    EXPECT_EQ(journal, (std::vector<std::string>{"first", "last", "destroyed"}));
}

TEST(RefBaseTest, SelfAssignmentAndMovesKeepTheObject)
{
    std::vector<std::string> journal;
    sptr<Tracked> object = sptr<Tracked>::MakeSptr(&journal);
    Tracked *raw = object.GetRefPtr();
    object = raw;
    object = object;
    sptr<Tracked> moved = std::move(object);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(moved->GetSptrRefCount(), 1);
    EXPECT_TRUE(static_cast<bool>(moved));
    EXPECT_EQ(journal, std::vector<std::string>{"first"});
}

TEST(RefBaseTest, WeakPointerPromotesOnlyWhileTheObjectLives)
{
    std::vector<std::string> journal;
    sptr<Tracked> strong = new Tracked(&journal);
    wptr<Tracked> weak = strong;
    EXPECT_EQ(weak.GetWeakRefCount(), 2);
    {
        sptr<Tracked> promoted = weak.promote();
        ASSERT_EQ(promoted, strong);
        EXPECT_EQ(strong->GetSptrRefCount(), 2);
    }
    sptr<Tracked> assigned;
    assigned = weak;
    EXPECT_EQ(assigned, strong);
    assigned.clear();
    strong.clear();
    EXPECT_EQ(journal.back(), "destroyed");
    EXPECT_EQ(weak.promote(), nullptr);
    EXPECT_EQ(weak.GetWeakRefCount(), 1); // the counts outlive the object for the weak pointer
}

TEST(RefBaseTest, ExtendedLifetimeWaitsForTheLastWeakReference)
{
    std::vector<std::string> journal;
    auto *raw = new Tracked(&journal);
    raw->ExtendObjectLifetime();
    wptr<Tracked> weak = raw;
    sptr<Tracked> strong = raw;
    strong.clear();
    EXPECT_EQ(journal, (std::vector<std::string>{"first", "last"}));
    sptr<Tracked> again = weak.promote();
    EXPECT_NE(again, nullptr);
    again.clear();
    weak = nullptr;
    EXPECT_EQ(journal.back(), "destroyed");
}

TEST(RefBaseTest, VirtualBaseKeepsOneCountAcrossTheDiamond)
{
    std::atomic<int> deaths{0};
    sptr<Both> both = new Both(&deaths);
    sptr<Left> left = both;
    sptr<Right> right = both;
    EXPECT_EQ(both->GetSptrRefCount(), 3);
    EXPECT_EQ(right->right_, 2);

    wptr<Both> weakBoth = both;
    wptr<Right> weakRight = weakBoth;
    sptr<Right> viaWeak = weakRight.promote();
    ASSERT_NE(viaWeak, nullptr);
    EXPECT_EQ(viaWeak.GetRefPtr(), right.GetRefPtr());

    both.clear();
    left.clear();
    right.clear();
    EXPECT_EQ(deaths.load(), 0);
    viaWeak.clear();
    EXPECT_EQ(deaths.load(), 1);
    EXPECT_EQ(weakRight.promote(), nullptr);
    wptr<Left> lateConversion = wptr<Left>(wptr<Both>(weakBoth)); // must not touch the dead object
    EXPECT_EQ(lateConversion.promote(), nullptr);
}

// Many rounds of: one thread drops the only strong reference while another promotes a weak one. Either the
// promotion wins and the object stays usable until it is released, or it loses and sees null; the object is
// destroyed exactly once per round.
TEST(RefBaseTest, PromoteRacesTheLastReleaseSafely)
{
    constexpr int ROUNDS = 1000;
    std::atomic<int> deaths{0};
    int promotions = 0;
    for (int round = 0; round < ROUNDS; round++) {
        sptr<Both> owner = new Both(&deaths);
        wptr<Both> weak = owner;
        std::atomic<int> arrived{0};
        auto meet = [&arrived] {
            arrived.fetch_add(1);
            // Spin briefly so both sides leave together; yield after that so a busy machine still progresses.
            for (int spins = 0; arrived.load() < 2; spins++) {
                if (spins > 10000) {
                    std::this_thread::yield();
                }
            }
        };
        // Stagger one side or the other a little differently each round so both orders and the overlap occur.
        auto stagger = [round](bool mine) {
            for (int spin = 0; mine && spin < (round / 2) % 200; spin++) {
                std::atomic_signal_fence(std::memory_order_seq_cst);
            }
        };
        std::thread releaser([&] {
            meet();
            stagger(round % 2 == 1);
            owner.clear();
        });
        meet();
        stagger(round % 2 == 0);
        sptr<Both> promoted = weak.promote();
        if (promoted != nullptr) {
            promotions++;
            EXPECT_EQ(promoted->left_ + promoted->right_, 3); // a use-after-free shows here under ASan
        }
        releaser.join();
        promoted.clear();
        ASSERT_EQ(deaths.load(), round + 1);
        ASSERT_EQ(weak.promote(), nullptr);
    }
    RecordProperty("promotions_won", promotions);
}
