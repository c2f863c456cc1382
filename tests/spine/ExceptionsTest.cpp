// Tests of the Tarn::Exceptions family: texts, class names, standard bases, copies, the report to
// sinks, the count of living exceptions, survival without memory and the uncaught-exception report.
#include <Kito/Exceptions>
#include <support/RecordingSink.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <exception>
#include <list>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

namespace {

namespace E = Tarn::Exceptions;

using TestSupport::RecordingSink;
using TestSupport::SinkRegistration;
using TestSupport::rule;

std::list<std::string> onlyRule() { return {rule}; }

/// An InvalidArg with an error code, which no class of the family sets by itself.
class CodedFailure : public E::InvalidArg {
public:
    CodedFailure()
        : Exception("Invalid argument!", "", "Tarn::Test::coded", "Coded.cpp", 5), std::invalid_argument("coded"),
          InvalidArg("Tarn::Test::coded", "Coded.cpp", 5)
    {
        errorCode = 7;
    }
};

} // namespace

// ---- texts and class names ----------------------------------------------------------------------

TEST(NULLPointer, DefaultTexts)
{
    const E::NULLPointer e("Tarn::Kito::Volume::getData", "Volume.h", 17);
    EXPECT_EQ(e.getErrorMessage(), "NULL pointer!");
    EXPECT_EQ(e.getGUIMessage(), "NULL pointer!");
    EXPECT_STREQ(e.what(), "NULL pointer!");
    EXPECT_EQ(e.getOrigin(), "Tarn::Kito::Volume::getData");
    EXPECT_EQ(e.getFile(), "Volume.h");
    EXPECT_EQ(e.getLine(), 17u);
    EXPECT_EQ(e.getErrorCode(), 0);
    EXPECT_FALSE(e.isDamaged());
    EXPECT_EQ(e.getClassName(), "Tarn::Exceptions::NULLPointer");
}

TEST(NULLPointer, VariableNameGoesIntoErrorMessage)
{
    const E::NULLPointer e("inputVolume", "Tarn::Kito::Copy::apply", "Copy.h", 3);
    EXPECT_EQ(e.getErrorMessage(), "The pointer variable 'inputVolume' is a NULL pointer");
    EXPECT_EQ(e.getGUIMessage(), "NULL pointer!");
    EXPECT_EQ(e.getOrigin(), "Tarn::Kito::Copy::apply");
}

TEST(InvalidArg, DefaultTexts)
{
    const E::InvalidArg e("o", "f.h", 1);
    EXPECT_EQ(e.getErrorMessage(), "");
    EXPECT_EQ(e.getGUIMessage(), "Invalid argument!");
    EXPECT_STREQ(e.what(), "Invalid argument!");
    EXPECT_EQ(e.getClassName(), "Tarn::Exceptions::InvalidArg");
}

TEST(InvalidArg, FormatBecomesErrorMessage)
{
    const E::InvalidArg e("Can initialize implicitly only with 0!", "Tarn::Kito::SmartPointer::SmartPointer",
                          "SmartPointer", 40);
    EXPECT_EQ(e.getErrorMessage(), "Can initialize implicitly only with 0!");
    EXPECT_EQ(e.getGUIMessage(), "Invalid argument!");
    const E::InvalidArg f("Size %d of '%s'", "o", "f.h", 2, 17, std::string("vol"));
    EXPECT_EQ(f.getErrorMessage(), "Size 17 of 'vol'");
}

TEST(InvalidState, DefaultTexts)
{
    const E::InvalidState e("o", "f.h", 1);
    EXPECT_EQ(e.getErrorMessage(), "");
    EXPECT_EQ(e.getGUIMessage(), "An invalid state occured!");
    EXPECT_EQ(e.getClassName(), "Tarn::Exceptions::InvalidState");
}

TEST(InvalidState, FormatBecomesErrorMessage)
{
    const E::InvalidState e(
        "Shifting responsibility is only allowed if there is only one owner of the pointer! Current: %d",
        "Tarn::Kito::SmartPointer::shiftResponsibility", "SmartPointer", 99, 2u);
    EXPECT_EQ(e.getErrorMessage(),
              "Shifting responsibility is only allowed if there is only one owner of the pointer! Current: 2");
    EXPECT_EQ(e.getGUIMessage(), "An invalid state occured!");
}

