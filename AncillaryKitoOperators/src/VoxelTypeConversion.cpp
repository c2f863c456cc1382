// The conversions from Tarn::float64 into each of the eight operator voxel types, with their
// registration with the class factory. This library lies below the dispatcher and cannot read its
// instance lists, so the eight are written out here; the dispatcher's registration test compares
// the factory's identifiers with its own list of the eight and shows any drift.
#include <AncillaryKitoOperators/VoxelTypeConversion>
#include <Kito/ClassFactory>
#include <Kito/SingleBlockAllocator>
#include <Kito/Volume>

#define TARN_ANCILLARY_CONVERSION(W)                                                                                   \
    template class Tarn::AncillaryKitoOperators::VoxelTypeConversion::Operator<                                        \
        Tarn::Kito::VolumePtr<Tarn::float64, Tarn::Kito::Allocator::SingleBlockAllocator>,                             \
        Tarn::Kito::VolumePtr<W, Tarn::Kito::Allocator::SingleBlockAllocator>>;                                        \
    template class Tarn::Kito::Factory::StaticFactorySubscriber<                                                       \
        Tarn::Kito::Factory::DefaultClassFactory,                                                                      \
        Tarn::AncillaryKitoOperators::VoxelTypeConversion::Operator<                                                   \
            Tarn::Kito::VolumePtr<Tarn::float64, Tarn::Kito::Allocator::SingleBlockAllocator>,                         \
            Tarn::Kito::VolumePtr<W, Tarn::Kito::Allocator::SingleBlockAllocator>>>;
TARN_ANCILLARY_CONVERSION(Tarn::int8)
TARN_ANCILLARY_CONVERSION(Tarn::uint8)
TARN_ANCILLARY_CONVERSION(Tarn::int16)
TARN_ANCILLARY_CONVERSION(Tarn::uint16)
TARN_ANCILLARY_CONVERSION(Tarn::int32)
TARN_ANCILLARY_CONVERSION(Tarn::uint32)
TARN_ANCILLARY_CONVERSION(Tarn::float32)
TARN_ANCILLARY_CONVERSION(Tarn::float64)
#undef TARN_ANCILLARY_CONVERSION
