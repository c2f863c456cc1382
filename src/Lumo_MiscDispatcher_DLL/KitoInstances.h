// KitoInstances: the one spelling of the voxel type lists, of the instance families built from them,
// and of the volume and allocator instances that many translation units would otherwise each
// compile. Private to the dispatcher library; its tests read the lists too, so that they run over
// exactly the types the library is built for.
#ifndef TARN_LUMO_DLL_KITOINSTANCES_H_INCLUDED
#define TARN_LUMO_DLL_KITOINSTANCES_H_INCLUDED

#include <Kito/ClassFactory>
#include <Kito/BufferedInputFileAllocator>
#include <Kito/ExternalBufferAllocator>
#include <Kito/InputFileAllocator>
#include <Kito/SingleBlockAllocator>
#include <Kito/SmartPointer>
#include <Kito/Types>
#include <Kito/Volume>

// ---- Voxel type lists ---------------------------------------------------------------------------
// TARN_<NAME>_VOXEL_LIST(F, ...) calls F(T, ...) for each voxel type T of the list, in its order,
// and hands its other arguments through, which is what lets a list run inside another (see
// TARN_PAIRS). The larger lists are joined from the smaller ones, so each type is written once.
#define TARN_SMALL_INTEGER_VOXEL_LIST(F, ...)                                                      \
    F(Tarn::int8, __VA_ARGS__) F(Tarn::uint8, __VA_ARGS__) F(Tarn::int16, __VA_ARGS__) F(Tarn::uint16, __VA_ARGS__)
#define TARN_WORD_INTEGER_VOXEL_LIST(F, ...) F(Tarn::int32, __VA_ARGS__) F(Tarn::uint32, __VA_ARGS__)
#define TARN_FLOAT_VOXEL_LIST(F, ...) F(Tarn::float32, __VA_ARGS__) F(Tarn::float64, __VA_ARGS__)
#define TARN_WIDE_INTEGER_VOXEL_LIST(F, ...) F(Tarn::int64, __VA_ARGS__) F(Tarn::uint64, __VA_ARGS__)
// The integer types of the operators.
#define TARN_OPERATOR_INTEGER_VOXEL_LIST(F, ...)                                                   \
    TARN_SMALL_INTEGER_VOXEL_LIST(F, __VA_ARGS__) TARN_WORD_INTEGER_VOXEL_LIST(F, __VA_ARGS__)
// The eight types every operator is built for, in the order in which ISumOfVoxels makes its
// instances: int8, uint8, int16, uint16, int32, uint32, float32, float64.
#define TARN_OPERATOR_VOXEL_LIST(F, ...)                                                           \
    TARN_OPERATOR_INTEGER_VOXEL_LIST(F, __VA_ARGS__) TARN_FLOAT_VOXEL_LIST(F, __VA_ARGS__)
// All ten: the 64-bit integers only where a volume or an operator needs them.
#define TARN_ALL_VOXEL_LIST(F, ...)                                                                \
    TARN_OPERATOR_VOXEL_LIST(F, __VA_ARGS__) TARN_WIDE_INTEGER_VOXEL_LIST(F, __VA_ARGS__)
// The types a height map is written in.
#define TARN_HEIGHT_VOXEL_LIST(F, ...)                                                             \
    F(Tarn::uint8, __VA_ARGS__) F(Tarn::uint16, __VA_ARGS__) F(Tarn::uint32, __VA_ARGS__)
// The type of a label volume.
#define TARN_LABEL_VOXEL_LIST(F, ...) F(Tarn::uint8, __VA_ARGS__)

