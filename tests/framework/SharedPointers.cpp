#include <KivBase/SmartPtr.h>

#include <thread>
#include <vector>

#include <gtest/gtest.h>

using namespace Kiv;

namespace
{

std::atomic<int> alive{0};

struct CountedBase : SPRefCounter {
    CountedBase() { ++alive; }
    ~CountedBase() override { --alive; }
};

struct PlainBase {
    PlainBase() { ++alive; }
    virtual ~PlainBase() { --alive; }
};

template <class Base_>
struct SmartPtrForms : testing::Test {
    using Base = Base_;
    struct Derived : Base {
    };
    ~SmartPtrForms() override { EXPECT_EQ(alive, 0); }
};

using Bases = testing::Types<CountedBase, PlainBase>;
TYPED_TEST_SUITE(SmartPtrForms, Bases);

} // namespace

static_assert(sizeof(SmartPtr<CountedBase>) == sizeof(void*));
static_assert(sizeof(SmartPtr<PlainBase>) == 2 * sizeof(void*));

TYPED_TEST(SmartPtrForms, DeletesTheObjectWithItsLastShare)
{
    auto first = MakeShared<typename TestFixture::Derived>();
    SmartPtr<typename TestFixture::Base> base = first;
    {
        auto second = first;
        auto third = std::move(first);
        EXPECT_FALSE(first);
        first = second;
    }
    first = *&first;
    first = nullptr;
    EXPECT_EQ(alive, 1) << "the base has a share";
    base = nullptr;
    EXPECT_EQ(alive, 0);
}

TYPED_TEST(SmartPtrForms, CountsOnSeveralThreads)
{
    const auto shared = MakeShared<typename TestFixture::Derived>();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([mine = shared] {
            for (int i = 0; i < 20000; ++i)
                SmartPtr<typename TestFixture::Base> copy(mine);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(alive, 1);
}

TEST(SmartPtr, CountIsSharedByPlainPointersAndNoPartOfTheValue)
{
    const auto first = MakeShared<CountedBase>();
    const SmartPtr<CountedBase> again(first.Get());
    EXPECT_EQ(first->NbRef(), 2);
    const CountedBase copy(*first);
    ++alive; // the implicit copy does not announce itself
    EXPECT_EQ(copy.NbRef(), 0);
}

TEST(SmartPtr, SharesThatAreTakenWhileTheObjectIsDestroyedDestroyItNoSecondTime)
{
    struct SharedByItsDestructor : Kiv::SPRefCounter {
        explicit SharedByItsDestructor(int& destroyed) : m_destroyed(destroyed) {}
        ~SharedByItsDestructor() override
        {
            ++m_destroyed;
            SmartPtr<SharedByItsDestructor>(this) = nullptr;
        }
        int& m_destroyed;
    };
    int destroyed = 0;
    MakeShared<SharedByItsDestructor>(destroyed) = nullptr;
    EXPECT_EQ(destroyed, 1);
}
