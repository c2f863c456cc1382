// The containers that travel in parameter objects. An explicit instance names its factory
// registrator, so loading this library puts each of them into the class factory, where a host or
// a parameter object rebuilt from its keys finds them by name.
#include "KitoInstances.h"

#include <Kito/BidirectionalMap>
#include <Kito/List>
#include <Kito/Map>
#include <Kito/SmartPointer>
#include <Kito/Table>
#include <Kito/TripleComposite>
#include <Kito/Types>

#include <string>

// Lists of file names, and the stack of regions of every volume.
template class Tarn::Kito::Container::List<std::string>;
template class Tarn::Kito::SmartPointer<Tarn::Kito::RegionOfInterestComposite<Tarn::Kito::SizeType>>;
template class Tarn::Kito::Container::List<Tarn::Kito::RegionOfInterestCompositePtr<Tarn::Kito::SizeType>>;
template class Tarn::Kito::SmartPointer<
    Tarn::Kito::Container::List<Tarn::Kito::RegionOfInterestCompositePtr<Tarn::Kito::SizeType>>>;
template class Tarn::Kito::Container::ListPtr<Tarn::Kito::RegionOfInterestCompositePtr<Tarn::Kito::SizeType>>;

// Voxel type names and their codes in volume files, both ways: the two sides of the two-way map.
template class Tarn::Kito::Container::Map<Tarn::int32, std::string>;
template class Tarn::Kito::Container::Map<std::string, Tarn::int32>;
template class Tarn::Kito::Container::BidirectionalMap<std::string, Tarn::int32>;

// Lookup tables from every operator voxel type to every other.
#define TARN_MAKE_TABLE(K, V) template class Tarn::Kito::Container::Table<K, V>;
TARN_OPERATOR_VOXEL_PAIRS(TARN_MAKE_TABLE)
#undef TARN_MAKE_TABLE
