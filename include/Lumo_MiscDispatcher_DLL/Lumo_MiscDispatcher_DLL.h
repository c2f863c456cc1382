// Lumo_MiscDispatcher_DLL: every exported facade.
#ifndef TARN_LUMO_MISCDISPATCHER_DLL_H_INCLUDED
#define TARN_LUMO_MISCDISPATCHER_DLL_H_INCLUDED

#include <Lumo_MiscDispatcher_DLL/IAverageImage.h>
#include <Lumo_MiscDispatcher_DLL/IConcatVolumes.h>
#include <Lumo_MiscDispatcher_DLL/ICopy.h>
#include <Lumo_MiscDispatcher_DLL/IDirectionalPlanarisationOperator.h>
#include <Lumo_MiscDispatcher_DLL/IDuplicateSlices.h>
#include <Lumo_MiscDispatcher_DLL/IFrequencyOfValuesInsideRange.h>
#include <Lumo_MiscDispatcher_DLL/IHeightMap.h>
#include <Lumo_MiscDispatcher_DLL/ILookupTableConversion.h>
#include <Lumo_MiscDispatcher_DLL/IOrthogonalPlanarisationOperator.h>
#include <Lumo_MiscDispatcher_DLL/IProjectionMax.h>
#include <Lumo_MiscDispatcher_DLL/IProjectionMean.h>
#include <Lumo_MiscDispatcher_DLL/IProjectionMedian.h>
#include <Lumo_MiscDispatcher_DLL/IProjectionSum.h>
#include <Lumo_MiscDispatcher_DLL/IQuickSelectMedianValueOfRoi.h>
#include <Lumo_MiscDispatcher_DLL/IRangePassTransformation.h>
#include <Lumo_MiscDispatcher_DLL/IStatisticsFromVolume.h>
#include <Lumo_MiscDispatcher_DLL/IStatisticsFromVolumeOfMultipleLabels.h>
#include <Lumo_MiscDispatcher_DLL/ISumOfTriangleAreas.h>
#include <Lumo_MiscDispatcher_DLL/ISumOfVoxels.h>
#include <Lumo_MiscDispatcher_DLL/IVolumeFromRawFileInput.h>

#endif
