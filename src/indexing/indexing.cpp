// The exported bodies of the indexing classes.

#include <pyx/indexing/ArrayIndexing_bodies.h>
#include <pyx/indexing/IndexItem_bodies.h>
#include <pyx/indexing/IndexSet_bodies.h>
#include <pyx/indexing/SliceFlattener_bodies.h>
#include <pyx/indexing/SliceWalk_bodies.h>
