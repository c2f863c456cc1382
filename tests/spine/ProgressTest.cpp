#include <Kito/Progress>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

namespace {

using Tarn::Kito::DynamicCast;
using Tarn::Kito::Progress;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;

// The double goes to %d unconverted; what it prints is the low word of its representation.
std::string lowWordOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return std::to_string(static_cast<std::int32_t>(static_cast<std::uint32_t>(bits)));
}

TEST(Progress, StartsAtZeroWithOneKey)
{
    Progress progress;
    EXPECT_EQ(progress.getProgress(), 0.0);
    EXPECT_EQ(progress.size(), 1u);
    EXPECT_EQ(progress.getKey(0), "inputOutputProgress");
    EXPECT_EQ(progress.getType(), "Tarn::Kito::Progress");
}

TEST(Progress, OneAndZeroPass)
{
    Progress progress;
    progress.setProgress(1.0);
    EXPECT_EQ(progress.getProgress(), 1.0);
    progress.setProgress(0.0);
    EXPECT_EQ(progress.getProgress(), 0.0);
    progress.setProgress(-0.0);
    EXPECT_TRUE(std::signbit(progress.getProgress()));
}

TEST(Progress, AboveOneFailsWithTheDoubleGivenToPercentD)
{
    Progress progress;
    progress.setProgress(0.5);
    try {
        progress.setProgress(1.0000001);
        FAIL();
    } catch (const Tarn::Exceptions::InvalidArg& failure) {
        // 1.0000001 is 0x3FF000001AD7F29B; its low word 0x1AD7F29B is 450359963.
        EXPECT_EQ(failure.getErrorMessage(), "Progress is greater than 1.0 (450359963)!");
        EXPECT_EQ(lowWordOf(1.0000001), "450359963");
        EXPECT_EQ(failure.getOrigin(), "Tarn::Kito::Progress::setProgress");
        EXPECT_EQ(failure.getFile(), "Kito/include/Kito/Progress");
        EXPECT_EQ(failure.getLine(), 75u);
        EXPECT_STREQ(failure.what(), "Invalid argument!");
    }
    EXPECT_EQ(progress.getProgress(), 0.5);
}

TEST(Progress, TinyNegativeFails)
{
    Progress progress;
    try {
        progress.setProgress(-1e-300);
        FAIL();
    } catch (const Tarn::Exceptions::InvalidArg& failure) {
        EXPECT_EQ(failure.getErrorMessage(), "Progress is less than 0.0 (" + lowWordOf(-1e-300) + ")!");
        EXPECT_EQ(failure.getLine(), 81u);
    }
}

TEST(Progress, NaNPassesBothTestsAndIsStored)
{
    Progress progress;
    progress.setProgress(std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(std::isnan(progress.getProgress()));
}

TEST(Progress, CopyIsIndependentOfItsSource)
{
    Progress source;
    source.setProgress(0.25);
    Progress copy(source);
    EXPECT_EQ(copy.getProgress(), 0.25);
    copy.setProgress(0.75);
    EXPECT_EQ(source.getProgress(), 0.25);
    copy.setValue("inputOutputProgress", DynamicCast<SmartPointer<IComposite>>(DataPtr<double>(0.5)));
    EXPECT_EQ(source.getProgress(), 0.25);
    Progress assigned;
    assigned = source;
    EXPECT_EQ(assigned.getProgress(), 0.25);
    assigned.setProgress(0.0);
    EXPECT_EQ(source.getProgress(), 0.25);
}

TEST(Progress, CompositeFaceGivesDataAndSetsWithoutRangeTest)
{
    Progress progress;
    progress.setProgress(0.5);
    SmartPointer<IComposite> value = progress.getValue("inputOutputProgress");
    EXPECT_EQ(value->getType(), "Tarn::Kito::Persistence::Data< Tarn::float64 >");
    EXPECT_EQ(DynamicCast<DataPtr<double>>(value)->getValue(), 0.5);
    progress.setValue("inputOutputProgress", DynamicCast<SmartPointer<IComposite>>(DataPtr<double>(7.0)));
    EXPECT_EQ(progress.getProgress(), 7.0);
}

} // namespace
