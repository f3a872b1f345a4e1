// The reference count of objects, and the smart pointer.
#include <kxSystem/kxObject.h>
#include <kxSystem/kxPointer.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using kx::kxObject;
using kx::kxPointer;

// Counts its own deletions in a number that outlives it.
class Probe : public kxObject {
public:
    explicit Probe(std::atomic<int>& deletions) : deletions_(deletions) {}
    ~Probe() override { ++deletions_; }

    int value = 0;

private:
    std::atomic<int>& deletions_;
};

class DerivedProbe : public Probe {
public:
    using Probe::Probe;
};

class Pointer : public ::testing::Test {
protected:
    std::atomic<int> deletions_{0};
};

using Object = Pointer;

TEST_F(Object, ACountIsBornAtZero) {
    const Probe probe(deletions_);
    EXPECT_EQ(probe.GetReferences(), 0);
}

TEST_F(Object, TheLastReferenceTakesTheObjectAlong) {
    const Probe* probe = new Probe(deletions_);
    probe->IncrementReferences();
    probe->IncrementReferences();
    probe->DecrementReferences();
    EXPECT_EQ(probe->GetReferences(), 1);
    EXPECT_EQ(deletions_, 0);
    probe->DecrementReferences();
    EXPECT_EQ(deletions_, 1);
}

TEST_F(Object, ANameIsEmptyUntilItIsSet) {
    Probe probe(deletions_);
    EXPECT_EQ(probe.GetName(), "");
    probe.SetName("left wing");
    EXPECT_EQ(probe.GetName(), "left wing");
}

TEST_F(Object, AClassWithoutACopyRefusesToBeCloned) {
    const Probe probe(deletions_);
    kx::kxRttiInterface* target = nullptr;
    EXPECT_FALSE(probe.Clone(target));
    EXPECT_EQ(target, nullptr);
}

TEST_F(Pointer, ADefaultPointerIsNull) {
    const kxPointer<Probe> pointer;
    EXPECT_EQ(pointer.get(), nullptr);
    EXPECT_FALSE(pointer);
    EXPECT_TRUE(pointer == nullptr);
}

TEST_F(Pointer, APointerHoldsOneReferenceWhileItLives) {
    kxPointer<Probe> keeper = new Probe(deletions_);
    EXPECT_EQ(keeper->GetReferences(), 1);
    {
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it is the copy that counts
        const kxPointer<Probe> copy = keeper;
        EXPECT_EQ(keeper->GetReferences(), 2);
        EXPECT_EQ(copy.get(), keeper.get());
    }
    EXPECT_EQ(keeper->GetReferences(), 1);
    keeper = nullptr;
    EXPECT_EQ(deletions_, 1);
}

TEST_F(Pointer, AMoveHandsTheReferenceOver) {
    kxPointer<Probe> from = new Probe(deletions_);
    kxPointer<Probe> to = std::move(from);
    EXPECT_EQ(to->GetReferences(), 1);
    EXPECT_FALSE(from); // NOLINT(bugprone-use-after-move): a moved-from pointer is null
    from = std::move(to);
    EXPECT_EQ(from->GetReferences(), 1);
    EXPECT_EQ(deletions_, 0);
}

TEST_F(Pointer, AnAssignmentLetsGoOfTheOldObject) {
    std::atomic<int> otherDeletions{0};
    kxPointer<Probe> pointer = new Probe(deletions_);
    const kxPointer<Probe> other = new Probe(otherDeletions);
    pointer = other;
    EXPECT_EQ(deletions_, 1);
    EXPECT_EQ(otherDeletions, 0);
    EXPECT_EQ(other->GetReferences(), 2);
}

TEST_F(Pointer, AssigningAPointerToItselfKeepsTheObject) {
    kxPointer<Probe> pointer = new Probe(deletions_);
    kxPointer<Probe>& alias = pointer;
    pointer = alias;
    EXPECT_EQ(pointer->GetReferences(), 1);
    pointer = std::move(alias);
    EXPECT_EQ(pointer->GetReferences(), 1);
    pointer = pointer.get();
    EXPECT_EQ(pointer->GetReferences(), 1);
    EXPECT_EQ(deletions_, 0);
}

