// SumOfTriangleAreas::Operator: the area of a triangle mesh held as a table of vertices.
#ifndef TARN_LUMO_SUMOFTRIANGLEAREAS_OPERATOR_H_INCLUDED
#define TARN_LUMO_SUMOFTRIANGLEAREAS_OPERATOR_H_INCLUDED

#include <Kito/Operator>
#include <Kito/SingleBlockAllocator>
#include <Kito/Volume>
#include <LumoStudio/Operators/SumOfTriangleAreas/Parameter.h>

#include <cmath>
#include <string>

namespace Tarn::Lumo::SumOfTriangleAreas {

/// Not a template: the table is always Tarn::float64. It neither reports progress nor stops.
class Operator : public Tarn::Kito::Operator<Operator> {
public:
    using Table = Tarn::Kito::VolumePtr<Tarn::float64, Tarn::Kito::Allocator::SingleBlockAllocator>;

    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        Tarn::Kito::clearStop(&abortFlag);
        using Tarn::Kito::DynamicCast;
        using Tarn::Kito::SizeType;
        const Tarn::Kito::SmartPointer<Parameter> parameter =
            DynamicCast<Tarn::Kito::SmartPointer<Parameter>>(parameterObject);
        if (parameter == 0) throw InvalidParameterObjectException("Tarn::Lumo::SumOfTriangleAreas::Operator::apply");
        const Table table = DynamicCast<Table>(parameter->inputTriangleVolume.getValue());
        if (table == 0)
            throw InvalidParameterObjectException("Tarn::Lumo::SumOfTriangleAreas::Operator::apply input volume is NULL");
        const double sp = parameter->inputVoxelSizePrimInMicrometers.getValue();
        const double ss = parameter->inputVoxelSizeSecInMicrometers.getValue();
        const double st = parameter->inputVoxelSizeTertInMicrometers.getValue();
        const SizeType vertices = table->getDimPrim();
        if (vertices % 3 != 0 || table->getDimSec() != 3 || table->getDimTert() != 1)
            throw InvalidParameterObjectException(
                "Tarn::Lumo::SumOfTriangleAreas::Operator::apply input volume has wrong dim");

        double sum = 0.0;
        for (SizeType t = 0; t < vertices / 3; ++t) {
            const Point a = vertex(*table, 3 * t, sp, ss, st);
            const Point b = vertex(*table, 3 * t + 1, sp, ss, st);
            const Point c = vertex(*table, 3 * t + 2, sp, ss, st);
            sum = sum + area(a, b, c);
        }
        parameter->outputSumOfTriangleAreas.setValue(sum);
    }

    std::string getType() const override { return "Tarn::Lumo::SumOfTriangleAreas::Operator"; }

    struct Point {
        double x0, x1, x2;
    };

    /// Heron's formula in its factored form, with the factors in this order. Nothing guards the
    /// root: rounding can make its argument slightly negative for a degenerate triangle, and the
    /// area is then NaN, which hosts take as the sign of a broken mesh.
    static double area(const Point& A, const Point& B, const Point& C)
    {
        const double a = length(A, B);
        const double b = length(B, C);
        const double c = length(A, C);
        const double s = b + a;
        return 0.25 * std::sqrt(((s - c) * (s + c)) * (c + b - a) * (c + a - b));
    }

private:
    /// The squares are added coordinate 1 first, then 0, then 2.
    static double length(const Point& p, const Point& q)
    {
        return std::sqrt(std::pow(q.x1 - p.x1, 2.0) + std::pow(q.x0 - p.x0, 2.0) + std::pow(q.x2 - p.x2, 2.0));
    }

    /// Read by the checked position access, relative to the table's region of interest.
    template <class Volume> static Point vertex(const Volume& table, Tarn::Kito::SizeType index, double sp, double ss, double st)
    {
        using Tarn::Kito::Position;
        using Tarn::Kito::SizeType;
        const double a0 = table.getValueAt(Position<SizeType>(index, 0, 0));
        const double a1 = table.getValueAt(Position<SizeType>(index, 1, 0));
        const double a2 = table.getValueAt(Position<SizeType>(index, 2, 0));
        return {a0 * sp, a1 * ss, a2 * st};
    }
};

} // namespace Tarn::Lumo::SumOfTriangleAreas

#endif