TEST(OutOfRange, DefaultTexts)
{
    const E::OutOfRange e("o", "f.h", 1);
    EXPECT_EQ(e.getErrorMessage(), "Out of range!");
    EXPECT_EQ(e.getGUIMessage(), "A value is out of the valid range!");
    EXPECT_EQ(e.getClassName(), "Tarn::Exceptions::OutOfRange");
}

TEST(OutOfRange, FormatBecomesErrorMessage)
{
    const E::OutOfRange e("Value %.1f above %d", "o", "f.h", 1, 2.5, 2);
    EXPECT_EQ(e.getErrorMessage(), "Value 2.5 above 2");
    EXPECT_EQ(e.getGUIMessage(), "A value is out of the valid range!");
}

TEST(IndexOutOfRange, DefaultTexts)
{
    const E::IndexOutOfRange e("o", "f.h", 1);
    EXPECT_EQ(e.getErrorMessage(), "Index out of range!");
    EXPECT_EQ(e.getGUIMessage(), "The index is out of the valid range!");
    EXPECT_EQ(e.getClassName(), "Tarn::Exceptions::IndexOutOfRange");
}

TEST(IndexOutOfRange, FormatBecomesErrorMessage)
{
    const E::IndexOutOfRange e("Slice %zu", "o", "f.h", 1, static_cast<Tarn::Kito::SizeType>(12));
    EXPECT_EQ(e.getErrorMessage(), "Slice 12");
    EXPECT_EQ(e.getGUIMessage(), "The index is out of the valid range!");
}

TEST(IndexOutOfRange, IndexAndBoundsGoIntoGUIMessageAndAdditionalInfo)
{
    const E::IndexOutOfRange e(12, 0, 9, "Tarn::Kito::List::at", "List", 8);
    EXPECT_EQ(e.getGUIMessage(), "The index 12 is out of the valid range (0 to 9)!");
    EXPECT_EQ(e.getErrorMessage(), "Index out of range!");
    const std::list<std::string> expected = {"Current index = 12", "Min valid index = 0", "Max valid index = 9", rule};
    EXPECT_EQ(e.getAdditionalInfo(), expected);
    EXPECT_EQ(e.getAdditionalInfoSize(), 4u);
}

TEST(IndexOutOfRange, WideIndexIsCutInGUIMessageButWholeInAdditionalInfo)
{
    const E::IndexOutOfRange e(5000000000LL, -1, 4294967296LL, "o", "f.h", 1);
    EXPECT_EQ(e.getGUIMessage(), "The index 705032704 is out of the valid range (-1 to 0)!");
    const std::list<std::string> expected = {"Current index = 5000000000", "Min valid index = -1",
                                             "Max valid index = 4294967296", rule};
    EXPECT_EQ(e.getAdditionalInfo(), expected);
}

TEST(BadCast, DefaultTexts)
{
    const E::BadCast e("o", "f.h", 1);
    EXPECT_EQ(e.getErrorMessage(), "A datatype couldn't be castet!");
    EXPECT_EQ(e.getGUIMessage(), "Bad cast!");
    EXPECT_EQ(e.getClassName(), "Tarn::Exceptions::BadCast");
    EXPECT_EQ(e.getSourceTypeName(), "");
    EXPECT_EQ(e.getTargetTypeName(), "");
}

TEST(BadCast, FormatBecomesErrorMessage)
{
    const E::BadCast e("No cast to %s", "o", "f.h", 1, "Tarn::uint8");
    EXPECT_EQ(e.getErrorMessage(), "No cast to Tarn::uint8");
    EXPECT_EQ(e.getGUIMessage(), "Bad cast!");
}

TEST(BadCast, NoTypeKnown)
{
    const E::BadCast e("o", "f.h", 1, "", "");
    EXPECT_EQ(e.getErrorMessage(), "A datatype couldn't be castet!");
    EXPECT_EQ(e.getGUIMessage(), "Bad cast!");
}

TEST(BadCast, OnlyTargetTypeKnown)
{
    const E::BadCast e("o", "f.h", 1, "", "Tarn::float32");
    EXPECT_EQ(e.getErrorMessage(), "A data type couldn't be convertet to 'Tarn::float32'!");
    EXPECT_EQ(e.getSourceTypeName(), "");
    EXPECT_EQ(e.getTargetTypeName(), "Tarn::float32");
}

