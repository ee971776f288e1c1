/* The flat C interface of PyxCore: values for clients built with any compiler or language.
 *
 * A handle is a counted reference to a data object that belongs to the library. What is an element, a code, an
 * ordering or a mode is the same as in C++. Lengths count elements, never bytes. All functions may be called from any
 * thread; one record and one handle belong to one thread at a time, while several handles of the same object may be
 * used on several threads as long as nobody writes to it.
 *
 * Every function but ZVariantData_C_API_constructNull takes a record first, resets it, and never lets an exception
 * out. After a failure the record tells what happened and the result is neutral (null, 0 or false) and means nothing.
 * A null record, or a null handle where none is allowed, is a fault of the caller that is not caught.
 * Errors of all functions: "bad_alloc" when memory is exhausted, and those named with the function. */
#ifndef PYX_ABI_C_API_H
#define PYX_ABI_C_API_H

#include <pyx/types/export.h>

#include <stdint.h>

#ifdef __cplusplus
namespace Quorvane::PYXCORE_PYX {
class ExternalVariantStorageInterface;
namespace Internal {
class IVariantData;
}
}  // namespace Quorvane::PYXCORE_PYX
/* What a handle points at; opaque to clients. */
typedef Quorvane::Pyx::Internal::IVariantData PyxVariantData;
/* A client's own storage; implemented in C++. */
typedef Quorvane::Pyx::ExternalVariantStorageInterface PyxExternalStorage;

extern "C" {
#define PYXCORE_NOEXCEPT noexcept
#else
#include <stdbool.h>

typedef struct PyxVariantData PyxVariantData;
typedef struct PyxExternalStorage PyxExternalStorage;

/* The codes of the element types; PyxType_unknown is the code of a null value. */
enum {
    PyxType_unknown = 0x0000,
    PyxType_customType = 0x0020,
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) PyxType_##name = code,
#include <pyx/types/element_types.def>
};

/* Row-major: the last dimension varies fastest. Column-major: the first one does. */
enum { PyxOrdering_rowMajor = 0, PyxOrdering_columnMajor = 1 };

/* Exact refuses what a comparison of source and result shows to have changed: integers compare as in C, from integer to
 * floating always passes, and a bool looks at the real part alone. Cast converts numbers as a C cast does and is
 * defined for every input: floating values truncate, wrap when they fit 64 bits and count as 2^63 otherwise, and a bool
 * is true unless the number is zero. CastOrText also goes from real numbers and booleans to text and back. Any other
 * mode refuses all but equal types and numeric arrays without elements. */
enum { PyxConversion_exact = 0, PyxConversion_cast = 1, PyxConversion_castOrText = 2 };

#define PYXCORE_NOEXCEPT
#endif

/* What failed, if anything did: owned by the caller, plain memory, nothing in it to free. */
typedef struct AbiErrorRecord {
    /* Null when nothing failed; else one of "bad_alloc", "out_of_range", "invalid_argument", "length_error",
     * "runtime_error" and "exception", in static storage of the library. */
    const char* kind;
    /* What the failure said, cut after 199 characters and zero-terminated; meaningful only with a kind. */
    char message[200];
} AbiErrorRecord;

/* The lengths of an array's dimensions, dimension 0 first. Borrowed for the call: the library copies what it keeps. May
 * be null when the count is 0. */
typedef struct PyxDimensions {
    const uint64_t* lengths;
    uint64_t count;
} PyxDimensions;

/* An element of the type string as it lies in memory: a std::string of the library's build. Such elements may be read
 * in place, at what constStoredData gives, and are never written there. */
typedef struct PyxString {
    /* `length` bytes, zeros possibly among them, and a zero behind them. */
    const char* data;
    uint64_t length;
    /* The room at `data`, or the bytes of a short string. */
    uint64_t reserved[2];
} PyxString;

/* A string for constructScalar and constructArray, which copy it: `length` bytes with a zero behind them, which are
 * borrowed until that call returns. */
static inline PyxString PyxString_borrow(const char* data, uint64_t length) {
    PyxString string;
    string.data = data;
    string.length = length;
    /* A room that a std::string can have. */
    string.reserved[0] = length < 16 ? 16 : length;
    string.reserved[1] = 0;
    return string;
}

/* The null value, a static object: destruct does nothing to it. Cannot fail. */
PYXCORE_API PyxVariantData* ZVariantData_C_API_constructNull(void) PYXCORE_NOEXCEPT;

/* A new scalar of the element type, a copy of the element at `value`, which stays the caller's. Elements are in their
 * native form: a complex number is its real and its imaginary part, a duration or time point two 64-bit words, a string
 * a std::string of the library's build or a PyxString. A new reference.
 * "runtime_error": "unknown type", "not a numeric type". */
