// LookupTableConversionInstances: the 32 lookup tables, each small integer type into each operator
// voxel type, declared for every translation unit that names them and defined in two of them, so
// that both cores get work. Private to the dispatcher library.
#ifndef TARN_LUMO_DLL_LOOKUPTABLECONVERSIONINSTANCES_H_INCLUDED
#define TARN_LUMO_DLL_LOOKUPTABLECONVERSIONINSTANCES_H_INCLUDED

#include <Kito/Conversion/LookupTableConversion/Operator>

#include "KitoInstances.h"

namespace Tarn::Lumo_DLL::Instances {
template <class K, class V>
using LookupTableConversion = Tarn::Kito::Conversion::LookupTableConversion::Operator<InMemory<K>, InMemory<V>>;
} // namespace Tarn::Lumo_DLL::Instances

#define TARN_LOOKUP_TABLE_CONVERSION_INSTANCE(prefix, K, V)                                                            \
    TARN_OPERATOR_INSTANCE(prefix, Tarn::Kito::Conversion::LookupTableConversion::Operator<                            \
                                       Tarn::Lumo_DLL::Instances::InMemory<K>, Tarn::Lumo_DLL::Instances::InMemory<V>>)
#define TARN_DECLARE_LOOKUP_TABLE_CONVERSION(K, V) TARN_LOOKUP_TABLE_CONVERSION_INSTANCE(extern, K, V)
#define TARN_DEFINE_LOOKUP_TABLE_CONVERSION(K, V) TARN_LOOKUP_TABLE_CONVERSION_INSTANCE(, K, V)
TARN_LOOKUP_TABLE_PAIRS(TARN_DECLARE_LOOKUP_TABLE_CONVERSION)

#endif
