#include <Kito/ClassFactory>
#include <Kito/Statistics/SumOfVoxels/Parameter>
#include <Kito/Volume>
#include <Lumo_MiscDispatcher_DLL/ISumOfTriangleAreas.h>
#include <LumoStudio/Operators/SumOfTriangleAreas/Operator.h>
#include <LumoStudio/Operators/SumOfTriangleAreas/Parameter.h>

#include <support/FailureOf.h>
#include <support/RandomVolume.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace {

using Tarn::Kito::Dimension;
using Tarn::Kito::DynamicCast;
using Tarn::Kito::IVolume;
using Tarn::Kito::Position;
using Tarn::Kito::RegionOfInterest;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;
using Tarn::Kito::Persistence::IComposite;
using Tarn::Lumo_DLL::ISumOfTriangleAreas;
using TestSupport::bitsOf;
using TestSupport::invalidArgumentOf;
using TestSupport::MemoryVolume;
using TestSupport::MemoryVolumePtr;

using Region = RegionOfInterest<SizeType>;
using Parameter = Tarn::Lumo::SumOfTriangleAreas::Parameter;
using AreaOperator = Tarn::Lumo::SumOfTriangleAreas::Operator;
using Vertex = std::array<double, 3>;
using Triangle = std::array<Vertex, 3>;

/// A table of extent (3n, 3, 1): vertex v of the list in prim, its coordinate c in sec.
MemoryVolumePtr<Tarn::float64> tableOf(const std::vector<Triangle>& triangles)
{
    MemoryVolumePtr<Tarn::float64> table(
        new MemoryVolume<Tarn::float64>(Dimension<SizeType>(3 * triangles.size(), 3, 1)));
    for (SizeType t = 0; t < triangles.size(); ++t)
        for (SizeType v = 0; v < 3; ++v)
            for (SizeType c = 0; c < 3; ++c) *table->getPosOffset(Position<SizeType>(3 * t + v, c, 0)) = triangles[t][v][c];
    return table;
}

template <class V>
SmartPointer<Parameter> parameterFor(const V& table, double sizePrim = 1.0, double sizeSec = 1.0, double sizeTert = 1.0)
{
    SmartPointer<Parameter> p(new Parameter);
    p->inputTriangleVolume.setValue(DynamicCast<SmartPointer<IVolume>>(table));
    p->inputVoxelSizePrimInMicrometers.setValue(sizePrim);
    p->inputVoxelSizeSecInMicrometers.setValue(sizeSec);
    p->inputVoxelSizeTertInMicrometers.setValue(sizeTert);
    return p;
}

SmartPointer<IComposite> asComposite(const SmartPointer<Parameter>& p) { return DynamicCast<SmartPointer<IComposite>>(p); }

/// The squares are added coordinate 1, then 0, then 2, each by pow with exponent 2.0.
double referenceLength(const Vertex& p, const Vertex& q)
{
    return std::sqrt(std::pow(q[1] - p[1], 2.0) + std::pow(q[0] - p[0], 2.0) + std::pow(q[2] - p[2], 2.0));
}

/// What stands under the root of Heron's formula, factored, in this order of operations.
double heronArgument(const Vertex& A, const Vertex& B, const Vertex& C)
{
    const double a = referenceLength(A, B);
    const double b = referenceLength(B, C);
    const double c = referenceLength(A, C);
    const double s = b + a;
    return ((s - c) * (s + c)) * (c + b - a) * (c + a - b);
}

double referenceSum(const std::vector<Triangle>& triangles, double sp, double ss, double st)
{
    double sum = 0.0;
    for (const Triangle& t : triangles) {
        Vertex scaled[3];
        for (int v = 0; v < 3; ++v) scaled[v] = {t[v][0] * sp, t[v][1] * ss, t[v][2] * st};
        sum = sum + 0.25 * std::sqrt(heronArgument(scaled[0], scaled[1], scaled[2]));
    }
    return sum;
}

double applyFacade(const SmartPointer<Parameter>& p)
{
    ISumOfTriangleAreas::IOperator facade;
    facade.apply(asComposite(p));
    return p->outputSumOfTriangleAreas.getValue();
}

const Triangle unitCorner = {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}};

TEST(SumOfTriangleAreas, RightTriangleOfUnitLegsHasHalfAnArea)
{
    EXPECT_DOUBLE_EQ(applyFacade(parameterFor(tableOf({unitCorner}))), 0.5);
}

TEST(SumOfTriangleAreas, PrimVoxelSizeScalesCoordinateZero)
{
    EXPECT_DOUBLE_EQ(applyFacade(parameterFor(tableOf({unitCorner}), 2.0, 1.0, 1.0)), 1.0);
    // The legs lie along coordinates 0 and 1: the tert size changes nothing here.
    EXPECT_DOUBLE_EQ(applyFacade(parameterFor(tableOf({unitCorner}), 1.0, 3.0, 7.0)), 1.5);
}