PYXCORE_API PyxVariantData* ZVariantData_C_API_constructScalar(AbiErrorRecord* record, const void* value,
                                                               uint16_t type) PYXCORE_NOEXCEPT;

/* One more reference on `data`: returns the same handle, and each of the two must be given up by destruct. */
PYXCORE_API PyxVariantData* ZVariantData_C_API_copy(AbiErrorRecord* record, PyxVariantData* data) PYXCORE_NOEXCEPT;

/* Gives up a reference; the last one frees the object. A null handle is accepted, as by no other function for its
 * data. */
PYXCORE_API void ZVariantData_C_API_destruct(AbiErrorRecord* record, PyxVariantData* data) PYXCORE_NOEXCEPT;

/* The code of the element type; 0 for a null value. */
PYXCORE_API uint16_t ZVariantData_C_API_wellKnownDataType(AbiErrorRecord* record,
                                                          const PyxVariantData* data) PYXCORE_NOEXCEPT;

/* Whether the value is a scalar, as against an array, be it of one element, or a null. */
PYXCORE_API bool ZVariantData_C_API_isScalarStorage(AbiErrorRecord* record,
                                                    const PyxVariantData* data) PYXCORE_NOEXCEPT;

/* The number of elements in the storage; never fewer than a reader may see, but for arrays whose shape was grown into
 * the spare room of an adopted vector. */
PYXCORE_API uint64_t ZVariantData_C_API_numberAllocatedElements(AbiErrorRecord* record,
                                                                const PyxVariantData* data) PYXCORE_NOEXCEPT;

/* The shape: {1} for a scalar, no lengths for a null value. Points into the object; good until it is reshaped or
 * freed. A reader sees as many elements as the product of the lengths, and none without lengths. */
PYXCORE_API PyxDimensions ZVariantData_C_API_dimensions(AbiErrorRecord* record,
                                                        const PyxVariantData* data) PYXCORE_NOEXCEPT;

/* The order of the elements in storage; row-major for a scalar or null. */
PYXCORE_API uint32_t ZVariantData_C_API_dataOrdering(AbiErrorRecord* record,
                                                     const PyxVariantData* data) PYXCORE_NOEXCEPT;

/* The first element, in the native form of the element type; strings may be read as PyxString. Valid while the object
 * lives and is not written. Null for a null value, null or not for other data without elements.
 */
PYXCORE_API const void* ZVariantData_C_API_constStoredData(AbiErrorRecord* record,
                                                           const PyxVariantData* data) PYXCORE_NOEXCEPT;

/* Makes the object the caller's alone and writes the address of its first element to *stored. Consumes the reference
 * on `data` if it succeeds: go on with the result, which may be another handle, and do not use `data` again. On failure
 * *stored is not written and the reference stays. *stored is null for a null value. */
PYXCORE_API PyxVariantData* ZVariantData_C_API_mutableStoredData(AbiErrorRecord* record, PyxVariantData* data,
                                                                 void** stored) PYXCORE_NOEXCEPT;

/* A new array with a copy of the `length` elements at `data`, which may be null for none, in storage order. Without
 * dimensions it has one, as long as the data. A new reference. "length_error": "dimensions do not match data length".
 * "runtime_error": "unknown type", "not a numeric type". */
PYXCORE_API PyxVariantData* ZVariantData_C_API_constructArray(AbiErrorRecord* record, const void* data, uint16_t type,
                                                              uint64_t length, PyxDimensions dimensions,
                                                              uint32_t ordering) PYXCORE_NOEXCEPT;

/* A new array of the shape, to be filled through mutableStoredData: real numbers and booleans are uninitialised,
 * complex numbers, durations and time points zero, texts empty. Without dimensions it is an empty array. A new
 * reference. "runtime_error": "unknown type", "not a numeric type". */
PYXCORE_API PyxVariantData* ZVariantData_C_API_createWithAllocatedArray(AbiErrorRecord* record, uint16_t type,
                                                                        PyxDimensions dimensions,
                                                                        uint32_t ordering) PYXCORE_NOEXCEPT;

/* The same shape in another element type. A new reference, also where it is the same handle because the type already
 * is `target`; the mode is not looked at then. The reference on `data` stays. A null handle with a clean record means
 * that the conversion was refused, as is that of an array without elements but between numbers, between texts, and from
 * durations or time points to those that can hold them. A null value gives an empty array. "runtime_error": "unknown
 * type", "not a numeric type". */
PYXCORE_API PyxVariantData* ZVariantData_C_API_convertDataTo(AbiErrorRecord* record, PyxVariantData* data,
                                                             uint16_t target, uint32_t mode) PYXCORE_NOEXCEPT;

/* The same values stored in the given ordering; scalars and nulls stay as they are. Consumes the reference on `data` if
 * it succeeds, unlike convertDataTo; the result is a reference of its own, and the same handle where the ordering is
 * the present one. */
