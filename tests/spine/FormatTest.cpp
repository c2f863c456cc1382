// Tests of the type-safe printf-like formatter behind the exception messages.
#include <Kito/detail/Format>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

using Tarn::Kito::detail::format;

namespace {
enum class Axis { prim = 0, sec = 1, tert = 2 };
}

TEST(Format, TextWithoutConversionsIsCopied)
{
    EXPECT_EQ(format("Couldn't open file!"), "Couldn't open file!");
    EXPECT_EQ(format(""), "");
}

TEST(Format, NullFormatGivesEmptyText)
{
    EXPECT_EQ(format(nullptr), "");
    EXPECT_EQ(format(nullptr, 1, 2), "");
}

TEST(Format, PercentPercentIsOnePercent)
{
    EXPECT_EQ(format("100%% done"), "100% done");
    EXPECT_EQ(format("%d%%", 50), "50%");
}

TEST(Format, LonePercentAtEndStaysAsWritten)
{
    EXPECT_EQ(format("100%"), "100%");
    EXPECT_EQ(format("width %-5"), "width %-5");
}

TEST(Format, SignedIntegers)
{
    EXPECT_EQ(format("%d", -5), "-5");
    EXPECT_EQ(format("%i", 123), "123");
    EXPECT_EQ(format("%ld", -1234567890123L), "-1234567890123");
    EXPECT_EQ(format("%lld", static_cast<long long>(-9000000000LL)), "-9000000000");
    EXPECT_EQ(format("%zd", static_cast<std::int64_t>(-7)), "-7");
    EXPECT_EQ(format("%zd", static_cast<std::int64_t>(5000000000LL)), "5000000000");
}

TEST(Format, UnsignedIntegers)
{
    EXPECT_EQ(format("%u", 42u), "42");
    EXPECT_EQ(format("%zu", static_cast<std::size_t>(18446744073709551615ULL)), "18446744073709551615");
    EXPECT_EQ(format("%x", 255), "ff");
    EXPECT_EQ(format("%X", 255), "FF");
    EXPECT_EQ(format("%#x", 255), "0xff");
    EXPECT_EQ(format("%o", 8), "10");
}

TEST(Format, FlagsAndWidth)
{
    EXPECT_EQ(format("[%5d]", 42), "[   42]");
    EXPECT_EQ(format("[%-5d]", 42), "[42   ]");
    EXPECT_EQ(format("[%05d]", 42), "[00042]");
    EXPECT_EQ(format("[%+d]", 42), "[+42]");
    EXPECT_EQ(format("[% d]", 42), "[ 42]");
    EXPECT_EQ(format("[%8.3f]", 3.14159), "[   3.142]");
}

TEST(Format, IntegerIsCutToTheLengthModifier)
{
    // As printf reads an int for %d, a wider value shows its low 32 bits.
    EXPECT_EQ(format("%d", static_cast<std::int64_t>(0x100000005LL)), "5");
    EXPECT_EQ(format("%u", -1), "4294967295");
    EXPECT_EQ(format("%hhd", 300), "44");
    EXPECT_EQ(format("%hu", 70000), "4464");
    EXPECT_EQ(format("%zu", -1), "18446744073709551615");
}

TEST(Format, BoolCharAndEnumAreIntegers)
{
    EXPECT_EQ(format("%d", true), "1");
    EXPECT_EQ(format("%d", 'A'), "65");
    EXPECT_EQ(format("%c", 'A'), "A");
    EXPECT_EQ(format("%c%c", 72, 'i'), "Hi");
    EXPECT_EQ(format("%d", Axis::tert), "2");
}

TEST(Format, FloatingPoint)
{
    EXPECT_EQ(format("%f", 1.5), "1.500000");
    EXPECT_EQ(format("%.2f", 3.14159), "3.14");
    EXPECT_EQ(format("%g", 0.0001), "0.0001");
    EXPECT_EQ(format("%e", 12345.678), "1.234568e+04");
    EXPECT_EQ(format("%E", 0.5), "5.000000E-01");
    EXPECT_EQ(format("%f", 0.5f), "0.500000");
    EXPECT_EQ(format("%Lf", 2.25L), "2.250000");
}

TEST(Format, IntegerUnderFloatingConversionIsItsValue)
{
    EXPECT_EQ(format("%.1f", 3), "3.0");
    EXPECT_EQ(format("%g", static_cast<std::uint64_t>(1000)), "1000");
    EXPECT_EQ(format("%.0f", -2), "-2");
}

