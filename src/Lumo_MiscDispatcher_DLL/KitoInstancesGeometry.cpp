// The composite forms of triples, sizes, positions and regions. An explicit instance names its
// factory registrator, so loading this library puts each of them into the class factory, where a
// host or a volume rebuilt from its keys finds them by name.
#include <Kito/TripleComposite>
#include <Kito/Types>

#include <complex>
#include <string>

#include "KitoInstances.h"

// Triples of all ten voxel types and of their complex forms, every type a Data value can hold: a
// triple of any of them can travel in a parameter object.
#define TARN_MAKE_TRIPLE(T) template class Tarn::Kito::TripleComposite<T>;
#define TARN_MAKE_COMPLEX_TRIPLE(T) template class Tarn::Kito::TripleComposite<std::complex<T>>;
TARN_MAKE_TRIPLE(bool)
TARN_MAKE_TRIPLE(std::string)
TARN_ALL_VOXELS(TARN_MAKE_TRIPLE)
TARN_ALL_VOXELS(TARN_MAKE_COMPLEX_TRIPLE)
#undef TARN_MAKE_COMPLEX_TRIPLE
#undef TARN_MAKE_TRIPLE

// Sizes, positions and regions are only ever counted in SizeType.
template class Tarn::Kito::DimensionComposite<Tarn::Kito::SizeType>;
template class Tarn::Kito::PositionComposite<Tarn::Kito::SizeType>;
template class Tarn::Kito::RegionOfInterestComposite<Tarn::Kito::SizeType>;
