// IStatisticsFromVolumeOfMultipleLabels: the exported facade of the statistics of each label of a
// label volume.
#ifndef TARN_LUMO_DLL_ISTATISTICSFROMVOLUMEOFMULTIPLELABELS_H_INCLUDED
#define TARN_LUMO_DLL_ISTATISTICSFROMVOLUMEOFMULTIPLELABELS_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/StatisticsFromVolumeOfMultipleLabels/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter's inputVolume (any of the eight operator voxel types, in memory) and
/// inputLabelVolume (Tarn::uint8, in memory, a view of the same extents), calls apply and reads
/// outputMapStatistics: label to Statistics, for the labels that occur.
class IStatisticsFromVolumeOfMultipleLabels {
public:
    using Parameter = Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Parameter;

    class IOperator : public Tarn::AncillaryKitoOperators::DLL::Operator {
    public:
        IOperator();
        IOperator(const IOperator& other) = default;
        ~IOperator() override = default;
        IOperator& operator=(const IOperator& other) = default;

    protected:
        Tarn::Kito::SmartPointer<Tarn::Kito::IOperator> getOperatorFromParameterObject(
            Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameter) const override;
    };
};

} // namespace Tarn::Lumo_DLL

#endif