TEST(Format, DoubleUnderPercentDPrintsLowWordOfItsBits)
{
    // 1.0000001 is 0x3FF000001AD7F29B; the low word 0x1AD7F29B is 450359963.
    EXPECT_EQ(format("(%d)", 1.0000001), "(450359963)");
    // -0.1 is 0xBFB999999999999A; the low word 0x9999999A read as int32 is -1717986918.
    EXPECT_EQ(format("%d", -0.1), "-1717986918");
    EXPECT_EQ(format("%i", -0.1), "-1717986918");
    // 2.5 is 0x4004000000000000: the low word is 0.
    EXPECT_EQ(format("%d", 2.5), "0");
    EXPECT_EQ(format("%x", 1.0000001), "1ad7f29b");
}

TEST(Format, DoubleUnderPercentZdPrintsAllItsBits)
{
    // -0.1 is 0xBFB999999999999A, read as int64.
    EXPECT_EQ(format("%zd", -0.1), "-4631501856787818086");
    // 2.5 is 0x4004000000000000.
    EXPECT_EQ(format("%lld", 2.5), "4612811918334230528");
}

TEST(Format, DoubleUnderPercentDIsTheSameEveryTime)
{
    const std::string first = format("%d", 123.456);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(format("%d", 123.456), first);
}

TEST(Format, Strings)
{
    const std::string name = "volume.rek";
    const char* cText = "abc";
    char buffer[] = "mutable";
    EXPECT_EQ(format("File '%s'", name), "File 'volume.rek'");
    EXPECT_EQ(format("%s", cText), "abc");
    EXPECT_EQ(format("%s", buffer), "mutable");
    EXPECT_EQ(format("%s-%s", "one", std::string("two")), "one-two");
    EXPECT_EQ(format("[%6s]", "ab"), "[    ab]");
    EXPECT_EQ(format("[%-4s]", "ab"), "[ab  ]");
    EXPECT_EQ(format("%.3s", "abcdef"), "abc");
    EXPECT_EQ(format("%.3s", std::string("ab")), "ab");
}

TEST(Format, NullCStringPrintsNullMarker)
{
    const char* nothing = nullptr;
    EXPECT_EQ(format("'%s'", nothing), "'(null)'");
}

TEST(Format, StringViewNeedsNoTerminator)
{
    const char letters[] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(format("%s|", std::string_view(letters, 2)), "ab|");
}

TEST(Format, NumberUnderPercentSIsWrittenOut)
{
    EXPECT_EQ(format("%s", 42), "42");
    EXPECT_EQ(format("%s", -3), "-3");
    EXPECT_EQ(format("%s", 0.5), "0.5");
}

TEST(Format, OutputLongerThanTheStackBuffer)
{
    const std::string longText(1000, 'x');
    EXPECT_EQ(format("%s", longText), longText);
    EXPECT_EQ(format("%300d", 1), std::string(299, ' ') + "1");
}

TEST(Format, StarTakesWidthAndPrecisionFromArguments)
{
    EXPECT_EQ(format("[%*d]", 5, 42), "[   42]");
    EXPECT_EQ(format("[%*d]", -4, 7), "[7   ]");
    EXPECT_EQ(format("%.*f", 2, 1.0), "1.00");
    EXPECT_EQ(format("%.*s", 2, "abcdef"), "ab");
}

TEST(Format, MissingArgumentsPrintTheConversionAsWritten)
{
    EXPECT_EQ(format("%d and %s", 5), "5 and %s");
    EXPECT_EQ(format("%5.2f!"), "%5.2f!");
    EXPECT_EQ(format("Current: %d"), "Current: %d");
    EXPECT_EQ(format("[%*d]"), "[%*d]");
}

TEST(Format, SurplusArgumentsAreIgnored)
{
    EXPECT_EQ(format("x=%d", 1, 2, "three"), "x=1");
    EXPECT_EQ(format("none", 1.5), "none");
}

TEST(Format, WrongTypeArgumentIsUsedUpAndItsConversionPrintedAsWritten)
{
    EXPECT_EQ(format("%d|%s", "text", "next"), "%d|next");
}

TEST(Format, UnknownConversionIsPrintedAndTakesNoArgument)
{
    EXPECT_EQ(format("%y %d", 7), "%y 7");
    EXPECT_EQ(format("%n%d", 3), "%n3");
}
