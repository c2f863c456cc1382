// What loading the dispatcher library puts into the class factory, against the instance lists of
// KitoInstances.h: every identifier a facade can spell for a listed instance is registered, and
// nothing else is. The expected identifiers are written here from the voxel type names and the
// identifier format, not asked of the classes, so a list, a facade's forcing or an operator's
// getType that drifts apart from the others shows.
#include <Kito/ClassFactory>
#include <Lumo_MiscDispatcher_DLL/KitoInstances.h>

#include <support/RandomVolume.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

namespace Instances = Tarn::Lumo_DLL::Instances;
using Names = std::vector<std::string>;

/// The voxel type names of each instance of a list, in the list's order.
template <class... T> Names namesOf(Instances::Arguments<T...>) { return {TestSupport::voxelName<T>()...}; }
template <class... A> std::vector<Names> instanceNames(Instances::InstanceList<A...>) { return {namesOf(A())...}; }

const std::string singleBlock = "Tarn::Kito::Allocator::SingleBlockAllocator";

std::string chunkOf(const std::string& allocator)
{
    return "Tarn::Kito::Allocator::ExternalBufferAllocator< " + allocator + " >";
}

std::string volume(const std::string& voxel, const std::string& allocator = singleBlock)
{
    return "Tarn::Kito::Volume< " + voxel + " , " + allocator + " >";
}

/// "prefix< a, b >": an operator's volumes joined by its own separator, " , " or ", ".
std::string operatorOf(const std::string& prefix, const Names& voxels, const std::string& separator)
{
    std::string text = prefix + "< ";
    for (std::size_t i = 0; i < voxels.size(); ++i) text += (i == 0 ? "" : separator) + volume(voxels[i]);
    return text + " >";
}

/// The identifiers of every instance of a list of an operator.
template <class List>
void addOperators(Names& ids, const std::string& prefix, List list, const std::string& separator)
{
    for (const Names& voxels : instanceNames(list)) ids.push_back(operatorOf(prefix, voxels, separator));
}