TEST(BadCast, OnlySourceTypeKnown)
{
    const E::BadCast e("o", "f.h", 1, "Tarn::int16", "");
    EXPECT_EQ(e.getErrorMessage(), "The data type 'Tarn::int16' couldn't be convertet to another data type!");
    EXPECT_EQ(e.getSourceTypeName(), "Tarn::int16");
    EXPECT_EQ(e.getTargetTypeName(), "");
}

TEST(BadCast, BothTypesKnown)
{
    const E::BadCast e("o", "f.h", 1, "Tarn::int16", "Tarn::float32");
    EXPECT_EQ(e.getErrorMessage(), "The data type 'Tarn::int16' couldn't be convertet to 'Tarn::float32'!");
    EXPECT_EQ(e.getGUIMessage(), "Bad cast!");
    EXPECT_EQ(e.getSourceTypeName(), "Tarn::int16");
    EXPECT_EQ(e.getTargetTypeName(), "Tarn::float32");
}

TEST(FileOpen, DefaultTexts)
{
    const E::FileOpen e("o", "f.h", 1);
    EXPECT_EQ(e.getGUIMessage(), "Couldn't open file!");
    EXPECT_EQ(e.getErrorMessage(), "Couldn't open file!");
    EXPECT_EQ(e.getFileName(), "");
    EXPECT_EQ(e.getClassName(), "Tarn::Exceptions::FileOpen");
}

TEST(FileOpen, FileNameGoesIntoMessages)
{
    const E::FileOpen e("data/skull.rek", "Tarn::Kito::Loader::load", "Loader", 12);
    EXPECT_EQ(e.getGUIMessage(), "Couldn't open file 'data/skull.rek'!");
    EXPECT_EQ(e.getErrorMessage(), "Couldn't open file 'data/skull.rek'!");
    EXPECT_EQ(e.getFileName(), "data/skull.rek");
    EXPECT_EQ(e.getFile(), "Loader");
}

TEST(BadFile, DefaultTexts)
{
    const E::BadFile e("o", "f.h", 1);
    EXPECT_EQ(e.getGUIMessage(), "Input file seems to be bad!");
    EXPECT_EQ(e.getErrorMessage(), "Input file seems to be bad!");
    EXPECT_EQ(e.getFileName(), "");
    EXPECT_EQ(e.getClassName(), "Tarn::Exceptions::BadFile");
}

TEST(BadFile, FileNameGoesIntoMessages)
{
    const E::BadFile e(std::string("a.rek"), "o", "f.h", 1);
    EXPECT_EQ(e.getGUIMessage(), "Input file 'a.rek' seems to be bad!");
    EXPECT_EQ(e.getErrorMessage(), "Input file 'a.rek' seems to be bad!");
    EXPECT_EQ(e.getFileName(), "a.rek");
}

TEST(BadFile, FileNameAndReason)
{
    const E::BadFile e(std::string("a.rek"), std::string("header too short"), "o", "f.h", 1);
    EXPECT_EQ(e.getGUIMessage(), "In 'a.rek': header too short");
    EXPECT_EQ(e.getErrorMessage(), "In 'a.rek': header too short");
    EXPECT_EQ(e.getFileName(), "a.rek");
}

TEST(BadFile, ReasonAlone)
{
    const E::BadFile e(E::BadFile::reasonOnly, "header too short", "o", "f.h", 1);
    EXPECT_EQ(e.getGUIMessage(), "Error: header too short");
    EXPECT_EQ(e.getErrorMessage(), "Error: header too short");
    EXPECT_EQ(e.getFileName(), "");
    const E::BadFile f = E::BadFile::withReason("unknown voxel type", "o", "f.h", 1);
    EXPECT_EQ(f.getGUIMessage(), "Error: unknown voxel type");
    EXPECT_EQ(f.getFileName(), "");
}

TEST(NotSupported, DefaultTexts)
{
    const E::NotSupported e("o", "f.h", 1);
    EXPECT_EQ(e.getErrorMessage(), "");
    EXPECT_EQ(e.getGUIMessage(), "Function is not supported!");
    EXPECT_EQ(e.getClassName(), "Tarn::Exceptions::NotSupported");
}