TEST(SumOfTriangleAreas, ThreeEqualVerticesAddNothing)
{
    const Triangle point = {{{2, 3, 4}, {2, 3, 4}, {2, 3, 4}}};
    EXPECT_EQ(bitsOf(applyFacade(parameterFor(tableOf({point})))), bitsOf(0.0));
    EXPECT_EQ(bitsOf(applyFacade(parameterFor(tableOf({unitCorner, point, unitCorner})))),
              bitsOf(applyFacade(parameterFor(tableOf({unitCorner, unitCorner})))));
}

TEST(SumOfTriangleAreas, RandomMeshEqualsTheFactoredHeronSumBitForBit)
{
    std::mt19937_64 engine(5150);
    std::uniform_real_distribution<double> coordinate(-50.0, 50.0);
    std::vector<Triangle> triangles(40);
    for (Triangle& t : triangles)
        for (Vertex& v : t)
            for (double& c : v) c = coordinate(engine);
    const double sp = 0.37, ss = 1.9, st = 2.45;
    const double expected = referenceSum(triangles, sp, ss, st);
    SmartPointer<Parameter> p = parameterFor(tableOf(triangles), sp, ss, st);
    EXPECT_EQ(bitsOf(applyFacade(p)), bitsOf(expected));
    AreaOperator op;
    p->outputSumOfTriangleAreas.setValue(0.0);
    op.apply(asComposite(p));
    EXPECT_EQ(bitsOf(p->outputSumOfTriangleAreas.getValue()), bitsOf(expected));
}

TEST(SumOfTriangleAreas, DegenerateTriangleWhoseRootArgumentRoundsBelowZeroGivesNaN)
{
    // Three points on one line; the rounding of the three lengths leaves a negative product.
    const Triangle line = {{{1, 2, 3}, {14, 28, 42}, {40, 80, 120}}};
    ASSERT_LT(heronArgument(line[0], line[1], line[2]), 0.0);
    EXPECT_TRUE(std::isnan(applyFacade(parameterFor(tableOf({unitCorner, line})))));
}

TEST(SumOfTriangleAreas, RegionOfTheTableRestrictsTheTrianglesSummed)
{
    const Triangle big = {{{0, 0, 0}, {4, 0, 0}, {0, 4, 0}}};
    const Triangle tall = {{{0, 0, 0}, {0, 0, 3}, {0, 2, 0}}};
    MemoryVolumePtr<Tarn::float64> table = tableOf({unitCorner, big, tall});
    table->setRoi(Region(Dimension<SizeType>(3, 3, 1), Position<SizeType>(3, 0, 0)));
    EXPECT_DOUBLE_EQ(applyFacade(parameterFor(table)), 8.0);
    table->popRoi();
    table->setRoi(Region(Dimension<SizeType>(6, 3, 1), Position<SizeType>(3, 0, 0)));
    EXPECT_DOUBLE_EQ(applyFacade(parameterFor(table)), 11.0);
}

TEST(SumOfTriangleAreas, NeitherReportsProgressNorStops)
{
    MemoryVolumePtr<Tarn::float64> table = tableOf({unitCorner, unitCorner});
    SmartPointer<Parameter> p = parameterFor(table);
    AreaOperator op;
    op.abort();
    op.apply(asComposite(p));
    EXPECT_DOUBLE_EQ(p->outputSumOfTriangleAreas.getValue(), 1.0);
    EXPECT_EQ(op.getProgress().getProgress(), 0.0);
}

TEST(SumOfTriangleAreas, OneIdentifierForEveryTable)
{
    AreaOperator op;
    EXPECT_EQ(static_cast<const IComposite&>(op).getType(), "Tarn::Lumo::SumOfTriangleAreas::Operator");
    const auto ids = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    EXPECT_NE(std::find(ids.begin(), ids.end(), "Tarn::Lumo::SumOfTriangleAreas::Operator"), ids.end());
    // A table of another voxel type passes the facade, reaches the same operator and is refused there.
    MemoryVolumePtr<Tarn::uint16> wrongType(new MemoryVolume<Tarn::uint16>(Dimension<SizeType>(3, 3, 1)));
    ISumOfTriangleAreas::IOperator facade;
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(parameterFor(wrongType))); }),
              "parameter: Tarn::Lumo::SumOfTriangleAreas::Operator::apply input volume is NULL");
}

TEST(SumOfTriangleAreasParameter, ClassNameWithItsTrailingBlankAndProperties)
{
    Parameter p;
    EXPECT_EQ(p.getType(), "Tarn::Lumo::SumOfTriangleAreas::Parameter ");
    ASSERT_EQ(p.size(), 5u);
    EXPECT_EQ(p.getKey(0), "inputTriangleVolume");
    EXPECT_EQ(p.getKey(1), "inputVoxelSizePrimInMicrometers");
    EXPECT_EQ(p.getKey(2), "inputVoxelSizeSecInMicrometers");
    EXPECT_EQ(p.getKey(3), "inputVoxelSizeTertInMicrometers");
    EXPECT_EQ(p.getKey(4), "outputSumOfTriangleAreas");
}

