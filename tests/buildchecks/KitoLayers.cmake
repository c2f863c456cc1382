# Kito's headers form layers: a header includes headers of its own layer and of lower ones, never
# of a higher one, so that each layer can be read, changed and compiled knowing only those below.
# Run as `cmake -DKITO_INCLUDE=<dir holding Kito/> -P KitoLayers.cmake`; every #include <Kito/...>
# under Kito/ is checked against the table below, and the script fails naming each bad edge, each
# header that the table does not place, each name in the table that is no header, and each public
# header that the umbrella Kito/Kito leaves out.

# Lowest first. A new header gets a line here; where it goes is the layer of the highest header it
# needs to include.
set(layers spine geometry volumes walks operators umbrella)
# Types, failures, handles, composites and parameter objects, progress and the stop byte, dispatch.
set(spine Types PlainException detail/Format Exceptions SmartPointer Composite Data CompositeOfProperties
          Progress Abort ClassFactory IOperator)
# Coordinates, regions and orientations, and the numbers that lead a walk through a view.
set(geometry Triple TripleComposite Orientation IterateValues)
# Volumes, where their voxels live, and the containers that travel in parameter objects.
set(volumes IVolume SingleBlockAllocator detail/SlicesAhead ExternalBufferAllocator detail/FileStorage InputFileAllocator
            BufferedInputFileAllocator Volume ContainerBase List Map BidirectionalMap Table
            MaskFactory/MaskParameters)
# The REK header, the voxel type codes and the parameter objects of volume files.
list(APPEND volumes Persistence/RecHeader_V260 Persistence/VoxelTypeConverter
            Persistence/VolumeFileInputOutput/MetaInformation
            Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/MetaInformation
            Persistence/VolumeFileInputOutput/Loader/Parameter Persistence/VolumeFileInputOutput/Saver/Parameter
            Persistence/VolumeFileInputOutput/RecHeaderLoader/Parameter)
# Functors and the walks of views by them.
set(walks Functor Walk Subdivide ForEach ForEachParallel MaskOffsets)
# The operator base and the operators of the generic library.
set(operators Operator Statistics/IncrementalStatistic Statistics/StatisticsFromVolume/Parameter
              Statistics/StatisticsFromVolume/Operator Statistics/SumOfVoxels/Parameter
              Statistics/SumOfVoxels/Operator Copy/Parameter Copy/Operator
              Conversion/LookupTableConversion/Parameter Conversion/LookupTableConversion/Operator
              ArithmeticOperators/GenericArithmeticOperator/Operator
              ArithmeticOperators/Division/CheckedInplaceValueDivision/Parameter
              ArithmeticOperators/Division/CheckedInplaceValueDivision/Operator
              ArithmeticOperators/Subtraction/UncheckedSubtraction/Parameter
              MedianOperators/QuickSelectMedian MedianOperators/QuickSelectMedianValueOfRoi/Parameter
              MedianOperators/QuickSelectMedianValueOfRoi/Operator)
# The readers of REK files.
list(APPEND operators Persistence/VolumeFileInputOutput/RecHeaderLoader/Operator
            Persistence/VolumeFileInputOutput/RecHeaderFileInputOutput/Loader/Operator)
set(umbrella Kito)

if(NOT KITO_INCLUDE)
  message(FATAL_ERROR "KITO_INCLUDE must name the directory that holds Kito/")
endif()
get_filename_component(KITO_INCLUDE "${KITO_INCLUDE}" ABSOLUTE)
if(NOT IS_DIRECTORY "${KITO_INCLUDE}/Kito")
  message(FATAL_ERROR "${KITO_INCLUDE} holds no Kito/")
endif()

set(problems "")
set(level 0)
foreach(layer IN LISTS layers)
  foreach(header IN LISTS ${layer})
    if(DEFINED level_${header})
      list(APPEND problems "Kito/${header} stands in the table twice")
    endif()
    set(level_${header} ${level})
    set(layer_${header} ${layer})
    if(NOT EXISTS "${KITO_INCLUDE}/Kito/${header}" OR IS_DIRECTORY "${KITO_INCLUDE}/Kito/${header}")
      list(APPEND problems "Kito/${header} is in the table (${layer}) but is no header")
    endif()
  endforeach()
  math(EXPR level "${level} + 1")
endforeach()

file(GLOB_RECURSE headers LIST_DIRECTORIES false RELATIVE "${KITO_INCLUDE}/Kito" "${KITO_INCLUDE}/Kito/*")
list(SORT headers)
if(NOT headers)
  message(FATAL_ERROR "${KITO_INCLUDE}/Kito holds no headers")
endif()
set(edges 0)
foreach(header IN LISTS headers)
  if(NOT DEFINED level_${header})
    list(APPEND problems "Kito/${header} has no layer in the table of KitoLayers.cmake")
    continue()
  endif()
  file(STRINGS "${KITO_INCLUDE}/Kito/${header}" includes REGEX "^[ \t]*#[ \t]*include[ \t]*<Kito/[^>]+>")
  foreach(line IN LISTS includes)
    string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*<Kito/([^>]+)>.*$" "\\1" included "${line}")
    math(EXPR edges "${edges} + 1")
    if(NOT DEFINED level_${included})
      list(APPEND problems "Kito/${header} includes Kito/${included}, which has no layer in the table")
    elseif(level_${included} GREATER level_${header})
      list(APPEND problems "Kito/${header} (${layer_${header}}) includes Kito/${included} (${layer_${included}}), a higher layer")
    endif()
    if(header STREQUAL "Kito")
      set(inUmbrella_${included} TRUE)
    endif()
  endforeach()
endforeach()

# Everything but the detail headers, which their own headers include, is one include of the umbrella.
foreach(header IN LISTS headers)
  if(DEFINED level_${header} AND NOT header MATCHES "^detail/" AND NOT header STREQUAL "Kito"
     AND NOT inUmbrella_${header})
    list(APPEND problems "Kito/Kito does not include Kito/${header}")
  endif()
endforeach()

if(problems)
  list(JOIN problems "\n  " text)
  message(FATAL_ERROR "Kito's headers break their layers:\n  ${text}")
endif()
list(LENGTH headers count)
message(STATUS "${count} headers, ${edges} includes of Kito headers, no include of a higher layer")