// X(I, O) for every I of the list OUTER and every O of the list INNER, I outermost; OUTER and INNER
// are list names such as OPERATOR. The preprocessor does not expand a macro again inside its own
// expansion, and INNER is often OUTER itself: so a row only leaves the inner list's name and
// arguments behind (TARN_EMPTY keeps TARN_LIST_NAME from being called at once), and the rescan of
// TARN_EXPAND, after the outer list is done, expands them. For that reason an X given here must not
// use TARN_EXPAND itself.
#define TARN_PAIRS(OUTER, INNER, X) TARN_EXPAND(TARN_LIST_NAME(OUTER)(TARN_PAIR_ROW, INNER, X))
#define TARN_EMPTY()
#define TARN_EXPAND(...) __VA_ARGS__
#define TARN_LIST_NAME(NAME) TARN_##NAME##_VOXEL_LIST
#define TARN_PAIR_ROW(I, INNER, X) TARN_LIST_NAME TARN_EMPTY()(INNER)(TARN_PAIR_CELL, X, I)
#define TARN_PAIR_CELL(O, X, I) X(I, O)
#define TARN_ONCE(T, X) X(T)
#define TARN_TWICE(T, X) X(T, T)
// X(I, M, O) for every I of FIRST, M of SECOND and O of THIRD, I outermost, O innermost. The rows
// leave the second list behind as TARN_PAIRS does, and each cell the third: the second list runs in
// the rescan of the inner TARN_EXPAND, the third in that of the outer one, each outside the lists
// that called it. An X given here must use neither TARN_EXPAND nor the list named THIRD.
#define TARN_TRIPLES(FIRST, SECOND, THIRD, X)                                                      \
    TARN_EXPAND(TARN_EXPAND(TARN_LIST_NAME(FIRST)(TARN_TRIPLE_ROW, SECOND, THIRD, X)))
#define TARN_TRIPLE_ROW(I, SECOND, THIRD, X) TARN_LIST_NAME TARN_EMPTY()(SECOND)(TARN_TRIPLE_CELL, THIRD, X, I)
#define TARN_TRIPLE_CELL(M, THIRD, X, I) TARN_LIST_NAME TARN_EMPTY()(THIRD)(TARN_TRIPLE_LAST, X, I, M)
#define TARN_TRIPLE_LAST(O, X, I, M) X(I, M, O)

// ---- Instance families --------------------------------------------------------------------------
// One list per family of instances: X(T) or X(I, O) for each instance, in the order in which its
// facade makes them.
// SumOfVoxels, ProjectionMax, StatisticsFromVolume; chunks of the third level.
#define TARN_OPERATOR_VOXELS(X) TARN_OPERATOR_VOXEL_LIST(TARN_ONCE, X)
// Volumes up to the second level of chunks, triples.
#define TARN_ALL_VOXELS(X) TARN_ALL_VOXEL_LIST(TARN_ONCE, X)
// ProjectionSum and DuplicateSlices, container tables: every pair of the eight.
#define TARN_OPERATOR_VOXEL_PAIRS(X) TARN_PAIRS(OPERATOR, OPERATOR, X)
// OrthogonalPlanarisationOperator: every pair of the ten.
#define TARN_ALL_VOXEL_PAIRS(X) TARN_PAIRS(ALL, ALL, X)
// HeightMap: any of the ten into a height type.
#define TARN_HEIGHT_MAP_PAIRS(X) TARN_PAIRS(ALL, HEIGHT, X)
// LookupTableConversion: the small integers into any of the eight.
#define TARN_LOOKUP_TABLE_PAIRS(X) TARN_PAIRS(SMALL_INTEGER, OPERATOR, X)
// StatisticsFromVolumeOfMultipleLabels: any of the eight with a label volume.
#define TARN_LABEL_STATISTICS_PAIRS(X) TARN_PAIRS(OPERATOR, LABEL, X)
// ProjectionMean: any of the eight into float32, float64 or its own type, each pair once (22).
#define TARN_PROJECTION_MEAN_PAIRS(X)                                                              \
    TARN_OPERATOR_INTEGER_VOXEL_LIST(TARN_TWICE, X) TARN_PAIRS(OPERATOR_INTEGER, FLOAT, X) TARN_PAIRS(FLOAT, FLOAT, X)
// DirectionalPlanarisationOperator: any of the ten, with a height map of any of the ten, and grids
// and normals in float32 or float64 (200).
#define TARN_DIRECTIONAL_PLANARISATION_TRIPLES(X) TARN_TRIPLES(ALL, ALL, FLOAT, X)

