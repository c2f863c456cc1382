// ISumOfTriangleAreas: the exported facade of the area of a triangle mesh.
#ifndef TARN_LUMO_DLL_ISUMOFTRIANGLEAREAS_H_INCLUDED
#define TARN_LUMO_DLL_ISUMOFTRIANGLEAREAS_H_INCLUDED

#include <AncillaryKitoOperators/DllOperator>
#include <LumoStudio/Operators/SumOfTriangleAreas/Parameter.h>

namespace Tarn::Lumo_DLL {

/// A host fills a Parameter with a Tarn::float64 vertex table of extent (3n, 3, 1) and the three
/// voxel sizes, calls apply and reads outputSumOfTriangleAreas, in square micrometres.
class ISumOfTriangleAreas {
public:
    using Parameter = Tarn::Lumo::SumOfTriangleAreas::Parameter;

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