TEST(NotSupported, FormatBecomesErrorMessage)
{
    const E::NotSupported e("%s cannot write", "o", "f.h", 1, "InputFileAllocator");
    EXPECT_EQ(e.getErrorMessage(), "InputFileAllocator cannot write");
    EXPECT_EQ(e.getGUIMessage(), "Function is not supported!");
}

TEST(Exception, NullOriginAndFileBecomeEmpty)
{
    const E::InvalidArg e(nullptr, nullptr, 0);
    EXPECT_EQ(e.getOrigin(), "");
    EXPECT_EQ(e.getFile(), "");
    EXPECT_EQ(e.getLine(), 0u);
    EXPECT_FALSE(e.isDamaged());
}

// ---- catching -----------------------------------------------------------------------------------

TEST(ExceptionCatch, StandardBaseCatchesInvalidArg)
{
    try {
        throw E::InvalidArg("o", "f.h", 1);
    } catch (const std::invalid_argument& e) {
        EXPECT_STREQ(e.what(), "Invalid argument!");
        return;
    }
    FAIL() << "not caught as std::invalid_argument";
}

TEST(ExceptionCatch, StandardBaseCatchesEveryClassThatNamesOne)
{
    EXPECT_THROW(throw E::NULLPointer("o", "f.h", 1), std::invalid_argument);
    EXPECT_THROW(throw E::InvalidState("o", "f.h", 1), std::runtime_error);
    EXPECT_THROW(throw E::OutOfRange("o", "f.h", 1), std::out_of_range);
    EXPECT_THROW(throw E::IndexOutOfRange("o", "f.h", 1), std::out_of_range);
    EXPECT_THROW(throw E::BadCast("o", "f.h", 1), std::bad_cast);
    EXPECT_THROW(throw E::FileOpen("o", "f.h", 1), E::File);
    EXPECT_THROW(throw E::BadFile("o", "f.h", 1), E::File);
    EXPECT_THROW(throw E::NotSupported("o", "f.h", 1), std::exception);
    EXPECT_THROW(throw E::FileOpen("o", "f.h", 1), std::exception);
}

TEST(ExceptionCatch, WhatThroughStandardBaseIsGUIMessage)
{
    try {
        throw E::InvalidState("detail %d", "o", "f.h", 1, 3);
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "An invalid state occured!");
    }
    try {
        throw E::IndexOutOfRange(4, 0, 3, "o", "f.h", 1);
    } catch (const std::out_of_range& e) {
        EXPECT_STREQ(e.what(), "The index 4 is out of the valid range (0 to 3)!");
    }
}