// A link of a chain: releasing the head first would free the very link that is being assigned.
class Link : public kxObject {
public:
    kxPointer<Link> next;
};

TEST_F(Pointer, AChainMayBeWalkedWithItsOnlyPointer) {
    kxPointer<Link> head = new Link;
    head->next = new Link;
    Link* second = head->next.get();
    head = head->next;
    EXPECT_EQ(head.get(), second);
    EXPECT_EQ(head->GetReferences(), 1);
}

TEST_F(Pointer, APointerToADerivedObjectConverts) {
    const kxPointer<DerivedProbe> derived = new DerivedProbe(deletions_);
    const kxPointer<Probe> base = derived;
    const kxPointer<const Probe> constant = derived;
    EXPECT_EQ(derived->GetReferences(), 3);
    EXPECT_TRUE(base == derived);
    EXPECT_TRUE(constant == base);
}

TEST_F(Pointer, OnlyUpwardConversionsCompile) {
    EXPECT_TRUE((std::is_convertible_v<kxPointer<DerivedProbe>, kxPointer<Probe>>));
    EXPECT_FALSE((std::is_constructible_v<kxPointer<DerivedProbe>, kxPointer<Probe>>));
    EXPECT_FALSE((std::is_constructible_v<kxPointer<Probe>, kxPointer<const Probe>>));
}

TEST_F(Pointer, PointersCompareByTheObjectTheyHold) {
    const kxPointer<Probe> one = new Probe(deletions_);
    const kxPointer<Probe> same(one.get());
    const kxPointer<Probe> other = new Probe(deletions_);
    EXPECT_TRUE(one == same);
    EXPECT_TRUE(one != other);
    EXPECT_TRUE(one == same.get());
    EXPECT_TRUE(other.get() != one);
    EXPECT_TRUE(same.get() == one);
    EXPECT_TRUE(one != nullptr);
    EXPECT_TRUE(nullptr != one);
    EXPECT_FALSE(one == nullptr);
    EXPECT_FALSE(one != same);
    EXPECT_FALSE(one != same.get());
}

TEST_F(Pointer, AccessReachesTheObject) {
    const kxPointer<Probe> pointer = new Probe(deletions_);
    pointer->value = 7;
    EXPECT_EQ((*pointer).value, 7);
}

class Incomplete;
using IncompleteHolder = kxPointer<Incomplete>;
bool IsSame(const IncompleteHolder& a, const IncompleteHolder& b) {
    return a == b;
}

class Incomplete : public kxObject {};

TEST_F(Pointer, APointerToAnIncompleteClassMayBePassedOn) {
    const IncompleteHolder pointer = new Incomplete;
    EXPECT_TRUE(IsSame(pointer, pointer));
}

TEST_F(Pointer, ManyThreadsMayCountOnOneObject) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 20000;
    const kxPointer<Probe> shared = new Probe(deletions_);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&shared] {
            for (int round = 0; round < kRounds; ++round) {
                kxPointer<Probe> first = shared;
                const kxPointer<Probe> second = first;
                first = nullptr;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(shared->GetReferences(), 1);
    EXPECT_EQ(deletions_, 0);
}

TEST_F(Pointer, WhoeverLetsGoLastDeletesOnce) {
    constexpr int kRounds = 500;
    for (int round = 0; round < kRounds; ++round) {
        std::atomic<bool> start{false};
        const auto letGo = [&start](kxPointer<Probe>& held) {
            while (!start) {
                std::this_thread::yield();
            }
            held = nullptr;
        };
        kxPointer<Probe> first = new Probe(deletions_);
        kxPointer<Probe> second = first;
        std::thread one(letGo, std::ref(first));
        std::thread two(letGo, std::ref(second));
        start = true;
        one.join();
        two.join();
        ASSERT_EQ(deletions_, round + 1);
    }
}

} // namespace
