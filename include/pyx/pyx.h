// Everything that PyxCore offers.
#pragma once

#include <pyx/abi/guardAbiCall.h>
#include <pyx/abi/rethrowAbiError.h>
#include <pyx/format/ConsoleFormatter.h>
#include <pyx/format/PrintTo.h>
#include <pyx/indexing/ArrayIndexing.h>
#include <pyx/indexing/IndexSet.h>
#include <pyx/indexing/SliceFlattener.h>
#include <pyx/indexing/index_words.h>
#include <pyx/types/element_types.h>
#include <pyx/types/portable_type_names.h>
#include <pyx/types/standard_library.h>
#include <pyx/variant/ZVariant.h>
#include <pyx/variant/extractSingleValue.h>

#if PYXCORE_SAME_STANDARD_LIBRARY
#include <pyx/customtypes/custom_types.h>
#include <pyx/properties/FrozenPropertyTree.h>
#include <pyx/properties/PropertyPath.h>
#include <pyx/properties/PropertyTree.h>
#include <pyx/properties/flat_tree.h>
#include <pyx/variant/ExternalBuffer.h>
#include <pyx/variant/ExternalVariantStorageInterface.h>
#else
#include <pyx/types/unavailable_names.h>
#endif
