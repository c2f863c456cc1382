#include <Kito/CompositeOfProperties>
#include <Kito/Data>
#include <Kito/IVolume>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace {

using Tarn::Kito::DynamicCast;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::CompositeOfProperties;
using Tarn::Kito::Persistence::Data;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;
using Tarn::Kito::Persistence::IData;

class Sample : public CompositeOfProperties<Sample> {
public:
    PropertyData<double> inputFactor;
    Property<SmartPointer<Tarn::Kito::IVolume>> inputVolume;
    Property<IData> inputValue;
    PropertyData<std::string> outputText;

    Sample()
    {
        append("inputFactor", inputFactor);
        append("inputVolume", inputVolume);
        append("inputValue", inputValue);
        append("outputText", outputText);
    }
    Sample(const Sample& other)
        : IComposite(), CompositeOfProperties<Sample>(other), inputFactor(other.inputFactor),
          inputVolume(other.inputVolume), inputValue(other.inputValue), outputText(other.outputText)
    {
        append("inputFactor", inputFactor);
        append("inputVolume", inputVolume);
        append("inputValue", inputValue);
        append("outputText", outputText);
    }
    std::string getType() const override { return "Test::Sample"; }

    using CompositeOfProperties<Sample>::append;
};

template <class T> SmartPointer<IComposite> dataOf(const T& value)
{
    return DynamicCast<SmartPointer<IComposite>>(DataPtr<T>(value));
}

template <class F> std::string messageOf(F&& action)
{
    try {
        action();
    } catch (const std::exception& failure) {
        return failure.what();
    }
    return "no failure";
}

TEST(CompositeOfPropertiesAppend, EmptyNameFails)
{
    Sample sample;
    Sample::PropertyData<double> extra;
    try {
        sample.append("", extra);
        FAIL();
    } catch (const std::invalid_argument& failure) {
        EXPECT_STREQ(failure.what(), "Tarn::Kito::Persistence::CompositeOfProperties::append The name of an Property "
                                     "has to have at least one character");
    }
}

TEST(CompositeOfPropertiesAppend, PrefixTestIsCaseSensitive)
{
    Sample sample;
    Sample::PropertyData<double> extra;
    try {
        sample.append("InputFactor", extra);
        FAIL();
    } catch (const std::invalid_argument& failure) {
        EXPECT_STREQ(failure.what(), "Tarn::Kito::Persistence::CompositeOfProperties::append The name of an Property "
                                     "must start with input, output or modify");
    }
}

TEST(CompositeOfPropertiesAppend, ModifyPrefixIsAccepted)
{
    Sample sample;
    Sample::PropertyData<double> extra;
    sample.append("modifyScale", extra);
    EXPECT_EQ(sample.getKey(4), "modifyScale");
}

TEST(CompositeOfPropertiesAppend, SecondAppendOfANameReplacesTheFirstInPlace)
{
    Sample sample;
    Sample::PropertyData<double> replacement;
    sample.append("inputFactor", replacement);
    replacement.setValue(7.5);
    EXPECT_EQ(sample.size(), 4u);
    EXPECT_EQ(sample.getKey(0), "inputFactor");
    DataPtr<double> value = DynamicCast<DataPtr<double>>(sample.getValue("inputFactor"));
    EXPECT_EQ(value->getValue(), 7.5);
}

TEST(Composite, KeysInOrderOfInsertion)
{
    Sample sample;
    ASSERT_EQ(sample.size(), 4u);
    EXPECT_EQ(sample.getKey(0), "inputFactor");
    EXPECT_EQ(sample.getKey(1), "inputVolume");
    EXPECT_EQ(sample.getKey(2), "inputValue");
    EXPECT_EQ(sample.getKey(3), "outputText");
}

TEST(Composite, UnknownKeyStandsInTheText)
{
    Sample sample;
    EXPECT_EQ(messageOf([&] { sample.getValue("inputFacto"); }),
              "Tarn::Kito::Persistence::Composite< Test::Sample >::operator[ inputFacto ] Wrong key!");
    EXPECT_EQ(messageOf([&] { sample.setValue("", dataOf(1.0)); }),
              "Tarn::Kito::Persistence::Composite< Test::Sample >::operator[  ] Wrong key!");
}

