// ProjectionFacadeChecks: the runs that the tests of the mean and the median projection make on
// their facades and parameter classes; the tests compare what these give with texts of their own.
#ifndef TARN_TESTS_PROJECTIONS_PROJECTIONFACADECHECKS_H_INCLUDED
#define TARN_TESTS_PROJECTIONS_PROJECTIONFACADECHECKS_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/Data>
#include <LumoStudio/Operators/ProjectionMax/Parameter.h>

#include <projections/ProjectionTestSupport.h>
#include <support/FailureOf.h>

#include <string>
#include <vector>

namespace ProjectionTesting {

/// What Facade throws for a parameter object of another class (a ProjectionMax one) and for a
/// Parameter whose inputVolume was set to something that is no volume, in this order.
template <class Facade, class Parameter> std::vector<std::string> facadeFailureTexts()
{
    typename Facade::IOperator facade;
    const SmartPointer<IComposite> other = DynamicCast<SmartPointer<IComposite>>(
        SmartPointer<Tarn::Lumo::ProjectionMax::Parameter>(new Tarn::Lumo::ProjectionMax::Parameter));
    SmartPointer<Parameter> noVolume(new Parameter);
    // A value of another class set through the composite face leaves the property NULL.
    noVolume->setValue("inputVolume",
                       DynamicCast<SmartPointer<IComposite>>(Tarn::Kito::Persistence::DataPtr<double>(1.0)));
    return {TestSupport::invalidArgumentOf([&] { facade.apply(other); }),
            TestSupport::invalidArgumentOf([&] { facade.apply(asComposite(noVolume)); })};
}

/// What Facade throws for a Tarn::uint8 input with a volume of O in outputVolume.
template <class Facade, class Parameter, class O> std::string failureWithOutputOf()
{
    const MemoryVolumePtr<Tarn::uint8> input =
        TestSupport::makeIndexVolume<Tarn::uint8>(Dimension<SizeType>(2, 2, 2));
    SmartPointer<Parameter> p = parameterFor<Parameter>(input, 0);
    p->outputVolume.setValue(
        DynamicCast<SmartPointer<IVolume>>(MemoryVolumePtr<O>(new MemoryVolume<O>(Dimension<SizeType>(1, 1, 1)))));
    typename Facade::IOperator facade;
    return TestSupport::invalidArgumentOf([&] { facade.apply(asComposite(p)); });
}

/// The getType of a Parameter, its keys in order, and whether the factory makes one under that text.
template <class Parameter> std::vector<std::string> parameterDescription()
{
    Parameter p;
    std::vector<std::string> result = {p.getType()};
    for (SizeType k = 0; k < p.size(); ++k) result.push_back(p.getKey(k));
    const SmartPointer<IComposite> made = Tarn::Kito::Factory::DefaultClassFactory::instance().createInstance(p.getType());
    result.push_back(DynamicCast<SmartPointer<Parameter>>(made) != 0 ? "made by the factory" : "not made");
    return result;
}

} // namespace ProjectionTesting

#endif
