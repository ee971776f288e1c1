// Everything that PyxCore offers.
#pragma once

#include <pyx/format/ConsoleFormatter.h>
#include <pyx/format/PrintTo.h>
#include <pyx/indexing/ArrayIndexing.h>
#include <pyx/types/element_types.h>
#include <pyx/types/portable_type_names.h>
#include <pyx/variant/ZVariant.h>