TEST(ExceptionCatch, ExceptionCatchesTheWholeFamily)
{
    const auto caught = [](auto&& thrower) -> std::string {
        try {
            thrower();
        } catch (const E::Exception& e) {
            return e.getClassName();
        }
        return "nothing";
    };
    EXPECT_EQ(caught([] { throw E::NULLPointer("o", "f.h", 1); }), "Tarn::Exceptions::NULLPointer");
    EXPECT_EQ(caught([] { throw E::InvalidArg("o", "f.h", 1); }), "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(caught([] { throw E::InvalidState("o", "f.h", 1); }), "Tarn::Exceptions::InvalidState");
    EXPECT_EQ(caught([] { throw E::OutOfRange("o", "f.h", 1); }), "Tarn::Exceptions::OutOfRange");
    EXPECT_EQ(caught([] { throw E::IndexOutOfRange("o", "f.h", 1); }), "Tarn::Exceptions::IndexOutOfRange");
    EXPECT_EQ(caught([] { throw E::BadCast("o", "f.h", 1); }), "Tarn::Exceptions::BadCast");
    EXPECT_EQ(caught([] { throw E::FileOpen("o", "f.h", 1); }), "Tarn::Exceptions::FileOpen");
    EXPECT_EQ(caught([] { throw E::BadFile("o", "f.h", 1); }), "Tarn::Exceptions::BadFile");
    EXPECT_EQ(caught([] { throw E::NotSupported("o", "f.h", 1); }), "Tarn::Exceptions::NotSupported");
}

// ---- clone and rethrow --------------------------------------------------------------------------

namespace {
template <class T> void expectCloneAndRethrowKeepType(const T& original, const std::string& className)
{
    const E::Exception& base = original;
    const std::unique_ptr<E::Exception> copy(base.clone());
    ASSERT_NE(dynamic_cast<T*>(copy.get()), nullptr) << className;
    EXPECT_EQ(copy->getClassName(), className);
    EXPECT_EQ(copy->getErrorMessage(), original.getErrorMessage());
    EXPECT_EQ(copy->getGUIMessage(), original.getGUIMessage());
    EXPECT_EQ(copy->getOrigin(), original.getOrigin());
    EXPECT_EQ(copy->getFile(), original.getFile());
    EXPECT_EQ(copy->getLine(), original.getLine());
    EXPECT_EQ(copy->getAdditionalInfo(), original.getAdditionalInfo());
    bool caughtByType = false;
    try {
        base.rethrow();
    } catch (const T& e) {
        caughtByType = true;
        EXPECT_EQ(e.getClassName(), className);
        EXPECT_EQ(e.getErrorMessage(), original.getErrorMessage());
    } catch (...) {
    }
    EXPECT_TRUE(caughtByType) << className;
}
} // namespace

TEST(ExceptionClone, CloneAndRethrowKeepTheDynamicType)
{
    expectCloneAndRethrowKeepType(E::NULLPointer("p", "o", "f.h", 1), "Tarn::Exceptions::NULLPointer");
    expectCloneAndRethrowKeepType(E::InvalidArg("a %d", "o", "f.h", 2, 1), "Tarn::Exceptions::InvalidArg");
    expectCloneAndRethrowKeepType(E::InvalidState("s", "o", "f.h", 3), "Tarn::Exceptions::InvalidState");
    expectCloneAndRethrowKeepType(E::OutOfRange("o", "f.h", 4), "Tarn::Exceptions::OutOfRange");
    expectCloneAndRethrowKeepType(E::IndexOutOfRange(5, 0, 1, "o", "f.h", 5), "Tarn::Exceptions::IndexOutOfRange");
    expectCloneAndRethrowKeepType(E::BadCast("o", "f.h", 6, "a", "b"), "Tarn::Exceptions::BadCast");
    expectCloneAndRethrowKeepType(E::FileOpen(std::string("x.rek"), "o", "f.h", 7), "Tarn::Exceptions::FileOpen");
    expectCloneAndRethrowKeepType(E::BadFile(std::string("x.rek"), "o", "f.h", 8), "Tarn::Exceptions::BadFile");
    expectCloneAndRethrowKeepType(E::NotSupported("o", "f.h", 9), "Tarn::Exceptions::NotSupported");
}

TEST(ExceptionClone, CloneKeepsTypeSpecificFields)
{
    const E::BadCast cast("o", "f.h", 1, "Tarn::int8", "Tarn::uint8");
    const std::unique_ptr<E::Exception> castCopy(cast.clone());
    const auto* badCast = dynamic_cast<E::BadCast*>(castCopy.get());
    ASSERT_NE(badCast, nullptr);
    EXPECT_EQ(badCast->getSourceTypeName(), "Tarn::int8");
    EXPECT_EQ(badCast->getTargetTypeName(), "Tarn::uint8");

    const E::FileOpen open(std::string("y.raw"), "o", "f.h", 1);
    const std::unique_ptr<E::Exception> openCopy(open.clone());
    const auto* file = dynamic_cast<E::File*>(openCopy.get());
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->getFileName(), "y.raw");
}

// ---- living count -------------------------------------------------------------------------------

TEST(ExceptionLivingCount, ConstructionCopyAndCloneCountDestructionUncounts)
{
    const Tarn::Kito::SizeType before = E::Exception::getLivingCount();
    {
        const E::InvalidArg a("o", "f.h", 1);
        EXPECT_EQ(E::Exception::getLivingCount(), before + 1);
        const E::InvalidArg b(a);
        EXPECT_EQ(E::Exception::getLivingCount(), before + 2);
        std::unique_ptr<E::Exception> c(b.clone());
        EXPECT_EQ(E::Exception::getLivingCount(), before + 3);
        c.reset();
        EXPECT_EQ(E::Exception::getLivingCount(), before + 2);
        const E::BadFile d(std::string("n"), "o", "f.h", 1);
        EXPECT_EQ(E::Exception::getLivingCount(), before + 3);
    }
    EXPECT_EQ(E::Exception::getLivingCount(), before);
}

