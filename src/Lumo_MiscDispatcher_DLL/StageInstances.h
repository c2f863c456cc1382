// StageInstances: the operators that other operators run as stages, declared so that a stage's
// user compiles none of them again. The in-place division is defined in
// CheckedInplaceValueDivisionInstance.cpp, the REK loaders in VolumeFileInstances.cpp; the voxel
// type conversions live in the sibling library, which registers them when it loads. Private to the
// dispatcher library.
#ifndef TARN_LUMO_DLL_STAGEINSTANCES_H_INCLUDED
#define TARN_LUMO_DLL_STAGEINSTANCES_H_INCLUDED

#include <AncillaryKitoOperators/VoxelTypeConversion>
#include <Kito/ArithmeticOperators/Division/CheckedInplaceValueDivision/Operator>
#include <Kito/Persistence/RecHeader_V260>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/Loader/Operator>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/MetaInformation>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderLoader/Operator>

#include "KitoInstances.h"

namespace Tarn::Lumo_DLL::Instances {
/// The division of a Tarn::float64 volume by a number, in place.
using CheckedInplaceValueDivision =
    Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision::Operator<InMemory<Tarn::float64>>;
/// The conversion from Tarn::float64 into W, for W each of OperatorVoxels.
template <class W>
using VoxelTypeConversion = Tarn::AncillaryKitoOperators::VoxelTypeConversion::Operator<InMemory<Tarn::float64>, InMemory<W>>;
} // namespace Tarn::Lumo_DLL::Instances

#define TARN_CHECKED_INPLACE_VALUE_DIVISION_INSTANCE(prefix)                                                           \
    TARN_OPERATOR_INSTANCE(prefix, Tarn::Kito::ArithmeticOperators::Division::CheckedInplaceValueDivision::Operator<   \
                                       Tarn::Lumo_DLL::Instances::InMemory<Tarn::float64>>)
TARN_CHECKED_INPLACE_VALUE_DIVISION_INSTANCE(extern)

#define TARN_DECLARE_VOXEL_TYPE_CONVERSION(W)                                                                          \
    TARN_OPERATOR_INSTANCE(extern, Tarn::AncillaryKitoOperators::VoxelTypeConversion::Operator<                        \
                                       Tarn::Lumo_DLL::Instances::InMemory<Tarn::float64>,                             \
                                       Tarn::Lumo_DLL::Instances::InMemory<W>>)
TARN_OPERATOR_VOXELS(TARN_DECLARE_VOXEL_TYPE_CONVERSION)
#undef TARN_DECLARE_VOXEL_TYPE_CONVERSION

// The reader of REK headers, and the loader of REK files into a volume in memory of T, which runs
// it; the image average reads its files with the loader.
#define TARN_REK_HEADER_LOADER_INSTANCE(prefix)                                                                        \
    TARN_OPERATOR_INSTANCE(prefix, Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderLoader::Operator<          \
                                       Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::      \
                                           MetaInformation<Tarn::RecHeader_V260>>)
TARN_REK_HEADER_LOADER_INSTANCE(extern)
#define TARN_REK_LOADER_INSTANCE(prefix, T)                                                                            \
    TARN_OPERATOR_INSTANCE(prefix, Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::Loader::  \
                                       Operator<Tarn::Lumo_DLL::Instances::InMemory<T>,                                \
                                                Tarn::Kito::Persistence::VolumeFileInputOutput::                       \
                                                    RecHeaderFileInputOutput::MetaInformation<Tarn::RecHeader_V260>>)
#define TARN_DECLARE_REK_LOADER(T) TARN_REK_LOADER_INSTANCE(extern, T)
TARN_OPERATOR_VOXELS(TARN_DECLARE_REK_LOADER)
#undef TARN_DECLARE_REK_LOADER

#endif
