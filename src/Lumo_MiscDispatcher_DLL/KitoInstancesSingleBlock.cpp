// Volumes in one block of memory, for all ten voxel types. Their constructors make the allocator,
// which is no template: that use is what registers it with the class factory.
#include "KitoInstances.h"

#define TARN_MAKE_VOLUMES(T) TARN_VOLUME_INSTANCE(, T, SingleBlock)
TARN_ALL_VOXELS(TARN_MAKE_VOLUMES)
#undef TARN_MAKE_VOLUMES