TEST(ExceptionLivingCount, ThrownExceptionLivesUntilItsCatchEnds)
{
    const Tarn::Kito::SizeType before = E::Exception::getLivingCount();
    try {
        throw E::OutOfRange("o", "f.h", 1);
    } catch (const E::Exception&) {
        EXPECT_GE(E::Exception::getLivingCount(), before + 1);
    }
    EXPECT_EQ(E::Exception::getLivingCount(), before);
}

TEST(ExceptionLivingCount, CountsFromManyThreads)
{
    const Tarn::Kito::SizeType before = E::Exception::getLivingCount();
    int caught = 0;
#pragma omp parallel for reduction(+ : caught)
    for (int i = 0; i < 400; ++i) {
        try {
            throw E::InvalidState("i %d", "o", "f.h", 1, i);
        } catch (const E::InvalidState&) {
            ++caught;
        }
    }
    EXPECT_EQ(caught, 400);
    EXPECT_EQ(E::Exception::getLivingCount(), before);
}

// ---- report to sinks ----------------------------------------------------------------------------

TEST(ExceptionReport, ConstructionPrintsErrorMessageAndCode)
{
    RecordingSink sink;
    const SinkRegistration registration(&sink);
    const E::InvalidState e("Volume %s has %d slices", "Tarn::Kito::Volume::check", "Volume", 12, "v", 3);
    EXPECT_EQ(sink.printed,
              "=======================================================================\n"
              "Tarn::Exceptions::InvalidState was thrown!\n"
              "-----------------------------------------------------------------------\n"
              "Error message:   Volume v has 3 slices\n"
              "Error code:      0\n"
              "=======================================================================\n");
    EXPECT_TRUE(sink.messages.empty());
}

TEST(ExceptionReport, EmptyErrorMessageIsLeftOut)
{
    RecordingSink sink;
    const SinkRegistration registration(&sink);
    const E::InvalidArg e("o", "f.h", 1);
    EXPECT_EQ(sink.printed,
              "=======================================================================\n"
              "Tarn::Exceptions::InvalidArg was thrown!\n"
              "-----------------------------------------------------------------------\n"
              "Error code:      0\n"
              "=======================================================================\n");
}

TEST(ExceptionReport, IndexOutOfRangePrintsItsThreeLines)
{
    RecordingSink sink;
    const SinkRegistration registration(&sink);
    const E::IndexOutOfRange e(12, 0, 9, "o", "f.h", 1);
    EXPECT_EQ(sink.printed,
              "=======================================================================\n"
              "Tarn::Exceptions::IndexOutOfRange was thrown!\n"
              "-----------------------------------------------------------------------\n"
              "Error message:   Index out of range!\n"
              "Error code:      0\n"
              "Additional Info: Current index = 12\n"
              "                 Min valid index = 0\n"
              "                 Max valid index = 9\n"
              "=======================================================================\n");
}

TEST(ExceptionReport, ClosingRuleIsAddedToAdditionalInfo)
{
    RecordingSink sink;
    const SinkRegistration registration(&sink);
    const E::BadCast e("o", "f.h", 1);
    const std::list<std::string> expected = {
        "======================================================================="};
    EXPECT_EQ(e.getAdditionalInfo(), expected);
}

TEST(ExceptionReport, ClosingRuleIsAddedWithoutSinksToo)
{
    const E::NotSupported e("o", "f.h", 1);
    EXPECT_EQ(e.getAdditionalInfo(), onlyRule());
    EXPECT_EQ(e.getAdditionalInfoSize(), 1u);
}

TEST(ExceptionReport, CopyDoesNotReport)
{
    RecordingSink sink;
    const SinkRegistration registration(&sink);
    const E::FileOpen e(std::string("z.rek"), "o", "f.h", 1);
    const std::string afterConstruction = sink.printed;
    EXPECT_EQ(afterConstruction,
              "=======================================================================\n"
              "Tarn::Exceptions::FileOpen was thrown!\n"
              "-----------------------------------------------------------------------\n"
              "Error message:   Couldn't open file 'z.rek'!\n"
              "Error code:      0\n"
              "=======================================================================\n");
    const E::FileOpen copy(e);
    const std::unique_ptr<E::Exception> clone(e.clone());
    EXPECT_EQ(sink.printed, afterConstruction);
    EXPECT_EQ(copy.getAdditionalInfo(), onlyRule());
}

