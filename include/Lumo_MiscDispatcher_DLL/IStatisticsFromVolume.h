// IStatisticsFromVolume: the exported facade of a view's minimum, maximum, mean and variance.
#ifndef TARN_LUMO_DLL_ISTATISTICSFROMVOLUME_H_INCLUDED
#define TARN_LUMO_DLL_ISTATISTICSFROMVOLUME_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <Kito/Statistics/StatisticsFromVolume/Parameter>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter's inputVolume (in memory, or a chunk over memory), calls apply and
/// reads outputMinimum, outputMaximum (Data of the voxel type), outputMean, outputVariance and
/// outputStandardDeviation.
class IStatisticsFromVolume {
public:
    using Parameter = Tarn::Kito::Statistics::StatisticsFromVolume::Parameter;

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
