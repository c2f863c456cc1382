// StatisticsFromVolumeOfMultipleLabels::Operator: minimum, maximum, mean, sample variance and
// deviation of the voxels of each label of a label volume, in one pass over both volumes.
#ifndef TARN_LUMO_STATISTICSFROMVOLUMEOFMULTIPLELABELS_OPERATOR_H_INCLUDED
#define TARN_LUMO_STATISTICSFROMVOLUMEOFMULTIPLELABELS_OPERATOR_H_INCLUDED

#include <Kito/Data>
#include <Kito/ForEach>
#include <Kito/Functor>
#include <Kito/Operator>
#include <Kito/SingleBlockAllocator>
#include <Kito/SmartPointer>
#include <Kito/Statistics/IncrementalStatistic>
#include <Kito/Types>
#include <Kito/Volume>
#include <LumoStudio/Operators/StatisticsFromVolumeOfMultipleLabels/Parameter.h>

#include <array>
#include <cmath>
#include <string>

namespace Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels {

/// The state of Welford's recurrence of CIncrementalStatistic for one label, stepped by the same
/// addToStatistic, so count, minimum, maximum, mean and the sum of squared deviations have the same
/// bits. The two values that the step only writes stay in locals that nobody reads, which lets the
/// compiler drop the division of the variance at every voxel: the previous mean, and the variance,
/// which is the sum divided by count - 1 (0 at the first voxel) and so is formed once from the final
/// state, to the same bits, by variance().
template <class T> struct LabelStatistic {
    Tarn::uint64 count = 0;
    T minimum = T();
    T maximum = T();
    double mean = 0.0;
    double sumOfSquaredDeviations = 0.0;

    void add(const T& value)
    {
        double previousMean, unreadVariance;
        Tarn::Kito::Statistics::addToStatistic(value, count, minimum, maximum, mean, previousMean, unreadVariance,
                                               sumOfSquaredDeviations);
    }

    double variance() const { return count < 2 ? 0.0 : sumOfSquaredDeviations / static_cast<double>(count - 1); }
};

/// Holds one recurrence per label value, all at zero, indexed by the label: a label's first voxel
/// finds its state as a map element made at that moment would be. That is one array access per
/// voxel where a std::map would search; only labels with a count above 0 have occurred.
template <class VolumePointer> class Functor : public Tarn::Kito::Iterating::Functor {
public:
    using Voxel = typename VolumePointer::element_type::VoxelType;

    void operator()(const Voxel& value, const Tarn::uint8& label) { labels[label].add(value); }

    std::array<LabelStatistic<Voxel>, 256> labels{};
};

/// VolumePointer is VolumePtr<T, SingleBlockAllocator> for one of the eight voxel types,
/// LabelPointer VolumePtr<Tarn::uint8, SingleBlockAllocator>. The pass is serial, in the walk order
/// of the input's view, which each label's rounding depends on; the label volume is walked by its
/// own view, so regions and orientations of the two may differ where the extents agree.
template <class VolumePointer, class LabelPointer>
class Operator : public Tarn::Kito::Operator<Operator<VolumePointer, LabelPointer>> {
public:
    using Voxel = typename VolumePointer::element_type::VoxelType;

    void apply(Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject) override
    {
        using Tarn::Kito::DynamicCast;
        using InvalidParameter = Tarn::Kito::IOperator::InvalidParameterObjectException;
        this->startRun();
        const Tarn::Kito::SmartPointer<Parameter> parameter =
            DynamicCast<Tarn::Kito::SmartPointer<Parameter>>(parameterObject);
        if (parameter == 0)
            throw InvalidParameter("Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Operator::apply");
        VolumePointer input = DynamicCast<VolumePointer>(parameter->inputVolume.getValue());
        if (input == 0) throw InvalidParameter(getType() + "::apply the input volume is NULL");
        LabelPointer labels = DynamicCast<LabelPointer>(parameter->inputLabelVolume.getValue());
        if (labels == 0) throw InvalidParameter(getType() + "::apply the label volume is NULL");
        if (input->getDimension() != labels->getDimension())
            throw InvalidParameter(getType() + "::apply the volumes have different dimensions");
        StatisticsMapPtr map = parameter->outputMapStatistics.getValue();

        Functor<VolumePointer> functor;
        Tarn::Kito::Iterating::ForEach::apply(functor, input, labels, this->progress, &this->abortFlag);

        // Written also after a stop, from the voxels seen so far.
        if (map == 0) {
            map = StatisticsMapPtr(new StatisticsMap);
            parameter->outputMapStatistics.setValue(map);
        }
        for (unsigned label = 0; label < 256; ++label) {
            const LabelStatistic<Voxel>& state = functor.labels[label];
            if (state.count == 0) continue;
            StatisticsPtr& statistics = (*map)[static_cast<Tarn::uint32>(label)];
            if (statistics == 0) statistics = StatisticsPtr(new Statistics);
            const double variance = state.variance();
            statistics->outputMinimum.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IData>>(
                Tarn::Kito::Persistence::DataPtr<Voxel>(state.minimum)));
            statistics->outputMaximum.setValue(DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IData>>(
                Tarn::Kito::Persistence::DataPtr<Voxel>(state.maximum)));
            statistics->outputStandardDeviation.setValue(std::sqrt(variance));
            statistics->outputVariance.setValue(variance);
            statistics->outputMean.setValue(state.mean);
        }
    }

    std::string getType() const override
    {
        return "Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Operator< " +
               typename VolumePointer::element_type().getType() + ", " +
               typename LabelPointer::element_type().getType() + " >";
    }
};

} // namespace Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels

#endif