TEST(ExceptionReport, EverySinkGetsTheReportAndRemovedOnesNone)
{
    RecordingSink first, second;
    E::addReportSink(&first);
    E::addReportSink(&second);
    E::addReportSink(&second); // registered once only
    { const E::OutOfRange e("o", "f.h", 1); }
    const std::string expected = "=======================================================================\n"
                                 "Tarn::Exceptions::OutOfRange was thrown!\n"
                                 "-----------------------------------------------------------------------\n"
                                 "Error message:   Out of range!\n"
                                 "Error code:      0\n"
                                 "=======================================================================\n";
    EXPECT_EQ(first.printed, expected);
    EXPECT_EQ(second.printed, expected);
    E::removeReportSink(&first);
    { const E::OutOfRange e("o", "f.h", 1); }
    EXPECT_EQ(first.printed, expected);
    EXPECT_EQ(second.printed, expected + expected);
    E::removeReportSink(&second);
    { const E::OutOfRange e("o", "f.h", 1); }
    EXPECT_EQ(second.printed, expected + expected);
}

TEST(ExceptionReport, NullSinkIsIgnored)
{
    E::addReportSink(nullptr);
    const E::InvalidArg e("o", "f.h", 1);
    EXPECT_EQ(e.getGUIMessage(), "Invalid argument!");
    E::removeReportSink(nullptr);
}

TEST(ExceptionReport, InvalidStateWithoutSinkHoldsAllFields)
{
    const E::InvalidState e("Bad state %d", "Tarn::Kito::Thing::run", "Thing", 77, 4);
    EXPECT_EQ(e.getErrorMessage(), "Bad state 4");
    EXPECT_EQ(e.getGUIMessage(), "An invalid state occured!");
    EXPECT_EQ(e.getOrigin(), "Tarn::Kito::Thing::run");
    EXPECT_EQ(e.getFile(), "Thing");
    EXPECT_EQ(e.getLine(), 77u);
    EXPECT_EQ(e.getErrorCode(), 0);
    EXPECT_EQ(e.getAdditionalInfo(), onlyRule());
    EXPECT_FALSE(e.isDamaged());
}

// ---- additional info ----------------------------------------------------------------------------

TEST(ExceptionAdditionalInfo, NullLineIsIgnored)
{
    E::InvalidArg e("o", "f.h", 1);
    e.addAdditionalInfo(nullptr);
    EXPECT_EQ(e.getAdditionalInfoSize(), 1u);
    e.addAdditionalInfo("while reading slice 3");
    const std::list<std::string> expected = {
        "=======================================================================", "while reading slice 3"};
    EXPECT_EQ(e.getAdditionalInfo(), expected);
    EXPECT_EQ(e.getAdditionalInfoSize(), 2u);
}

// ---- uncaught report ----------------------------------------------------------------------------

TEST(UncaughtReport, NoExceptionInFlightIsUnknownType)
{
    EXPECT_EQ(E::uncaughtReport(), "The program caused an uncaught exception of an unknown type!");
}

TEST(UncaughtReport, ForeignExceptionIsUnknownType)
{
    try {
        throw std::runtime_error("not ours");
    } catch (...) {
        EXPECT_EQ(E::uncaughtReport(), "The program caused an uncaught exception of an unknown type!");
    }
}

TEST(UncaughtReport, FamilyExceptionWithOriginAndFile)
{
    try {
        throw E::InvalidState("Bad %d", "Tarn::Kito::Thing::run", "Thing.h", 42, 7);
    } catch (...) {
        EXPECT_EQ(E::uncaughtReport(), "The program caused an uncaught exception:\n\n"
                                       "Exception class name:\tTarn::Exceptions::InvalidState\n"
                                       "Error message:\t\tAn invalid state occured!\n"
                                       "Throwing function:\t\tTarn::Kito::Thing::run"
                                       "File:\t\t\tThing.h\n"
                                       "Line number:\t\t42");
    }
}