// ---- failures -------------------------------------------------------------------------------------

TEST(SumOfTriangleAreasFailure, TableOfWrongExtentIsRefusedAndTheOldSumKept)
{
    const Dimension<SizeType> wrong[] = {Dimension<SizeType>(4, 3, 1), Dimension<SizeType>(3, 2, 1),
                                         Dimension<SizeType>(3, 3, 2), Dimension<SizeType>(6, 4, 1)};
    for (const Dimension<SizeType>& extent : wrong) {
        MemoryVolumePtr<Tarn::float64> table(new MemoryVolume<Tarn::float64>(extent));
        table->fill(1.0);
        SmartPointer<Parameter> p = parameterFor(table);
        p->outputSumOfTriangleAreas.setValue(12.5);
        ISumOfTriangleAreas::IOperator facade;
        EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
                  "parameter: Tarn::Lumo::SumOfTriangleAreas::Operator::apply input volume has wrong dim")
            << extent.prim << " x " << extent.sec << " x " << extent.tert;
        EXPECT_EQ(p->outputSumOfTriangleAreas.getValue(), 12.5);
    }
}

TEST(SumOfTriangleAreas, ExtentIsThatOfTheView)
{
    // A whole table of 3 x 3 x 2 is wrong; one tert slice of it is a table of one triangle.
    MemoryVolumePtr<Tarn::float64> table(new MemoryVolume<Tarn::float64>(Dimension<SizeType>(3, 3, 2)));
    table->fill(0.0);
    *table->getPosOffset(Position<SizeType>(1, 0, 1)) = 1.0;
    *table->getPosOffset(Position<SizeType>(2, 1, 1)) = 1.0;
    table->setRoiToSlice(1);
    EXPECT_DOUBLE_EQ(applyFacade(parameterFor(table)), 0.5);
}

TEST(SumOfTriangleAreasFailure, FacadeRefusesAParameterOfAnotherClass)
{
    ISumOfTriangleAreas::IOperator facade;
    SmartPointer<IComposite> other = DynamicCast<SmartPointer<IComposite>>(
        SmartPointer<Tarn::Kito::Statistics::SumOfVoxels::Parameter>(new Tarn::Kito::Statistics::SumOfVoxels::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(other); }),
              "parameter: Tarn::Lumo_DLL::ISumOfTriangleAreas::IOperator::getOperatorTypeFromParameterObject: invalid "
              "parameter object!");
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(SmartPointer<IComposite>()); }),
              "parameter: Tarn::Lumo_DLL::ISumOfTriangleAreas::IOperator::getOperatorTypeFromParameterObject: invalid "
              "parameter object!");
}

TEST(SumOfTriangleAreasFailure, FacadeReportsAMissingTableAsInputVolume)
{
    ISumOfTriangleAreas::IOperator facade;
    SmartPointer<Parameter> p(new Parameter);
    EXPECT_EQ(invalidArgumentOf([&] { facade.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo_DLL::ISumOfTriangleAreas::IOperator::getOperatorTypeFromParameterObject: "
              "inputVolume is NULL!");
}

TEST(SumOfTriangleAreasFailure, DirectApplyWithTheParameterOfAnotherOperator)
{
    AreaOperator op;
    SmartPointer<IComposite> other = DynamicCast<SmartPointer<IComposite>>(
        SmartPointer<Tarn::Kito::Statistics::SumOfVoxels::Parameter>(new Tarn::Kito::Statistics::SumOfVoxels::Parameter));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(other); }), "parameter: Tarn::Lumo::SumOfTriangleAreas::Operator::apply");
}

TEST(SumOfTriangleAreasFailure, DirectApplyWithoutTableOrWithOneOfAnotherType)
{
    AreaOperator op;
    SmartPointer<Parameter> p(new Parameter);
    p->outputSumOfTriangleAreas.setValue(3.25);
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo::SumOfTriangleAreas::Operator::apply input volume is NULL");
    MemoryVolumePtr<Tarn::float32> single(new MemoryVolume<Tarn::float32>(Dimension<SizeType>(3, 3, 1)));
    p->inputTriangleVolume.setValue(DynamicCast<SmartPointer<IVolume>>(single));
    EXPECT_EQ(invalidArgumentOf([&] { op.apply(asComposite(p)); }),
              "parameter: Tarn::Lumo::SumOfTriangleAreas::Operator::apply input volume is NULL");
    EXPECT_EQ(p->outputSumOfTriangleAreas.getValue(), 3.25);
}

} // namespace
