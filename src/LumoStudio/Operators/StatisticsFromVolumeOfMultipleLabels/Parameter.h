// StatisticsFromVolumeOfMultipleLabels::Parameter: a volume, its label volume, and the statistics
// of each label that comes back, each a Statistics. Both classes are here, since a host needs both
// and only the Parameter headers of the operators are installed.
#ifndef TARN_LUMO_STATISTICSFROMVOLUMEOFMULTIPLELABELS_PARAMETER_H_INCLUDED
#define TARN_LUMO_STATISTICSFROMVOLUMEOFMULTIPLELABELS_PARAMETER_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/CompositeOfProperties>
#include <Kito/Data>
#include <Kito/IVolume>
#include <Kito/Map>
#include <Kito/SmartPointer>
#include <Kito/Types>

#include <string>

namespace Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels {

/// outputMinimum, outputMaximum (Data of the voxel type), outputStandardDeviation, outputVariance,
/// outputMean, in this order: what StatisticsFromVolume gives for a whole view, here for the voxels
/// of one label. It registers by name, so that a map of results rebuilt from its keys can make it.
class Statistics
    : public Tarn::Kito::Persistence::CompositeOfProperties<Statistics>,
      public Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Statistics> {
    using Subscriber = Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Statistics>;

public:
    Property<Tarn::Kito::Persistence::IData> outputMinimum;
    Property<Tarn::Kito::Persistence::IData> outputMaximum;
    PropertyData<Tarn::float64> outputStandardDeviation;
    PropertyData<Tarn::float64> outputVariance;
    PropertyData<Tarn::float64> outputMean;

    Statistics() { appendProperties(); }
    Statistics(const Statistics& other)
        : IComposite(), CompositeOfProperties<Statistics>(other), Subscriber(other), outputMinimum(other.outputMinimum),
          outputMaximum(other.outputMaximum), outputStandardDeviation(other.outputStandardDeviation),
          outputVariance(other.outputVariance), outputMean(other.outputMean)
    {
        appendProperties();
    }
    Statistics& operator=(const Statistics& other)
    {
        outputMinimum = other.outputMinimum;
        outputMaximum = other.outputMaximum;
        outputStandardDeviation = other.outputStandardDeviation;
        outputVariance = other.outputVariance;
        outputMean = other.outputMean;
        return *this;
    }

    std::string getType() const override { return "Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Statistics"; }

private:
    void appendProperties()
    {
        append("outputMinimum", outputMinimum);
        append("outputMaximum", outputMaximum);
        append("outputStandardDeviation", outputStandardDeviation);
        append("outputVariance", outputVariance);
        append("outputMean", outputMean);
    }
};

using StatisticsPtr = Tarn::Kito::SmartPointer<Statistics>;


/// The map of results: label (widened to 32 bits) to its Statistics.
using StatisticsMap = Tarn::Kito::Container::Map<Tarn::uint32, StatisticsPtr>;
using StatisticsMapPtr = Tarn::Kito::Container::MapPtr<Tarn::uint32, StatisticsPtr>;

/// inputVolume, inputLabelVolume, outputMapStatistics, in this order. The label volume is a
/// Tarn::uint8 volume in one block of memory whose view has the extents of the input's view.
/// outputMapStatistics may hold a map before the run: it is added to, and the entries of labels
/// that occur are overwritten; if it holds NULL the run puts a new map there.
class Parameter
    : public Tarn::Kito::Persistence::CompositeOfProperties<Parameter>,
      public Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter> {
    using Subscriber = Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory, Parameter>;

public:
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputVolume;
    Property<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>> inputLabelVolume;
    Property<StatisticsMapPtr> outputMapStatistics;

    Parameter() { appendProperties(); }
    Parameter(const Parameter& other)
        : IComposite(), CompositeOfProperties<Parameter>(other), Subscriber(other), inputVolume(other.inputVolume),
          inputLabelVolume(other.inputLabelVolume), outputMapStatistics(other.outputMapStatistics)
    {
        appendProperties();
    }
    Parameter& operator=(const Parameter& other)
    {
        inputVolume = other.inputVolume;
        inputLabelVolume = other.inputLabelVolume;
        outputMapStatistics = other.outputMapStatistics;
        return *this;
    }

    std::string getType() const override { return "Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels::Parameter"; }

private:
    void appendProperties()
    {
        append("inputVolume", inputVolume);
        append("inputLabelVolume", inputLabelVolume);
        append("outputMapStatistics", outputMapStatistics);
    }
};

} // namespace Tarn::Lumo::Statistics::StatisticsFromVolumeOfMultipleLabels

#endif
