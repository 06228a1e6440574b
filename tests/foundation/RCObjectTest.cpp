#include <TesselU/foundation/RCObject.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace Tuk {
namespace {

using Log = std::vector<std::string>;

/// Writes down what happens to it.
class Logged : public RCObject {
public:
    Logged(std::string ownName, Log& ownLog) : name(std::move(ownName)), log(&ownLog) {}
    ~Logged() override { log->push_back("~" + name); }
    Logged(const Logged&) = default;
    Logged& operator=(const Logged&) = default;

    void AddReference() override {
        log->push_back("+" + name);
        RCObject::AddReference();
    }
    void RemoveReference() override {
        log->push_back("-" + name);
        RCObject::RemoveReference();
    }
    bool IsShared() const override { return RCObject::IsShared(); }

private:
    std::string name;
    Log* log;
};

static_assert(std::is_abstract_v<RCObject>);
static_assert(!std::is_destructible_v<RCObject>, "the destructor is protected");
static_assert(std::has_virtual_destructor_v<RCObject>);

TEST(RCObjectTest, StartsWithoutReferences) {
    Log log;
    Logged* const object = new Logged("a", log);
    EXPECT_FALSE(object->IsShared());
    object->AddReference();
    object->RemoveReference();
    EXPECT_EQ(log, (Log{"+a", "-a", "~a"})) << "one reference had been taken, and it was the only one";
}

TEST(RCObjectTest, SharedMeansMoreThanOneReference) {
    Log log;
    Logged* const object = new Logged("a", log);
    object->AddReference();
    EXPECT_FALSE(object->IsShared());
    object->AddReference();
    EXPECT_TRUE(object->IsShared());
    object->AddReference();
    EXPECT_TRUE(object->IsShared());
    object->RemoveReference();
    EXPECT_TRUE(object->IsShared());
    object->RemoveReference();
    EXPECT_FALSE(object->IsShared());
    EXPECT_EQ(log.back(), "-a") << "still there";
    object->RemoveReference();
    EXPECT_EQ(log.back(), "~a");
}

TEST(RCObjectTest, WithoutAReferenceThereIsNoneToRemove) {
    Log log;
    Logged* const object = new Logged("a", log);
    object->RemoveReference();
    object->RemoveReference();
    EXPECT_EQ(log, (Log{"-a", "-a"})) << "still there";
    EXPECT_FALSE(object->IsShared());
    {
        const RCPtr<Logged> first(object);
        {
            const RCPtr<Logged> second(object);
            EXPECT_TRUE(object->IsShared()) << "the count was 0, not below";
        }
        EXPECT_EQ(log.back(), "-a") << "one owner is left";
    }
    EXPECT_EQ(log.back(), "~a");

    Log logOfLocal;
    {
        Logged local("b", logOfLocal);
        local.RemoveReference();
        EXPECT_EQ(logOfLocal, (Log{"-b"}));
    }
    EXPECT_EQ(logOfLocal, (Log{"-b", "~b"})) << "an object without owners ends where it was made, once";
}

TEST(RCObjectTest, CopyStartsWithoutReferences) {
    Log log;
    const RCPtr<Logged> original(new Logged("a", log));
    const RCPtr<Logged> another(original);
    ASSERT_TRUE(original->IsShared());
    Logged* const copy = new Logged(*original);
    EXPECT_FALSE(copy->IsShared());
    copy->AddReference();
    EXPECT_FALSE(copy->IsShared());
    log.clear();
    copy->RemoveReference();
    EXPECT_EQ(log, (Log{"-a", "~a"}));
    EXPECT_TRUE(original->IsShared());
}

TEST(RCObjectTest, AssignmentLeavesTheCountOfTheTargetAlone) {
    Log log;
    const RCPtr<Logged> one(new Logged("a", log));
    const RCPtr<Logged> shared(new Logged("b", log));
    const RCPtr<Logged> sharedAgain(shared);
    *shared = *one;
    EXPECT_TRUE(shared->IsShared());
    *one = *shared;
    EXPECT_FALSE(one->IsShared());
}

TEST(RCObjectTest, CountsOnManyThreads) {
    Log log;
    class Plain : public RCObject {
    public:
        explicit Plain(bool& goneFlag) : gone(goneFlag) {}
        ~Plain() override { gone = true; }

    private:
        bool& gone;
    };
    bool gone = false;
    {
        const RCPtr<Plain> object(new Plain(gone));
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&object] {
                for (int i = 0; i < 20000; ++i) {
                    const RCPtr<Plain> held(object);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_FALSE(object->IsShared());
        EXPECT_FALSE(gone);
    }
    EXPECT_TRUE(gone);
}

TEST(RCObjectTest, OfTheLastTwoReferencesOneDeletes) {
    class Counted : public RCObject {
    public:
        explicit Counted(std::atomic<int>& count) : gone(count) {}
        ~Counted() override { ++gone; }

    private:
        std::atomic<int>& gone;
    };
    std::atomic<int> gone{0};
    for (int round = 1; round <= 200; ++round) {
        RCPtr<Counted> first(new Counted(gone));
        std::thread other([second = first]() mutable { second = nullptr; });
        first = nullptr;
        other.join();
        ASSERT_EQ(gone, round);
    }
}

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
template <typename Member>
std::size_t SlotOf(Member member) {
    std::ptrdiff_t representation[2];
    static_assert(sizeof(member) == sizeof(representation));
    std::memcpy(representation, &member, sizeof(member));
    return static_cast<std::size_t>(representation[0] - 1) / sizeof(void*);
}

TEST(RCObjectTest, VirtualOperationsStandInOrder) {
    EXPECT_EQ(SlotOf(&RCObject::AddReference), 0U);
    EXPECT_EQ(SlotOf(&RCObject::RemoveReference), 1U);
    EXPECT_EQ(SlotOf(&RCObject::IsShared), 2U);
}
#endif

// --- RCPtr

TEST(RCPtrTest, MayBeNull) {
    RCPtr<Logged> empty;
    EXPECT_EQ(empty.get(), nullptr);
    EXPECT_FALSE(empty);
    const RCPtr<Logged> fromNull(static_cast<Logged*>(nullptr));
    EXPECT_EQ(fromNull.get(), nullptr);
    const RCPtr<Logged> copy(empty);
    EXPECT_EQ(copy.get(), nullptr);
    empty = copy;
    EXPECT_EQ(empty.get(), nullptr);
}

TEST(RCPtrTest, ConstructionTakesAReferenceAndDestructionDropsIt) {
    Log log;
    {
        const RCPtr<Logged> first(new Logged("a", log));
        EXPECT_EQ(log, (Log{"+a"}));
        {
            const RCPtr<Logged> second(first);
            EXPECT_EQ(second.get(), first.get());
            EXPECT_EQ(log, (Log{"+a", "+a"}));
            EXPECT_TRUE(first->IsShared());
        }
        EXPECT_EQ(log, (Log{"+a", "+a", "-a"}));
    }
    EXPECT_EQ(log, (Log{"+a", "+a", "-a", "-a", "~a"}));
}

TEST(RCPtrTest, AssignmentTakesTheNewBeforeItDropsTheOld) {
    Log log;
    RCPtr<Logged> target(new Logged("old", log));
    const RCPtr<Logged> source(new Logged("new", log));
    log.clear();
    target = source;
    EXPECT_EQ(log, (Log{"+new", "-old", "~old"}));
    EXPECT_EQ(target.get(), source.get());
}

TEST(RCPtrTest, AssignmentOfAPointer) {
    Log log;
    RCPtr<Logged> target(new Logged("old", log));
    Logged* const object = new Logged("new", log);
    log.clear();
    target = object;
    EXPECT_EQ(log, (Log{"+new", "-old", "~old"}));
    EXPECT_EQ(target.get(), object);
}

TEST(RCPtrTest, AssignmentOfTheSamePointerDoesNothing) {
    Log log;
    RCPtr<Logged> target(new Logged("a", log));
    const RCPtr<Logged> same(target);
    log.clear();
    target = same;
    target = target.get();
    RCPtr<Logged>& itself = target;
    target = itself;
    EXPECT_TRUE(log.empty());
}

TEST(RCPtrTest, AssignmentOfNullOnlyDrops) {
    Log log;
    RCPtr<Logged> target(new Logged("a", log));
    log.clear();
    target = RCPtr<Logged>();
    EXPECT_EQ(log, (Log{"-a", "~a"}));
    EXPECT_EQ(target.get(), nullptr);
    target = new Logged("b", log);
    EXPECT_EQ(log, (Log{"-a", "~a", "+b"}));
}

/// Holds a pointer to another object of its kind.
class Link : public RCObject {
public:
    RCPtr<Link> next;
};

TEST(RCPtrTest, OldObjectMayOwnTheNewOne) {
    RCPtr<Link> head(new Link);
    head->next = new Link;
    Link* const second = head->next.get();
    head = head->next;
    EXPECT_EQ(head.get(), second);
    EXPECT_FALSE(head->IsShared());
}

}  // namespace
}  // namespace Tuk