Names expectedIdentifiers()
{
    const std::string external1 = chunkOf(singleBlock), external2 = chunkOf(external1), external3 = chunkOf(external2);
    const Names operatorVoxels = TestSupport::voxelNames(Instances::OperatorVoxels());
    const Names allVoxels = TestSupport::voxelNames(Instances::AllVoxels());
    Names ids = {singleBlock, external1, external2, external3};

    for (const std::string& voxel : allVoxels)
        for (const std::string& allocator : {singleBlock, external1, external2}) ids.push_back(volume(voxel, allocator));
    for (const std::string& voxel : operatorVoxels) ids.push_back(volume(voxel, external3));

    const std::string inputFile = "Tarn::Kito::Allocator::InputFileAllocator";
    const std::string bufferedFile = "Tarn::Kito::Allocator::BufferedInputFileAllocator";
    for (const std::string& file : {inputFile, bufferedFile}) {
        const std::string allocators[] = {file, chunkOf(file), chunkOf(chunkOf(file))};
        ids.insert(ids.end(), std::begin(allocators), std::end(allocators));
        for (const std::string& voxel : operatorVoxels)
            for (const std::string& allocator : allocators) ids.push_back(volume(voxel, allocator));
    }

    ids.insert(ids.end(), {"Tarn::Kito::Dim", "Tarn::Kito::Pos", "Tarn::Kito::Roi", "Tarn::Kito::Triple< bool >",
                           "Tarn::Kito::Triple< std::string >"});
    for (const std::string& voxel : allVoxels) {
        ids.push_back("Tarn::Kito::Triple< " + voxel + " >");
        ids.push_back("Tarn::Kito::Triple< std::complex< " + voxel + " > >");
    }

    ids.insert(ids.end(), {"Tarn::Kito::Container::List< std::string >", "Tarn::Kito::Container::List< Tarn::Kito::Roi >",
                           "Tarn::Kito::Container::Map< Tarn::int32 , std::string >",
                           "Tarn::Kito::Container::Map< std::string , Tarn::int32 >",
                           "Tarn::Kito::Container::BidirectionalMap< std::string , Tarn::int32 >"});
    for (const Names& pair : instanceNames(Instances::OperatorVoxelPairs()))
        ids.push_back("Tarn::Kito::Container::Table< " + pair[0] + " , " + pair[1] + " >");

    ids.insert(ids.end(), {"Tarn::Lumo::ComputeHeightMapBorder::Parameter", "Tarn::Lumo::HeightMap::Parameter",
                           "Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Parameter",
                           "Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Parameter",
                           "Tarn::Lumo::ProjectionMax::Parameter", "Tarn::Lumo::ProjectionSum::Parameter",
                           "Tarn::Lumo::ProjectionMean::Parameter", "Tarn::Lumo::ProjectionMedian::Parameter",
                           "Tarn::Lumo::ValueTransformation::RangePassTransformation::Parameter"});
    ids.insert(ids.end(), {"Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Parameter",
                           "Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Statistics",
                           "Tarn::Kito::Container::Map< Tarn::uint32 , "
                           "Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Statistics >",
                           "Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Parameter"});
    ids.insert(ids.end(), {"Tarn::Lumo::ConcatVolumes::Parameter", "Tarn::Lumo::DuplicateSlices::Parameter",
                           "Tarn::Lumo::ArithmeticOperators::AverageImage::Parameter"});

    for (const std::string& voxel : operatorVoxels) {
        ids.push_back("Tarn::Kito::Statistics::SumOfVoxels::Operator< " + volume(voxel) + " >");
        ids.push_back("Tarn::Kito::Statistics::StatisticsFromVolume::Operator< " + volume(voxel) + " >");
        ids.push_back("Tarn::Kito::Statistics::StatisticsFromVolume::Operator< " + volume(voxel, external1) + " >");
        ids.push_back(operatorOf("Tarn::Lumo::ProjectionMax::Operator", {voxel, voxel}, " , "));
        ids.push_back(operatorOf("Tarn::Lumo::ProjectionMedian::Operator", {voxel, voxel}, " , "));
        ids.push_back(operatorOf("Tarn::Lumo::ValueTransformation::RangePassTransformation::Operator", {voxel, voxel},
                                 " , "));
        // The sibling library's conversions, registered when it loads.
        ids.push_back(operatorOf("Tarn::AncillaryKitoOperators::VoxelTypeConversion::Operator", {"Tarn::float64", voxel},
                                 ", "));
        ids.push_back("Tarn::Lumo::Statistics::FrequencyOfValuesInsideRange::Operator< " + volume(voxel) + " >");
        ids.push_back(operatorOf("Tarn::Lumo::ConcatVolumes::Operator", {voxel, voxel, voxel}, " , "));
        // Not what IAverageImage spells, which reaches nothing; the operator is reached by this name.
        ids.push_back("Tarn::Lumo::ArithmeticOperators::AverageImage::Operator< " + volume(voxel) + " >");
    }
    ids.push_back("Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision::Operator< " +
                  volume("Tarn::float64") + " >");
    addOperators(ids, "Tarn::Kito::Conversion::LookupTableConversion::Operator", Instances::LookupTablePairs(), " , ");
    for (const std::string& voxel : allVoxels)
        ids.push_back("Tarn::Kito::MedianOperators::QuickSelectMedianValueOfRoi::Operator< " + volume(voxel) + " >");
    // The label volume's type is in the identifier after ", ": the facade spells it so, and the operator
    // registers under what the facade spells.
    addOperators(ids, "Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Operator",
                 Instances::LabelStatisticsPairs(), ", ");
    addOperators(ids, "Tarn::Lumo::ProjectionSum::Operator", Instances::OperatorVoxelPairs(), " , ");
    addOperators(ids, "Tarn::Lumo::DuplicateSlices::Operator", Instances::OperatorVoxelPairs(), " , ");
    addOperators(ids, "Tarn::Lumo::ProjectionMean::Operator", Instances::ProjectionMeanPairs(), " , ");
    addOperators(ids, "Tarn::Lumo::HeightMap::Operator", Instances::HeightMapPairs(), ", ");
    addOperators(ids, "Tarn::Lumo::PlanarisationOperators::OrthogonalPlanarisationOperator::Operator",
                 Instances::AllVoxelPairs(), " , ");
    // The directional planarisation joins its three volumes by ", ".
    addOperators(ids, "Tarn::Lumo::PlanarisationOperators::DirectionalPlanarisationOperator::Operator",
                 Instances::DirectionalPlanarisationTriples(), ", ");
    ids.push_back("Tarn::Lumo::SumOfTriangleAreas::Operator");

    const std::string copy = "Tarn::Kito::Copy::Operator< ";
    for (const std::string& voxel : allVoxels) ids.push_back(copy + volume(voxel) + " , " + volume(voxel) + " >");
    for (const std::string& voxel : operatorVoxels)
        for (const std::string& source : {external1, inputFile, bufferedFile})
            ids.push_back(copy + volume(voxel, source) + " , " + volume(voxel) + " >");

    // The readers of volume files: one header reader, a loader and a raw reader per voxel type, and
    // the sibling library's type reader.
    const std::string recMeta =
        "Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::MetaInformation< RecHeader_V260 >";
    ids.push_back("Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderLoader::Operator< " + recMeta + " >");
    for (const std::string& voxel : operatorVoxels) {
        ids.push_back("Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::Loader::Operator< " +
                      volume(voxel) + " , " + recMeta + " >");
        ids.push_back("Tarn::Lumo::Persistence::VolumeFileInput::VolumeFromRawFileInput::Operator< " + volume(voxel) +
                      " >");
    }
    ids.push_back("Tarn::AncillaryKitoOperators::RekTypeReader::Operator");

    std::sort(ids.begin(), ids.end());
    return ids;
}