PYXCORE_API PyxVariantData* ZVariantData_C_API_reorderData(AbiErrorRecord* record, PyxVariantData* data,
                                                           uint32_t ordering) PYXCORE_NOEXCEPT;

/* Changes the shape in place; no element moves, and views from dimensions are dead afterwards. The present shape always
 * passes. "runtime_error" when the array is shared, "length_error" when the shape does not fit (the rank of an array
 * that the library allocated cannot grow), "invalid_argument" for any other shape of a scalar or null. */
PYXCORE_API void ZVariantData_C_API_reshapeNoRealloc(AbiErrorRecord* record, PyxVariantData* data,
                                                     PyxDimensions dimensions) PYXCORE_NOEXCEPT;

/* A new array of the element type of `data`, of the given shape and ordering, filled with the first elements of
 * `source` in storage order; elements without a source are default. `source` must hold elements of the same type
 * ("invalid_argument" otherwise). Consumes the reference on `source`, which may be null, if it succeeds; the one on
 * `data` stays. Null when `data` is a null value. */
PYXCORE_API PyxVariantData* ZVariantData_C_API_reshapeToZVariant(AbiErrorRecord* record, PyxVariantData* data,
                                                                 PyxVariantData* source, PyxDimensions dimensions,
                                                                 uint32_t ordering) PYXCORE_NOEXCEPT;

/* A new array that shows the elements in the client's storage, a C++ object of the library's standard library, without
 * copying them. The storage is borrowed: it tells the array, by its detachCallback, before its elements go, and is told
 * when the array goes first. A new reference. Failures of the storage's own operations are recorded by the functions
 * that call them. Until the array is detached, two threads must not use it at once, pointers that constStoredData and
 * dimensions gave end when the storage changes its memory or shape, reorderData fails with "runtime_error": "Not
 * implemented!", and a refused conversion loses the memory of its result. reshapeToZVariant with it as `data` ends the
 * process when the shape has no room for all elements of the source. */
PYXCORE_API PyxVariantData* ZVariantData_C_API_createWithExternalStorage(AbiErrorRecord* record,
                                                                         PyxExternalStorage* storage) PYXCORE_NOEXCEPT;

/* A new array that shows the storage of the real array `data` as complex numbers, neighbours along the fastest
 * dimension being real and imaginary part: the length of that dimension is halved, rounded down. Writing makes a copy,
 * conversion gives complex numbers again, and reshapeToZVariant fails with "runtime_error". Another element type is not
 * refused here but gives an array whose elements must not be read. A new reference, in place of that on `data`, which
 * is taken over also when the call fails; only "bad_alloc" with the message "std::bad_alloc" leaves it with the caller.
 * "invalid_argument": "Cannot create a view of data without dimensions.". */
PYXCORE_API PyxVariantData* ZVariantData_C_API_constructTransmuteRealToComplexVariant(
    AbiErrorRecord* record, PyxVariantData* data) PYXCORE_NOEXCEPT;

/* The same the other way: shows the complex array `data` as real numbers, real and imaginary part in turn, and doubles
 * the length of the fastest dimension. Conversion gives real numbers again. */
PYXCORE_API PyxVariantData* ZVariantData_C_API_constructTransmuteComplexToRealVariant(
    AbiErrorRecord* record, PyxVariantData* data) PYXCORE_NOEXCEPT;

/* Whether the two are the same value in type, shape, ordering and elements; a scalar equals a row-major array {1} of
 * its element. Floating elements by ==, so that a value with NaN is not even identical to itself and -0.0 equals 0.0;
 * all other numbers and booleans by their bytes. Two null values are identical. Both references stay. "runtime_error":
 * "unknown type", "not a numeric type"; what the comparison of custom elements raises. */
PYXCORE_API bool ZVariantData_C_API_isIdenticalTo(AbiErrorRecord* record, const PyxVariantData* data,
                                                  const PyxVariantData* other) PYXCORE_NOEXCEPT;

/* Whether the two have the same shape and hold the same elements at the same indices, whatever their ordering. Numbers
 * of two types are compared in a type that both convert to: 64-bit integers beside float in float. Other types equal
 * only their own, and all values without elements are equivalent. The mode of the conversions may be any of the three.
 * Both references stay. A failure on the way gives false and a clean record, exhausted memory too; only what an object
 * raises when it is asked for its type or shape is recorded. */
PYXCORE_API bool ZVariantData_C_API_isEquivalentTo(AbiErrorRecord* record, const PyxVariantData* data,
                                                   const PyxVariantData* other, uint32_t mode) PYXCORE_NOEXCEPT;

#ifdef __cplusplus
} /* extern "C" */
static_assert(sizeof(AbiErrorRecord) == 208);
static_assert(sizeof(PyxDimensions) == 16);
static_assert(sizeof(PyxString) == 32);
#endif

#endif