// One operator instance with its registration with the class factory, prefix empty or extern. The
// explicit instance of the subscriber defines the registrator, which runs when the library loads;
// declared together with the operator, a translation unit that names the instance (a facade forcing
// it) compiles neither of them a second time. A split family is declared in a header of its own
// and defined in several translation units, so that both cores share the work.
#define TARN_OPERATOR_INSTANCE(prefix, ...)                                                        \
    prefix template class __VA_ARGS__;                                                             \
    prefix template class Tarn::Kito::Factory::StaticFactorySubscriber<                            \
        Tarn::Kito::Factory::DefaultClassFactory, __VA_ARGS__>;

namespace Tarn::Lumo_DLL::Instances {
// The in-memory allocators, one name per nesting level of chunks: a chunk of a chunk is a new
// instance, and the operators stop at the third level.
using SingleBlock = Tarn::Kito::Allocator::SingleBlockAllocator;
using External1 = Tarn::Kito::Allocator::ExternalBufferAllocator<SingleBlock>;
using External2 = Tarn::Kito::Allocator::ExternalBufferAllocator<External1>;
using External3 = Tarn::Kito::Allocator::ExternalBufferAllocator<External2>;

// The file-backed allocators and their chunks up to the second level.
using InputFile = Tarn::Kito::Allocator::InputFileAllocator;
using BufferedFile = Tarn::Kito::Allocator::BufferedInputFileAllocator;
using InputFileChunk1 = Tarn::Kito::Allocator::ExternalBufferAllocator<InputFile>;
using InputFileChunk2 = Tarn::Kito::Allocator::ExternalBufferAllocator<InputFileChunk1>;
using BufferedFileChunk1 = Tarn::Kito::Allocator::ExternalBufferAllocator<BufferedFile>;
using BufferedFileChunk2 = Tarn::Kito::Allocator::ExternalBufferAllocator<BufferedFileChunk1>;

/// The argument type of nearly every operator instance.
template <class T> using InMemory = Tarn::Kito::VolumePtr<T, SingleBlock>;

/// The voxel types of one instance, in the order of its template arguments.
template <class... T> struct Arguments {};
/// The instances of a family by their Arguments, in the order of its list.
template <class... A> struct InstanceList {};
/// The instance Family<T...> of Arguments<T...>.
template <template <class...> class Family, class A> struct InstanceOf;
template <template <class...> class Family, class... T> struct InstanceOf<Family, Arguments<T...>> {
    using type = Family<T...>;
};

namespace detail {
// Each entry of a family brings the comma before it, so the list starts with a void to drop.
template <class Void, class... A> struct DropFirst {
    using type = InstanceList<A...>;
};
} // namespace detail

#define TARN_LISTED(...) , Tarn::Lumo_DLL::Instances::Arguments<__VA_ARGS__>
#define TARN_INSTANCE_LIST(FAMILY) detail::DropFirst<void FAMILY(TARN_LISTED)>::type
using OperatorVoxels = TARN_INSTANCE_LIST(TARN_OPERATOR_VOXELS);
using AllVoxels = TARN_INSTANCE_LIST(TARN_ALL_VOXELS);
using OperatorVoxelPairs = TARN_INSTANCE_LIST(TARN_OPERATOR_VOXEL_PAIRS);
using AllVoxelPairs = TARN_INSTANCE_LIST(TARN_ALL_VOXEL_PAIRS);
using HeightMapPairs = TARN_INSTANCE_LIST(TARN_HEIGHT_MAP_PAIRS);
using LookupTablePairs = TARN_INSTANCE_LIST(TARN_LOOKUP_TABLE_PAIRS);
using ProjectionMeanPairs = TARN_INSTANCE_LIST(TARN_PROJECTION_MEAN_PAIRS);
using LabelStatisticsPairs = TARN_INSTANCE_LIST(TARN_LABEL_STATISTICS_PAIRS);
using DirectionalPlanarisationTriples = TARN_INSTANCE_LIST(TARN_DIRECTIONAL_PLANARISATION_TRIPLES);
#undef TARN_INSTANCE_LIST
#undef TARN_LISTED
} // namespace Tarn::Lumo_DLL::Instances