/// The entries of from that are not in what, both sorted.
Names without(const Names& from, const Names& what)
{
    Names rest;
    std::set_difference(from.begin(), from.end(), what.begin(), what.end(), std::back_inserter(rest));
    return rest;
}

TEST(Registration, TheFactoryHoldsExactlyTheListedInstances)
{
    // Nothing in this program registers a class of its own, so the factory holds what the library put there.
    const Names registered = Tarn::Kito::Factory::DefaultClassFactory::instance().getIdentifiers();
    const Names expected = expectedIdentifiers();
    EXPECT_EQ(without(expected, registered), Names()) << "listed, but not registered";
    EXPECT_EQ(without(registered, expected), Names()) << "registered, but not listed";
    EXPECT_EQ(std::set<std::string>(expected.begin(), expected.end()).size(), expected.size()) << "listed twice";
    EXPECT_EQ(registered.size(), 870u);
}

// ---- the lists of families that have no facade yet ----------------------------------------------

TEST(InstanceLists, LookupTablesGoFromEachSmallIntegerIntoEachOperatorType)
{
    std::vector<Names> expected;
    for (const char* input : {"Tarn::int8", "Tarn::uint8", "Tarn::int16", "Tarn::uint16"})
        for (const std::string& output : TestSupport::voxelNames(Instances::OperatorVoxels()))
            expected.push_back({input, output});
    EXPECT_EQ(instanceNames(Instances::LookupTablePairs()), expected);
}

TEST(InstanceLists, MeansGoIntoTheFloatTypesAndTheInputTypeEachOnce)
{
    std::set<Names> expected;
    for (const std::string& input : TestSupport::voxelNames(Instances::OperatorVoxels()))
        for (const std::string& output : {input, std::string("Tarn::float32"), std::string("Tarn::float64")})
            expected.insert({input, output});
    const std::vector<Names> listed = instanceNames(Instances::ProjectionMeanPairs());
    EXPECT_EQ(std::set<Names>(listed.begin(), listed.end()), expected);
    EXPECT_EQ(listed.size(), 22u);
}

TEST(InstanceLists, DirectionalPlanarisationsTakeAnyInputAnyHeightMapAndBothFloatGrids)
{
    std::vector<Names> expected;
    const Names all = TestSupport::voxelNames(Instances::AllVoxels());
    for (const std::string& input : all)
        for (const std::string& height : all)
            for (const char* grid : {"Tarn::float32", "Tarn::float64"}) expected.push_back({input, height, grid});
    EXPECT_EQ(instanceNames(Instances::DirectionalPlanarisationTriples()), expected);
}

TEST(InstanceLists, LabelStatisticsTakeEachOperatorTypeWithUint8Labels)
{
    std::vector<Names> expected;
    for (const std::string& input : TestSupport::voxelNames(Instances::OperatorVoxels()))
        expected.push_back({input, "Tarn::uint8"});
    EXPECT_EQ(instanceNames(Instances::LabelStatisticsPairs()), expected);
}

} // namespace
