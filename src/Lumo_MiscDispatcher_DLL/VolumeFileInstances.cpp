// The REK file operators of the generic library, registered with the class factory when the
// library loads: no facade names them, and hosts reach them by their identifiers.
#include <Kito/Persistence/RecHeader_V260>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/Loader/Operator>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/MetaInformation>
#include <Kito/Persistence/VolumeFileInputOutput/RecHeaderLoader/Operator>

#include "KitoInstances.h"

namespace {
using RecMetaInformation =
    Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::MetaInformation<Tarn::RecHeader_V260>;
using Tarn::Lumo_DLL::Instances::InMemory;
} // namespace

TARN_OPERATOR_INSTANCE(, Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderLoader::Operator<RecMetaInformation>)

#define TARN_MAKE(T)                                                                                                   \
    TARN_OPERATOR_INSTANCE(, Tarn::Kito::Persistence::VolumeFileInputOutput::RecHeaderFileInputOutput::Loader::Operator< \
                                 InMemory<T>, RecMetaInformation>)
TARN_OPERATOR_VOXELS(TARN_MAKE)
#undef TARN_MAKE