TEST(UncaughtReport, FamilyExceptionWithoutOriginAndFile)
{
    try {
        throw E::BadFile("", "", 0);
    } catch (...) {
        EXPECT_EQ(E::uncaughtReport(), "The program caused an uncaught exception:\n\n"
                                       "Exception class name:\tTarn::Exceptions::BadFile\n"
                                       "Error message:\t\tInput file seems to be bad!\n");
    }
}

TEST(UncaughtReport, NonZeroErrorCodeIsShown)
{
    try {
        throw CodedFailure();
    } catch (...) {
        EXPECT_EQ(E::uncaughtReport(), "The program caused an uncaught exception:\n\n"
                                       "Exception class name:\tTarn::Exceptions::InvalidArg\n"
                                       "Error message:\t\tInvalid argument!\n"
                                       "Error code:\t\t7"
                                       "Throwing function:\t\tTarn::Test::coded"
                                       "File:\t\t\tCoded.cpp\n"
                                       "Line number:\t\t5");
    }
}

namespace {

/// Writes what the handler passes on to stderr, where the death test reads it.
class StderrSink : public E::IReportSink {
public:
    void print(const char*, ...) override {}
    void message(const std::string& text) override
    {
        std::fputs(("sink<" + text + ">\n").c_str(), stderr);
        std::fflush(stderr);
    }
};

void callbackToStderr(const std::string& text)
{
    std::fputs(("callback<" + text + ">\n").c_str(), stderr);
    std::fflush(stderr);
}

/// A regular expression that matches text literally.
std::string literally(const std::string& text)
{
    std::string pattern;
    for (const char c : text) {
        if (std::string(".[]{}()\\*+?^$|").find(c) != std::string::npos) pattern += '\\';
        pattern += c;
    }
    return pattern;
}

[[noreturn]] void throwInvalidState() { throw E::InvalidState("Bad %d", "Tarn::Kito::Thing::run", "Thing.h", 42, 7); }
[[noreturn]] void throwForeign() { throw std::runtime_error("not ours"); }

// An exception that leaves a noexcept function goes to std::terminate while it is still current,
// as one that nobody catches does; a plain throw inside the death test would be caught by gtest.
void escapeInvalidState() noexcept { throwInvalidState(); }
void escapeForeign() noexcept { throwForeign(); }

StderrSink stderrSink;

void prepareHandler()
{
    E::addReportSink(&stderrSink);
    E::setUncaughtExceptionCallback(&callbackToStderr);
    E::installUncaughtExceptionHandler();
}

} // namespace

TEST(UncaughtExceptionHandlerDeathTest, FamilyExceptionGoesToSinkAndCallbackThenExitCodeOne)
{
    const std::string text = "The program caused an uncaught exception:\n\n"
                             "Exception class name:\tTarn::Exceptions::InvalidState\n"
                             "Error message:\t\tAn invalid state occured!\n"
                             "Throwing function:\t\tTarn::Kito::Thing::run"
                             "File:\t\t\tThing.h\n"
                             "Line number:\t\t42";
    EXPECT_EXIT(
        {
            prepareHandler();
            escapeInvalidState();
        },
        testing::ExitedWithCode(1), literally("sink<" + text + ">\ncallback<" + text + ">\n"));
}

TEST(UncaughtExceptionHandlerDeathTest, ForeignExceptionGivesUnknownTypeTexts)
{
    EXPECT_EXIT(
        {
            prepareHandler();
            escapeForeign();
        },
        testing::ExitedWithCode(1),
        literally("sink<The program caused an uncaught exception of an unknown type!>\n"
                  "callback<The program caused an uncaught exception of an unknown type!\n"
                  "The program was terminated.>\n"));
}

TEST(UncaughtExceptionHandlerDeathTest, WithoutCallbackSinksStillGetTheText)
{
    EXPECT_EXIT(
        {
            E::addReportSink(&stderrSink);
            E::setUncaughtExceptionCallback(nullptr);
            E::installUncaughtExceptionHandler();
            escapeForeign();
        },
        testing::ExitedWithCode(1), literally("sink<The program caused an uncaught exception of an unknown type!>\n"));
}
