// CopyInstances: the 34 copies, declared for every translation unit that names them and defined in
// two of them (from memory, from files), so that both cores get work. Private to the dispatcher
// library.
#ifndef TARN_LUMO_DLL_COPYINSTANCES_H_INCLUDED
#define TARN_LUMO_DLL_COPYINSTANCES_H_INCLUDED

#include <Kito/Copy/Operator>

#include "KitoInstances.h"

namespace Tarn::Lumo_DLL::Instances {
/// A copy from a volume of allocator A into one in memory.
template <class A> struct CopyFrom {
    template <class T> using Operator = Tarn::Kito::Copy::Operator<Tarn::Kito::VolumePtr<T, A>, InMemory<T>>;
};
} // namespace Tarn::Lumo_DLL::Instances

#define TARN_COPY_INSTANCE(prefix, T, A)                                                           \
    TARN_OPERATOR_INSTANCE(prefix, Tarn::Kito::Copy::Operator<Tarn::Kito::VolumePtr<T, Tarn::Lumo_DLL::Instances::A>, \
                                                              Tarn::Lumo_DLL::Instances::InMemory<T>>)
// From memory: all ten types; from a chunk of memory: the eight.
#define TARN_COPY_FROM_MEMORY(prefix, T) TARN_COPY_INSTANCE(prefix, T, SingleBlock)
#define TARN_COPY_FROM_CHUNK(prefix, T) TARN_COPY_INSTANCE(prefix, T, External1)
// From a file, by either allocator: the eight.
#define TARN_COPY_FROM_FILES(prefix, T)                                                            \
    TARN_COPY_INSTANCE(prefix, T, InputFile)                                                       \
    TARN_COPY_INSTANCE(prefix, T, BufferedFile)

#define TARN_DECLARE_COPY_FROM_MEMORY(T) TARN_COPY_FROM_MEMORY(extern, T)
#define TARN_DECLARE_COPY_FROM_CHUNK(T) TARN_COPY_FROM_CHUNK(extern, T)
#define TARN_DECLARE_COPY_FROM_FILES(T) TARN_COPY_FROM_FILES(extern, T)
TARN_ALL_VOXELS(TARN_DECLARE_COPY_FROM_MEMORY)
TARN_OPERATOR_VOXELS(TARN_DECLARE_COPY_FROM_CHUNK)
TARN_OPERATOR_VOXELS(TARN_DECLARE_COPY_FROM_FILES)
#undef TARN_DECLARE_COPY_FROM_FILES
#undef TARN_DECLARE_COPY_FROM_CHUNK
#undef TARN_DECLARE_COPY_FROM_MEMORY

#endif