// ---- Shared volume instances --------------------------------------------------------------------
// One volume instance with its two handle types. An explicit instance of a Volume names its
// factory registrator, so loading the library registers it.
#define TARN_VOLUME_INSTANCE(prefix, T, A)                                                         \
    prefix template class Tarn::Kito::Volume<T, Tarn::Lumo_DLL::Instances::A>;                     \
    prefix template class Tarn::Kito::SmartPointer<Tarn::Kito::Volume<T, Tarn::Lumo_DLL::Instances::A>>; \
    prefix template class Tarn::Kito::VolumePtr<T, Tarn::Lumo_DLL::Instances::A>;

// Single-block volumes and their chunks up to the second level, for all ten voxel types.
#define TARN_SINGLE_BLOCK_VOLUMES(prefix, T)                                                       \
    TARN_VOLUME_INSTANCE(prefix, T, SingleBlock)                                                   \
    TARN_VOLUME_INSTANCE(prefix, T, External1)                                                     \
    TARN_VOLUME_INSTANCE(prefix, T, External2)
// Chunks of the third level, only for the operators' eight voxel types.
#define TARN_DEEP_CHUNK_VOLUMES(prefix, T) TARN_VOLUME_INSTANCE(prefix, T, External3)
// Volumes over files and their chunks up to the second level, for the operators' eight voxel types.
#define TARN_FILE_VOLUMES(prefix, T)                                                               \
    TARN_VOLUME_INSTANCE(prefix, T, InputFile)                                                     \
    TARN_VOLUME_INSTANCE(prefix, T, InputFileChunk1)                                               \
    TARN_VOLUME_INSTANCE(prefix, T, InputFileChunk2)                                               \
    TARN_VOLUME_INSTANCE(prefix, T, BufferedFile)                                                  \
    TARN_VOLUME_INSTANCE(prefix, T, BufferedFileChunk1)                                            \
    TARN_VOLUME_INSTANCE(prefix, T, BufferedFileChunk2)

#define TARN_DECLARE_SINGLE_BLOCK_VOLUMES(T) TARN_SINGLE_BLOCK_VOLUMES(extern, T)
#define TARN_DECLARE_DEEP_CHUNK_VOLUMES(T) TARN_DEEP_CHUNK_VOLUMES(extern, T)
#define TARN_DECLARE_FILE_VOLUMES(T) TARN_FILE_VOLUMES(extern, T)
TARN_ALL_VOXELS(TARN_DECLARE_SINGLE_BLOCK_VOLUMES)
TARN_OPERATOR_VOXELS(TARN_DECLARE_DEEP_CHUNK_VOLUMES)
TARN_OPERATOR_VOXELS(TARN_DECLARE_FILE_VOLUMES)
#undef TARN_DECLARE_FILE_VOLUMES
#undef TARN_DECLARE_DEEP_CHUNK_VOLUMES
#undef TARN_DECLARE_SINGLE_BLOCK_VOLUMES

extern template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::SingleBlock>;
extern template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::External1>;
extern template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::External2>;
extern template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::InputFile>;
extern template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::InputFileChunk1>;
extern template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::BufferedFile>;
extern template class Tarn::Kito::Allocator::ExternalBufferAllocator<Tarn::Lumo_DLL::Instances::BufferedFileChunk1>;

// The stack of regions that every volume instance hands out and takes through its composite face.
extern template class Tarn::Kito::RegionOfInterestComposite<Tarn::Kito::SizeType>;
extern template class Tarn::Kito::SmartPointer<Tarn::Kito::RegionOfInterestComposite<Tarn::Kito::SizeType>>;
extern template class Tarn::Kito::Container::List<Tarn::Kito::RegionOfInterestCompositePtr<Tarn::Kito::SizeType>>;
extern template class Tarn::Kito::SmartPointer<
    Tarn::Kito::Container::List<Tarn::Kito::RegionOfInterestCompositePtr<Tarn::Kito::SizeType>>>;
extern template class Tarn::Kito::Container::ListPtr<Tarn::Kito::RegionOfInterestCompositePtr<Tarn::Kito::SizeType>>;

#endif
