// IFrequencyOfValuesInsideRange: the exported facade of the count of voxels inside a range of
// values.
#ifndef TARN_LUMO_DLL_IFREQUENCYOFVALUESINSIDERANGE_H_INCLUDED
#define TARN_LUMO_DLL_IFREQUENCYOFVALUESINSIDERANGE_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/FrequencyOfValuesInsideRange/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter's inputVolume (in memory), inputRangeLowerValue and
/// inputRangeUpperValue (Data of any numeric type, narrowed to the voxel type), calls apply and
/// reads outputFrequency.
class IFrequencyOfValuesInsideRange {
public:
    using Parameter = Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Parameter;

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
