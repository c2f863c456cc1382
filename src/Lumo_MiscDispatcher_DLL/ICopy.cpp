#include <Lumo_MiscDispatcher_DLL/ICopy.h>

#include "CopyInstances.h"
#include "FacadeSupport.h"

namespace Tarn::Lumo_DLL {

using Tarn::Kito::SmartPointer;

/// From memory (the ten), from a chunk of memory, from a file by each file allocator (the eight).
ICopy::IOperator::IOperator()
{
    detail::forceInstances<Instances::CopyFrom<Instances::SingleBlock>::Operator>(Instances::AllVoxels());
    detail::forceInstances<Instances::CopyFrom<Instances::External1>::Operator>(Instances::OperatorVoxels());
    detail::forceInstances<Instances::CopyFrom<Instances::InputFile>::Operator>(Instances::OperatorVoxels());
    detail::forceInstances<Instances::CopyFrom<Instances::BufferedFile>::Operator>(Instances::OperatorVoxels());
}

/// The copy keeps the voxel type, so a given output of another type is refused here, before the
/// factory is asked; without an output the input's type stands for both volumes.
SmartPointer<Tarn::Kito::IOperator> ICopy::IOperator::getOperatorFromParameterObject(
    SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const
{
    const SmartPointer<Parameter> p = detail::castParameter<Parameter>(parameter, "ICopy");
    const SmartPointer<Tarn::Kito::IVolume> input = p->inputVolume.getValue();
    if (input == 0) throw detail::facadeFailure("ICopy", ": inputVolume is NULL!");
    const SmartPointer<Tarn::Kito::IVolume> output = p->outputVolume.getValue();
    if (output != 0 && input->getVoxelTypeName() != output->getVoxelTypeName())
        throw detail::facadeFailure("ICopy", ": Voxel types must be equal!");
    return detail::createOperator("Tarn::Kito::Copy::Operator< " + detail::typeOf(input) + " , " +
                                  detail::typeOfSecond(input, output) + " >");
}

} // namespace Tarn::Lumo_DLL
