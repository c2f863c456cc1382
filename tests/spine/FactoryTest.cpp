#include <Kito/ClassFactory>
#include <Kito/Data>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

using Tarn::Kito::DynamicCast;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Factory::ClassFactory;
using Tarn::Kito::Persistence::IComposite;

using Factory = ClassFactory<std::string, IComposite>;

class MakeDouble : public Factory::CreationMethod {
public:
    SmartPointer<IComposite> create() override
    {
        return DynamicCast<SmartPointer<IComposite>>(Tarn::Kito::Persistence::DataPtr<double>(1.5));
    }
};

SmartPointer<Factory::CreationMethod> makeDouble()
{
    return DynamicCast<SmartPointer<Factory::CreationMethod>>(SmartPointer<MakeDouble>(new MakeDouble));
}

TEST(ClassFactory, NullCreationMethodIsRefused)
{
    Factory factory;
    try {
        factory.registerCreationMethod("a", SmartPointer<Factory::CreationMethod>());
        FAIL();
    } catch (const std::invalid_argument& failure) {
        EXPECT_STREQ(failure.what(), "Tarn::Kito::Factory::ClassFactory::register creationMethod points to NULL");
    }
    EXPECT_TRUE(factory.getIdentifiers().empty());
}

TEST(ClassFactory, DuplicateIdentifierIsRefused)
{
    Factory factory;
    factory.registerCreationMethod("a", makeDouble());
    try {
        factory.registerCreationMethod("a", makeDouble());
        FAIL();
    } catch (const std::invalid_argument& failure) {
        EXPECT_STREQ(failure.what(), "Tarn::Kito::Factory::ClassFactory::register No duplicate identifieres allowed");
    }
}

TEST(ClassFactory, UnknownIdentifierFailsWithTheIdentifierInTheText)
{
    Factory factory;
    try {
        factory.createInstance("Tarn::Nothing< x >");
        FAIL();
    } catch (const std::invalid_argument& failure) {
        EXPECT_STREQ(failure.what(), "Tarn::Kito::Factory::ClassFactory::createInstance No creationMethod for the "
                                     "identifier Tarn::Nothing< x > is registered");
    }
}

TEST(ClassFactory, CreatesByIdentifierAndListsIdentifiersSorted)
{
    Factory factory;
    factory.registerCreationMethod("b", makeDouble());
    factory.registerCreationMethod("a", makeDouble());
    factory.registerCreationMethod("B", makeDouble());
    const SmartPointer<IComposite> made = factory.createInstance("a");
    EXPECT_EQ(made->getType(), "Tarn::Kito::Persistence::Data< Tarn::float64 >");
    EXPECT_EQ(factory.getIdentifiers(), (std::vector<std::string>{"B", "a", "b"}));
}

TEST(Singleton, GivesOneObject)
{
    EXPECT_EQ(&Tarn::Kito::Factory::DefaultClassFactory::instance(), &Tarn::Kito::Factory::DefaultClassFactory::instance());
}

} // namespace
