// SPDX-License-Identifier: Apache-2.0
// Lifetimes and counts of RefBase objects as the platform reports them, and the singleton templates.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "refbase.h"
#include "singleton.h"

using namespace OHOS;

namespace {
// Journals its hooks and its destruction: F(irst strong), L(ast strong), D(estroyed).
class Tracked : public virtual RefBase {
public:
    explicit Tracked(std::string *journal) : journal_(journal) {}
    Tracked(Tracked &&other) noexcept : RefBase(std::move(other)), journal_(other.journal_) {}
    ~Tracked() override
    {
        *journal_ += "D";
    }
    void OnFirstStrongRef(const void *) override
    {
        *journal_ += "F";
    }
    void OnLastStrongRef(const void *) override
    {
        *journal_ += "L";
    }

private:
    std::string *journal_;
};

// A diamond like the platform's remote objects: two interfaces over one virtual RefBase; counts its deaths.
struct Left : public virtual RefBase {
    int left_ = 1;
};
struct Right : public virtual RefBase {
    int right_ = 2;
};
struct Both : public Left, public Right {
    static inline std::atomic<int> deaths{0};
    ~Both() override
    {
        deaths++;
    }
};

using Counts = std::vector<int>; // counts read in order, compared as one row
} // namespace

// Copies of one wptr share one weak reference; each new lineage and each sptr holds one.
TEST(RefBaseTest, WeakCountsFollowLineagesMovesHandOverTheCountsAndWeakPointersConvertBetweenTypes)
{
    std::string journal;
    sptr<Tracked> s = new Tracked(&journal);
    wptr<Tracked> w1 = s, w2 = w1, w3 = s;
    // strong, weak, the two lineages' counts, and the counter's own: the object and two lineages
    EXPECT_EQ((Counts{s->GetSptrRefCount(), s->GetWptrRefCount(), w1.GetWeakRefCount(), w3.GetWeakRefCount(),
                      s->GetRefCounter()->GetRefCount()}),
              (Counts{1, 3, 2, 1, 3}));
    w2 = w3;
    EXPECT_EQ((Counts{w1.GetWeakRefCount(), w3.GetWeakRefCount()}), (Counts{1, 2}));
    wptr<Tracked> moved = std::move(w1);
    EXPECT_TRUE(w1.GetRefPtr() == nullptr && s->GetWptrRefCount() == 3);
    sptr<Tracked> promoted = w3.promote();
    EXPECT_EQ((Counts{s->GetSptrRefCount(), s->GetWptrRefCount()}), (Counts{2, 4}));
    promoted.clear();
    s.clear();
    EXPECT_EQ(journal, "FLD");
    EXPECT_TRUE(w3.promote() == nullptr && w3.GetWeakRefCount() == 2); // the lineage outlives the object
    // An object held only weakly goes with its last weak pointer.
    journal.clear();
    auto *raw = new Tracked(&journal);
    wptr<Tracked> weak = raw;
    {
        wptr<Tracked> copy = weak;
        weak = nullptr;
        EXPECT_EQ(journal, "");
    }
    EXPECT_EQ(journal, "D");
    auto *promotedLater = new Tracked(&journal);
    wptr<Tracked> again(promotedLater);
    sptr<Tracked> strong = again.promote();
    EXPECT_TRUE(strong.GetRefPtr() == promotedLater && strong->GetSptrRefCount() == 1);
    strong.clear();
    EXPECT_EQ(journal, "DFLD");
    // Moves hand over the reference and the counts.
    journal.clear();
    sptr<Tracked> a = new Tracked(&journal);
    sptr<Tracked> b = std::move(a);
    EXPECT_TRUE(a.GetRefPtr() == nullptr && b->GetSptrRefCount() == 1);
    b = b.GetRefPtr(); // self-assignment keeps the object
    EXPECT_EQ(journal, "F");
    Tracked source(&journal);
    RefCounter *counts = source.GetRefCounter();
    Tracked target(std::move(source));
    EXPECT_TRUE(source.GetRefCounter() == nullptr && source.GetSptrRefCount() == 0);
    source.IncStrongRef(nullptr); // does nothing without counts
    EXPECT_TRUE(target.GetRefCounter() == counts && target.GetSptrRefCount() == INITIAL_PRIMARY_VALUE);
    // wptr<T>(O*) and operator=(O*) start lineages of T, converting the address.
    int deaths = Both::deaths;
    sptr<Both> both = new Both();
    wptr<Right> right(both.GetRefPtr());
    wptr<Left> left;
    left = both.GetRefPtr();
    EXPECT_TRUE(right.GetRefPtr() == static_cast<Right *>(both.GetRefPtr()) && both->GetWptrRefCount() == 3);
    wptr<Both> weakBoth = both;
    wptr<Right> viaBoth = weakBoth;
    sptr<Right> strongRight = viaBoth.promote();
    EXPECT_TRUE(strongRight != nullptr && strongRight->right_ == 2);
    both.clear();
    EXPECT_EQ(Both::deaths, deaths);
    strongRight.clear();
    EXPECT_EQ(Both::deaths, deaths + 1);
    wptr<Left> late = wptr<Both>(weakBoth); // converting a dead object's lineage must not touch it
    EXPECT_EQ(late.promote(), nullptr);
}

