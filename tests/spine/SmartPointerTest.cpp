#include <Kito/SmartPointer>

#include <gtest/gtest.h>

#include <omp.h>

#include <atomic>
#include <string>
#include <vector>

namespace {

using Tarn::Kito::DynamicCast;
using Tarn::Kito::SmartPointer;

std::atomic<int> livingShapes{0};

struct Shape {
    Shape() { ++livingShapes; }
    virtual ~Shape() { --livingShapes; }
};
struct Circle : Shape {
    int radius = 3;
};
struct Square : Shape {};

TEST(SmartPointer, DefaultIsNullWithItsOwnCounters)
{
    SmartPointer<Shape> a;
    SmartPointer<Shape> b;
    EXPECT_TRUE(a == 0);
    EXPECT_TRUE(b == 0);
    EXPECT_EQ(a.getOwnerCount(), 0u);
    EXPECT_EQ(a.getReferenceCount(), 1u);
    SmartPointer<Shape> c(a);
    // A copy of a shares a's counters; b's stay apart.
    EXPECT_EQ(a.getReferenceCount(), 2u);
    EXPECT_EQ(b.getReferenceCount(), 1u);
}

TEST(SmartPointer, ZeroInitialisesAsNull)
{
    SmartPointer<Shape> p = 0;
    EXPECT_TRUE(p == 0);
    EXPECT_EQ(p.getOwnerCount(), 0u);
}

TEST(SmartPointer, OtherIntegerThanZeroFailsToInitialise)
{
    try {
        SmartPointer<Shape> p = 1;
        FAIL() << "no failure";
    } catch (const Tarn::Exceptions::InvalidArg& failure) {
        EXPECT_EQ(failure.getErrorMessage(), "Can initialize implicitly only with 0!");
        EXPECT_EQ(failure.getOrigin(), "Tarn::Kito::SmartPointer::SmartPointer");
    }
}

TEST(SmartPointer, ComparisonWithOneThrowsInsteadOfComparing)
{
    SmartPointer<Shape> p(new Circle);
    try {
        (void)(p == 1);
        FAIL() << "no failure";
    } catch (const Tarn::Exceptions::InvalidArg& failure) {
        EXPECT_EQ(failure.getErrorMessage(), "Can compare only to 0!");
        EXPECT_EQ(failure.getOrigin(), "Tarn::Kito::SmartPointer::operator ==");
    }
}

TEST(SmartPointer, OwnsAndDeletesWithTheLastOwner)
{
    const int before = livingShapes;
    {
        SmartPointer<Shape> a(new Circle);
        EXPECT_EQ(a.getOwnerCount(), 1u);
        {
            SmartPointer<Shape> b(a);
            EXPECT_EQ(a.getOwnerCount(), 2u);
            EXPECT_EQ(a.getReferenceCount(), 2u);
        }
        EXPECT_EQ(a.getOwnerCount(), 1u);
        EXPECT_EQ(livingShapes, before + 1);
    }
    EXPECT_EQ(livingShapes, before);
}

TEST(SmartPointer, AssignmentReleasesTheOldObject)
{
    const int before = livingShapes;
    SmartPointer<Shape> a(new Circle);
    SmartPointer<Shape> b(new Square);
    a = b;
    EXPECT_EQ(livingShapes, before + 1);
    EXPECT_EQ(a.get(), b.get());
    EXPECT_EQ(b.getOwnerCount(), 2u);
    a = a;
    EXPECT_EQ(b.getOwnerCount(), 2u);
}

TEST(SmartPointer, ShiftResponsibilityWithTwoOwnersThrowsAndKeepsBoth)
{
    SmartPointer<Shape> a(new Circle);
    SmartPointer<Shape> b(a);
    try {
        a.shiftResponsibility();
        FAIL() << "no failure";
    } catch (const Tarn::Exceptions::InvalidState& failure) {
        EXPECT_EQ(failure.getErrorMessage(),
                  "Shifting responsibility is only allowed if there is only one owner of the pointer! Current: 2");
        EXPECT_EQ(failure.getOrigin(), "Tarn::Kito::SmartPointer::shiftResponsibility");
    }
    EXPECT_FALSE(a == 0);
    EXPECT_EQ(a.get(), b.get());
    EXPECT_EQ(a.getOwnerCount(), 2u);
}

TEST(SmartPointer, ShiftResponsibilityLeavesNullAndDestructionSparesTheObject)
{
    const int before = livingShapes;
    Shape* raw = nullptr;
    {
        SmartPointer<Shape> a(new Circle);
        raw = a.shiftResponsibility();
        EXPECT_TRUE(a == 0);
        EXPECT_EQ(a.getOwnerCount(), 1u);
    }
    EXPECT_EQ(livingShapes, before + 1);
    delete raw;
    EXPECT_EQ(livingShapes, before);
}

TEST(DynamicCast, FromNullGivesNull)
{
    SmartPointer<Shape> none;
    SmartPointer<Circle> result = DynamicCast<SmartPointer<Circle>, SmartPointer<Shape>>(none);
    EXPECT_TRUE(result == 0);
}

TEST(DynamicCast, ToAnotherTypeGivesNullAndLeavesTheSource)
{
    SmartPointer<Shape> square(new Square);
    SmartPointer<Circle> result = DynamicCast<SmartPointer<Circle>, SmartPointer<Shape>>(square);
    EXPECT_TRUE(result == 0);
    EXPECT_FALSE(square == 0);
    EXPECT_EQ(square.getOwnerCount(), 1u);
    EXPECT_EQ(square.getReferenceCount(), 1u);
}

TEST(DynamicCast, SuccessRaisesTheOwnerCountAndKeepsTheObjectAlive)
{
    const int before = livingShapes;
    SmartPointer<Circle> circle;
    {
        SmartPointer<Shape> shape(new Circle);
        circle = DynamicCast<SmartPointer<Circle>, SmartPointer<Shape>>(shape);
        EXPECT_EQ(shape.getOwnerCount(), 2u);
        EXPECT_EQ(circle->radius, 3);
    }
    EXPECT_EQ(livingShapes, before + 1);
    EXPECT_EQ(circle.getOwnerCount(), 1u);
    circle = SmartPointer<Circle>();
    EXPECT_EQ(livingShapes, before);
}

TEST(DynamicCast, IsItselfAPointerOfTheTargetType)
{
    SmartPointer<Shape> shape(new Circle);
    const DynamicCast<SmartPointer<Circle>, SmartPointer<Shape>> cast(shape);
    const SmartPointer<Circle>& asPointer = cast;
    EXPECT_EQ(asPointer->radius, 3);
    SmartPointer<Circle> copy(cast);
    EXPECT_EQ(shape.getOwnerCount(), 3u);
}

// Many threads copy, cast and assign handles of one family at once while one thread keeps
// replacing a shared handle: the counters must come out exact and every object must die once.
TEST(SmartPointerThreads, CopiesCastsAndAssignmentsFromManyThreadsLeaveExactCounts)
{
    const int before = livingShapes;
    {
        SmartPointer<Shape> shared(new Circle);
        const int rounds = 2000;
#pragma omp parallel num_threads(4)
        {
            std::vector<SmartPointer<Shape>> mine;
            for (int i = 0; i < rounds; ++i) {
                SmartPointer<Shape> copy(shared);
                SmartPointer<Circle> cast = DynamicCast<SmartPointer<Circle>>(copy);
                SmartPointer<Shape> assigned;
                assigned = copy;
                if (i % 7 == 0) mine.push_back(assigned);
                if (i % 97 == 0) mine.clear();
            }
        }
        EXPECT_EQ(shared.getOwnerCount(), 1u);
        EXPECT_EQ(shared.getReferenceCount(), 1u);
    }
    EXPECT_EQ(livingShapes, before);
}

TEST(SmartPointerThreads, ReplacingAHandleWhileOthersCopyItIsSafe)
{
    const int before = livingShapes;
    {
        SmartPointer<Shape> shared(new Circle);
        std::atomic<bool> done{false};
#pragma omp parallel num_threads(3)
        {
            if (omp_get_thread_num() == 0) {
                for (int i = 0; i < 500; ++i) shared = SmartPointer<Shape>(i % 2 ? static_cast<Shape*>(new Circle) : new Square);
                done = true;
            } else {
                while (!done) {
                    SmartPointer<Shape> copy(shared);
                    EXPECT_FALSE(copy == 0);
                }
            }
        }
        EXPECT_EQ(shared.getOwnerCount(), 1u);
    }
    EXPECT_EQ(livingShapes, before);
}

} // namespace
