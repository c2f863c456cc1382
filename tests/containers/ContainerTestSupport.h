// Shared helpers of the container tests: the library's container instances, value builders, and
// catchers that tell the failures of the Tarn family from the standard library's own.
#ifndef TARN_TESTS_CONTAINERS_CONTAINERTESTSUPPORT_H_INCLUDED
#define TARN_TESTS_CONTAINERS_CONTAINERTESTSUPPORT_H_INCLUDED

#include <Lumo_MiscDispatcher_DLL/KitoInstances.h>

#include <Kito/BidirectionalMap>
#include <Kito/ClassFactory>
#include <Kito/Composite>
#include <Kito/Data>
#include <Kito/Exceptions>
#include <Kito/List>
#include <Kito/Map>
#include <Kito/SmartPointer>
#include <Kito/Table>
#include <Kito/TripleComposite>
#include <Kito/Types>
#include <support/FailureOf.h>

#include <gtest/gtest.h>

#include <list>
#include <stdexcept>
#include <string>
#include <vector>

// Compiled once, in the dispatcher library: these tests see the instances the library registered.
extern template class Tarn::Kito::Container::List<std::string>;
extern template class Tarn::Kito::Container::Map<Tarn::int32, std::string>;
extern template class Tarn::Kito::Container::Map<std::string, Tarn::int32>;
extern template class Tarn::Kito::Container::BidirectionalMap<std::string, Tarn::int32>;

namespace ContainerTesting {

using Tarn::Kito::DynamicCast;
using Tarn::Kito::OffsetType;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Container::BidirectionalMap;
using Tarn::Kito::Container::List;
using Tarn::Kito::Container::ListPtr;
using Tarn::Kito::Container::Map;
using Tarn::Kito::Container::MapPtr;
using Tarn::Kito::Container::Table;
using Tarn::Kito::Container::TablePtr;
using Tarn::Kito::Persistence::DataPtr;
using Tarn::Kito::Persistence::IComposite;

using Region = Tarn::Kito::RegionOfInterest<SizeType>;
using RoiPtr = Tarn::Kito::RegionOfInterestCompositePtr<SizeType>;
using RoiComposite = Tarn::Kito::RegionOfInterestComposite<SizeType>;

using Failure = TestSupport::TarnFailure;
using TestSupport::tarnFailureOf;

template <class T> SmartPointer<IComposite> dataOf(const T& value)
{
    return DynamicCast<SmartPointer<IComposite>>(DataPtr<T>(value));
}

template <class C> SmartPointer<IComposite> asComposite(const SmartPointer<C>& object)
{
    return DynamicCast<SmartPointer<IComposite>>(object);
}

/// The keys of a composite in order.
inline std::vector<std::string> keysOf(const IComposite& composite)
{
    std::vector<std::string> keys;
    for (SizeType i = 0; i < composite.size(); ++i) keys.push_back(composite.getKey(i));
    return keys;
}

/// The value inside a Data of exactly T; a failure of the test if the composite is none.
template <class T> T valueOf(const SmartPointer<IComposite>& composite)
{
    const DataPtr<T> data = DynamicCast<DataPtr<T>>(composite);
    if (data == 0) throw std::logic_error("not a Data of the expected type");
    return data->getValue();
}

inline RoiPtr roi(SizeType p, SizeType s, SizeType t, SizeType atP, SizeType atS, SizeType atT)
{
    return RoiPtr(new RoiComposite(Region(Tarn::Kito::Dimension<SizeType>(p, s, t), Tarn::Kito::Position<SizeType>(atP, atS, atT))));
}

/// An IndexOutOfRange field by field. gui tells whether the thrower gave the index and its bounds.
inline void expectIndexOutOfRange(const Failure& failure, const std::string& gui, const std::string& origin,
                                  const std::string& file)
{
    EXPECT_EQ(failure.className, "Tarn::Exceptions::IndexOutOfRange");
    EXPECT_EQ(failure.gui, gui);
    EXPECT_EQ(failure.error, "Index out of range!");
    EXPECT_EQ(failure.origin, origin);
    EXPECT_EQ(failure.file, file);
}

/// An InvalidArg field by field; error is empty where the thrower gave its origin alone.
inline void expectInvalidArg(const Failure& failure, const std::string& error, const std::string& origin,
                             const std::string& file)
{
    EXPECT_EQ(failure.className, "Tarn::Exceptions::InvalidArg");
    EXPECT_EQ(failure.gui, "Invalid argument!");
    EXPECT_EQ(failure.error, error);
    EXPECT_EQ(failure.origin, origin);
    EXPECT_EQ(failure.file, file);
}

/// The text of a plain std::invalid_argument; failures of the Tarn family, which are
/// std::invalid_argument too, are told apart.
template <class F> std::string plainInvalidArgumentOf(F&& action)
{
    try {
        action();
    } catch (const Tarn::Exceptions::Exception& failure) {
        return "a Tarn failure: " + failure.getClassName();
    } catch (const std::invalid_argument& failure) {
        return failure.what();
    }
    return "no failure";
}

/// The additional info of a failure of the Tarn family; its report at construction appends a
/// closing rule as the last line.
template <class F> std::list<std::string> additionalInfoOf(F&& action)
{
    try {
        action();
    } catch (const Tarn::Exceptions::Exception& failure) {
        return failure.getAdditionalInfo();
    }
    return {"no failure"};
}

inline SmartPointer<IComposite> makeByName(const std::string& identifier)
{
    return Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(identifier);
}

} // namespace ContainerTesting

#endif
