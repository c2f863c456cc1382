#include <AncillaryKitoOperators/RekTypeReader>
#include <Lumo_MiscDispatcher_DLL/IAverageImage.h>
#include <LumoStudio/Operators/AverageImage/Operator.h>

#include "FacadeSupport.h"
#include "KitoInstances.h"
#include "StageInstances.h"     // the REK loaders that read the files are compiled elsewhere, once

namespace Tarn::Lumo_DLL::Instances {
template <class T> using AverageImage = Tarn::Lumo::ArithmeticOperators::AverageImage::Operator<InMemory<T>>;
} // namespace Tarn::Lumo_DLL::Instances

#define TARN_MAKE(T)                                                                                                   \
    TARN_OPERATOR_INSTANCE(, Tarn::Lumo::ArithmeticOperators::AverageImage::Operator<Tarn::Lumo_DLL::Instances::InMemory<T>>)
TARN_OPERATOR_VOXELS(TARN_MAKE)
#undef TARN_MAKE

// The parameter class registers itself by name, so that a host can make it through the class
// factory; an explicit instance of its subscription is what puts that into the library.
template class Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory,
                                                            Tarn::Lumo::ArithmeticOperators::AverageImage::Parameter>;

namespace Tarn::Lumo_DLL {

using Tarn::Kito::DynamicCast;
using Tarn::Kito::SmartPointer;

/// The eight instances are forced like those of every facade, although the identifier spelled
/// below reaches none of them: this is what keeps them, with their registrations, in the library.
IAverageImage::IOperator::IOperator() { detail::forceInstances<Instances::AverageImage>(Instances::OperatorVoxels()); }

/// V is the first file's voxel type as the type reader names it, a bare "Tarn::uint16"; W is V, or
/// the whole class text of the volume in outputVolume. Namespace and arity differ from the
/// operator's own identifier, so the factory finds nothing and fails with the identifier in its
/// text; hosts have only ever seen this. An empty list gives the reader an empty name, and its
/// failure " input filename is empty" reaches the host before the factory is asked.
SmartPointer<Tarn::Kito::IOperator> IAverageImage::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    namespace Reader = Tarn::AncillaryKitoOperators::RekTypeReader;
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "IAverageImage");
    const Tarn::Kito::Container::ListPtr<std::string> files = p->inputFileList.getValue();
    if (files == 0) throw detail::facadeFailure("IAverageImage", ": list is NULL!");
    const SmartPointer<Tarn::Kito::IVolume> output = p->outputVolume.getValue();

    const SmartPointer<Reader::Parameter> read(new Reader::Parameter);
    read->inputFilename.setValue(files->empty() ? std::string() : files->front());
    Reader::Operator reader;
    reader.apply(DynamicCast<SmartPointer<Tarn::Kito::Persistence::IComposite>>(read));
    const std::string voxel = read->outputVoxelType.getValue();
    const std::string second = output == 0 ? voxel : detail::typeOf(output);
    return detail::createOperator("Tarn::Kito::SerrinOperators::AverageImage::Operator< " + voxel + " , " + second +
                                  " >");
}

} // namespace Tarn::Lumo_DLL