TEST(RefBaseTest, ExtendedLifetimeACounterCallbackAndAnAttemptedAcquireChangeWhenTheObjectGoes)
{
    std::string journal;
    auto *raw = new Tracked(&journal);
    raw->ExtendObjectLifetime();
    EXPECT_TRUE(raw->IsExtendLifeTimeSet());
    wptr<Tracked> weak = raw;
    sptr<Tracked>(raw).clear();
    EXPECT_TRUE(journal == "FL" && weak.promote() != nullptr) << journal;
    weak = nullptr;
    EXPECT_EQ(journal.back(), 'D');
    // A callback set on the counter replaces the deletion.
    journal.clear();
    Tracked onStack(&journal);
    int calls = 0;
    onStack.GetRefCounter()->SetCallback([&calls] { calls++; });
    EXPECT_TRUE(onStack.GetRefCounter()->IsRefPtrValid());
    sptr<Tracked>(&onStack).clear();
    EXPECT_TRUE(calls == 1 && journal == "FL") << journal;
    // An attempted acquire holds the object until it is handed back.
    std::string acquired;
    auto *target = new Tracked(&acquired);
    sptr<Tracked> holder = target;
    EXPECT_FALSE(target->IsAttemptAcquireSet());
    ASSERT_TRUE(target->AttemptAcquire(nullptr));
    EXPECT_TRUE(target->IsAttemptAcquireSet() && target->GetSptrRefCount() == 2);
    holder.clear();
    EXPECT_EQ(acquired, "F");
    sptr<Tracked> wrapped = target;
    target->CheckIsAttemptAcquireSet(nullptr);
    EXPECT_TRUE(!target->IsAttemptAcquireSet() && target->GetSptrRefCount() == 1);
    target->CheckIsAttemptAcquireSet(nullptr); // nothing left to hand back
    EXPECT_EQ(target->GetSptrRefCount(), 1);
    wrapped.clear();
    EXPECT_EQ(acquired, "FLD");
    // The platform's way to hand a new object over: the counts of the attempt go back without any hook, and the
    // sptr that follows holds the object alone.
    std::string handed;
    auto *fresh = new Tracked(&handed);
    ASSERT_TRUE(fresh->AttemptAcquire(nullptr));
    fresh->CheckIsAttemptAcquireSet(nullptr);
    EXPECT_TRUE(handed == "F" && fresh->GetSptrRefCount() == 0) << handed;
    sptr<Tracked> owner = fresh;
    EXPECT_TRUE(handed == "F" && owner->GetSptrRefCount() == 1) << handed;
    owner.clear();
    EXPECT_EQ(handed, "FLD");
}

// Many rounds of: one thread drops the only strong reference while another promotes a weak one. Either the
// promotion wins and the object stays usable until it is released, or it loses and sees null; the object is
// destroyed exactly once per round.
TEST(RefBaseTest, PromoteRacesTheLastReleaseSafely)
{
    const int deaths = Both::deaths;
    for (int round = 0; round < 1000; round++) {
        sptr<Both> owner = new Both();
        wptr<Both> weak = owner;
        std::atomic<int> arrived{0};
        auto meet = [&arrived, round](bool late) {
            arrived.fetch_add(1);
            while (arrived.load() < 2) {
                std::this_thread::yield();
            }
            // Stagger one side a little differently each round so both orders and the overlap occur.
            for (int spin = 0; late && spin < (round / 2) % 200; spin++) {
                std::atomic_signal_fence(std::memory_order_seq_cst);
            }
        };
        std::thread releaser([&] {
            meet(round % 2 == 1);
            owner.clear();
        });
        meet(round % 2 == 0);
        sptr<Both> promoted = weak.promote();
        if (promoted != nullptr) {
            EXPECT_EQ(promoted->left_ + promoted->right_, 3); // a use-after-free shows here under ASan
        }
        releaser.join();
        promoted.clear();
        ASSERT_EQ(Both::deaths, deaths + round + 1);
        ASSERT_EQ(weak.promote(), nullptr);
    }
}

namespace {
struct Delayed {
    DECLARE_DELAYED_SINGLETON(Delayed);
};
int g_delayedMade = 0;
Delayed::Delayed()
{
    g_delayedMade++;
}
Delayed::~Delayed() = default;

struct DelayedRef {
    DECLARE_DELAYED_REF_SINGLETON(DelayedRef);
};
DelayedRef::DelayedRef() = default;

struct Eager {
    DECLARE_SINGLETON(Eager);
};
Eager::Eager() = default;
Eager::~Eager() = default;
} // namespace

TEST(SingletonTest, OneInstanceUntilDestroyed)
{
    std::shared_ptr<Delayed> first = DelayedSingleton<Delayed>::GetInstance();
    int made = g_delayedMade;
    EXPECT_EQ(DelayedSingleton<Delayed>::GetInstance(), first);
    DelayedSingleton<Delayed>::DestroyInstance();
    // the earlier holder keeps its own instance
    EXPECT_TRUE(DelayedSingleton<Delayed>::GetInstance() != first && g_delayedMade == made + 1);
    EXPECT_EQ(&DelayedRefSingleton<DelayedRef>::GetInstance(), &DelayedRefSingleton<DelayedRef>::GetInstance());
    EXPECT_EQ(&Singleton<Eager>::GetInstance(), &Singleton<Eager>::GetInstance());
}