TEST(Composite, KeyAtTheEndFailsInTheVectorsWords)
{
    Sample sample;
    try {
        sample.getKey(4);
        FAIL();
    } catch (const std::out_of_range& failure) {
        EXPECT_STREQ(failure.what(), "invalid vector subscript");
    }
}

TEST(Composite, ValueRoundTripThroughKeys)
{
    Sample sample;
    sample.setValue("inputFactor", dataOf(2.25));
    EXPECT_EQ(sample.inputFactor.getValue(), 2.25);
    sample.outputText.setValue("done");
    DataPtr<std::string> text = DynamicCast<DataPtr<std::string>>(sample.getValue("outputText"));
    ASSERT_FALSE(text == 0);
    EXPECT_EQ(text->getValue(), "done");
    EXPECT_EQ(DynamicCast<SmartPointer<IComposite>>(text)->getType(), "Tarn::Kito::Persistence::Data< std::string >");
}

TEST(CompositeLeaf, DataHasNoKeys)
{
    SmartPointer<IComposite> leaf = DynamicCast<SmartPointer<IComposite>>(DataPtr<double>(1.0));
    EXPECT_EQ(leaf->size(), 0u);
    EXPECT_EQ(messageOf([&] { leaf->getValue("x"); }),
              "Tarn::Kito::Persistence::CompositeLeaf::getValue( const std::string&): A leaf has got no keys and no "
              "values!");
    EXPECT_EQ(messageOf([&] { leaf->setValue("x", leaf); }),
              "Tarn::Kito::Persistence::CompositeLeaf::setValue( const std::string&, Tarn::Kito::SmartPointer< "
              "IComposite > ): A leaf has got no keys and no values!");
    EXPECT_EQ(messageOf([&] { leaf->getKey(0); }),
              "Tarn::Kito::Persistence::CompositeLeaf::getKey( Tarn::Kito::SizeType ): A leaf has got no keys and no "
              "values!");
}

TEST(CompositeLeaf, FailuresArePlainStdExceptions)
{
    SmartPointer<IComposite> leaf = DynamicCast<SmartPointer<IComposite>>(DataPtr<double>(1.0));
    EXPECT_THROW(leaf->getKey(0), std::exception);
    bool wasLogicError = false;
    try {
        leaf->getKey(0);
    } catch (const std::logic_error&) {
        wasLogicError = true;
    } catch (const std::exception&) {
    }
    EXPECT_FALSE(wasLogicError);
}

TEST(Property, NeverAppendedReportsItsMisuseWithTheClassName)
{
    Sample::PropertyData<double> loose;
    try {
        loose.getValue();
        FAIL();
    } catch (const Tarn::Exceptions::InvalidState& failure) {
        EXPECT_EQ(failure.getErrorMessage(), "You tried to use an Property without appending it to an "
                                             "CompositeOfProperties instance. This will never work. Test::Sample");
        EXPECT_EQ(failure.getOrigin(), "Tarn::Kito::Persistence::CompositeOfProperties::PropertyBase::checkIfInitialized");
        EXPECT_EQ(failure.getFile(), "Kito/include/Kito/CompositeOfProperties");
        EXPECT_EQ(failure.getLine(), 66u);
    }
    EXPECT_THROW(loose.setValue(1.0), Tarn::Exceptions::InvalidState);
    EXPECT_THROW(loose.get(), Tarn::Exceptions::InvalidState);
    EXPECT_THROW(loose.set(dataOf(1.0)), Tarn::Exceptions::InvalidState);
}

struct NotAVolume : Tarn::Kito::Persistence::CompositeLeaf<NotAVolume> {
    std::string getType() const override { return "Test::NotAVolume"; }
};

TEST(PropertyOfPointer, ValueOfAnotherClassLeavesItNullWithoutFailure)
{
    Sample sample;
    sample.setValue("inputVolume", dataOf(1.0));
    EXPECT_TRUE(sample.inputVolume.getValue() == 0);
    sample.setValue("inputVolume", SmartPointer<IComposite>(new NotAVolume));
    EXPECT_TRUE(sample.inputVolume.getValue() == 0);
}

