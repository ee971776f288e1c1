// What a client implements to show an array in its own memory as a value that copies nothing. ExternalBuffer implements
// it for vectors and plain memory.
#pragma once

#include <pyx/indexing/ArrayDimensionsView.h>
#include <pyx/indexing/DataOrdering.h>
#include <pyx/types/WellKnownType.h>
#include <pyx/types/standard_library.h>

#include <cstdint>
#include <functional>

namespace Quorvane::PYXCORE_PYX {

static_assert(Internal::sharesStandardLibrary,
              "The library writes a std::function of its own standard library (libstdc++) into a client's storage, and "
              "this module is built with another one: build it with libstdc++ to show its memory as a value.");

// One storage serves one adaptor, the data object of its values, at a time. Neither end may outlive the other
// unannounced: the client calls detachCallback before its elements go, and the values keep a copy; the adaptor calls
// adaptorDestroyed when the last value goes first. The adaptor keeps no answer and asks afresh every time, on whichever
// thread a value is used. What an operation raises reaches the user of the value, but adaptorDestroyed ends the process
// if it raises. Two threads must not ask values over one storage for their shape at once, since the answer is kept in
// one place, unless the shape was asked for before and has not changed since. The order of the operations is fixed.
class ExternalVariantStorageInterface {
public:
    ExternalVariantStorageInterface() = default;
    ExternalVariantStorageInterface(const ExternalVariantStorageInterface&) = delete;
    ExternalVariantStorageInterface& operator=(const ExternalVariantStorageInterface&) = delete;

    // The library does not own the storage and never calls this.
    virtual ~ExternalVariantStorageInterface() = default;

    // The number of elements that may be read at the stored data.
    virtual std::uint64_t numberAllocatedElements() const = 0;

    // The shape, which the library copies at once.
    virtual ArrayDimensionsView dimensions() const = 0;

    virtual DataOrdering dataOrdering() const = 0;

    // The type of the elements, which are laid out as those of an array of the library.
    virtual WellKnownType wellKnownDataType() const = 0;

    // Asks for another shape of the same elements; the view is borrowed. The adaptor passes this on also where several
    // values share it: the client decides, and raises what an array would raise.
    virtual void reshapeNoRealloc(ArrayDimensionsView wanted) = 0;

    // Holds a place in the order; the library never calls this.
    virtual void reshapeToZVariant() {}

    // The first element, for reading and for writing.
    virtual const void* constStoredData() const = 0;
    virtual void* mutableStoredData() = 0;

    // The adaptor has gone without being detached: detachCallback must not be called any more.
    virtual void adaptorDestroyed() = 0;

    // Written by the library when it makes an adaptor. One storage should make one: a former one keeps asking the
    // storage, cannot be detached any more, and still calls adaptorDestroyed when it goes. A call gives the adaptor a
    // copy of the elements, after which it asks nothing more, nor does it tell when it goes: call again only where it
    // is known to live. A call that raises has changed nothing. Not to be called while another thread uses a value over
    // this storage.
    std::function<void()> detachCallback;
};

}  // namespace Quorvane::PYXCORE_PYX