TEST(PropertyOfData, ExtractValueOfAnotherTypeIsABadCast)
{
    Sample sample;
    sample.setValue("inputValue", dataOf(1.5f));
    try {
        sample.inputValue.extractValue<double>();
        FAIL();
    } catch (const Tarn::Exceptions::BadCast& failure) {
        EXPECT_EQ(failure.getErrorMessage(), "The data type 'Tarn::Kito::Persistence::IDataPtr' couldn't be convertet "
                                             "to 'Tarn::Kito::Persistence::DataPtr< Tarn::float64 >'!");
        EXPECT_EQ(failure.getOrigin(),
                  "Tarn::Kito::Persistence::CompositeOfProperties::Property< Tarn::Kito::Persistence::IData >::extractValue");
        EXPECT_EQ(failure.getSourceTypeName(), "Tarn::Kito::Persistence::IDataPtr");
        EXPECT_EQ(failure.getTargetTypeName(), "Tarn::Kito::Persistence::DataPtr< Tarn::float64 >");
    }
    EXPECT_EQ(sample.inputValue.extractValue<float>(), 1.5f);
}

TEST(PropertyOfData, ExtractValueOfNullNamesTheVariable)
{
    Sample sample;
    try {
        sample.inputValue.extractValue<double>();
        FAIL();
    } catch (const Tarn::Exceptions::NULLPointer& failure) {
        EXPECT_EQ(failure.getErrorMessage(), "The pointer variable '_value' is a NULL pointer");
        EXPECT_EQ(failure.getOrigin(),
                  "Tarn::Kito::Persistence::CompositeOfProperties::Property< Tarn::Kito::Persistence::IData >::extractValue");
    }
}

TEST(PropertyData, ValueOfAnotherTypeIsRefusedWithoutConversion)
{
    Sample sample;
    sample.inputFactor.setValue(3.0);
    EXPECT_THROW(sample.setValue("inputFactor", dataOf(1.5f)), Tarn::Exceptions::BadCast);
    EXPECT_EQ(sample.inputFactor.getValue(), 3.0);
}

TEST(ParameterCopy, CopyAppendsItsOwnMembers)
{
    Sample sample;
    sample.inputFactor.setValue(4.0);
    Sample copy(sample);
    copy.setValue("inputFactor", dataOf(5.0));
    EXPECT_EQ(sample.inputFactor.getValue(), 4.0);
    EXPECT_EQ(copy.inputFactor.getValue(), 5.0);
    EXPECT_EQ(copy.size(), 4u);
}

TEST(DataText, DoubleHasTwentySignificantDigits)
{
    EXPECT_EQ(Data<double>(0.1).toString(), "0.10000000000000000555");
    EXPECT_EQ(Data<double>(2.0).toString(), "2");
    EXPECT_EQ(Data<float>(0.1f).toString(), "0.10000000149011611938");
    EXPECT_EQ(Data<double>(1e300).toString(), "1.0000000000000000525e+300");
}

TEST(DataText, ByteTypesAreNumbers)
{
    EXPECT_EQ(Data<Tarn::int8>(-5).toString(), "-5");
    EXPECT_EQ(Data<Tarn::uint8>(200).toString(), "200");
    Data<Tarn::uint8> read;
    read.fromString("201");
    EXPECT_EQ(read.getValue(), 201);
}

TEST(DataText, ComplexAndBoolAndString)
{
    EXPECT_EQ(Data<std::complex<Tarn::int16>>(std::complex<Tarn::int16>(1, -2)).toString(), "(1,-2)");
    EXPECT_EQ(Data<bool>(true).toString(), "1");
    Data<std::string> text;
    text.fromString("two words");
    EXPECT_EQ(text.getValue(), "two words");
}

TEST(DataType, NamesItsValueType)
{
    EXPECT_EQ(Data<Tarn::uint16>().getType(), "Tarn::Kito::Persistence::Data< Tarn::uint16 >");
    EXPECT_EQ(Data<bool>().getType(), "Tarn::Kito::Persistence::Data< bool >");
    EXPECT_EQ(Data<std::complex<Tarn::uint8>>().getType(),
              "Tarn::Kito::Persistence::Data< std::complex< Tarn::uint8 > >");
}

TEST(DataAssign, SameTypeCopiesAndOtherTypeGoesThroughText)
{
    Data<double> target(1.0);
    target.assign(Data<double>(2.5));
    EXPECT_EQ(target.getValue(), 2.5);
    target.assign(Data<Tarn::int32>(-7));
    EXPECT_EQ(target.getValue(), -7.0);
    const double stored = 9.0;
    target.setStoredValue(&stored);
    EXPECT_EQ(*static_cast<const double*>(target.getStoredValue()), 9.0);
}

} // namespace
